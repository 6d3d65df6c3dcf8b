// From the documents of a dictionary's files to its tables. A file is a map of up to three blocks, taken in
// this order:
//
//     includes:               # further files, relative to this one
//       - base.yaml
//     vendor:                 # the owner of every attribute of this file
//       id: 9
//       name: Example-Vendor
//       format: "1,1"
//     attributes:
//       Example-Mode:
//         code: 26.9.2
//         type: enum
//         values:
//           Off: 0
//           Auto: 0x10
#include <memory>
#include <stdexcept>
#include <utility>

#include "dictionary/dictionary_tables.h"
#include "quarn/radius/dictionary.h"
#include "quarn/radius/dictionary_files.h"
#include "quarn/radius/written_number.h"
#include "quarn/utils/app.h"

namespace quarn::subscriber::radius {

namespace {

/// Far more than all known dictionaries have together.
constexpr std::size_t max_values = 200'000;

[[noreturn]] void fail(const std::string& file, const std::string& problem) {
    throw std::runtime_error(file + ": " + problem);
}

/// Whether a block is there to be read: not when it is absent or null.
bool has_map(const std::string& file, const WrittenBlock& block, const char* key) {
    if (block.is_present() && block.kind != WrittenKind::Map) {
        fail(file, std::string("'") + key + "' must be a map");
    }
    return block.is_present();
}

CodePath code_of(const WrittenText& written) {
    WrittenCode code = read_code_path(text_of(written));
    switch (code.fault) {
        case CodeFault::NoCode:
            throw std::invalid_argument("invalid RADIUS code path");
        case CodeFault::NoNumber:
        case CodeFault::OutOfRange:
            throw std::invalid_argument("stoul");
        case CodeFault::None:
            break;
    }
    return std::move(code.path);
}

bool flag_of(const WrittenText& written) {
    const std::optional<bool> flag = read_flag(written);
    if (!flag) {
        throw std::invalid_argument(bad_conversion(written));
    }
    return *flag;
}

/// A flag that only says how values are shown. One that cannot be read costs nothing else.
bool harmless_flag_of(const WrittenText& written) {
    return read_flag(written).value_or(false);
}

/// Each problem of one attribute is a `std::invalid_argument`. What else is thrown is no fault of the file's.
void read_metadata(const WrittenAttribute& written, AttributeMetadata& metadata) {
    if (written.kind != WrittenKind::Map && written.kind != WrittenKind::Null) {
        throw std::invalid_argument("attribute definition must be a map");
    }
    if (written.code.is_given()) {
        metadata.code = code_of(written.code);
    }
    if (written.type.is_given()) {
        metadata.type = text_of(written.type);
    }
    if (written.encrypt.is_given()) {
        metadata.encrypt = node_to_u32(written.encrypt);
    }
    if (written.has_tag.is_given()) {
        metadata.has_tag = flag_of(written.has_tag);
    }
    if (written.optional_tag.is_given()) {
        metadata.optional_tag = harmless_flag_of(written.optional_tag);
    }
    if (written.concat.is_given()) {
        metadata.concat = flag_of(written.concat);
    }
}

OptionalVendor read_vendor(const std::string& file, const WrittenVendor& written) {
    if (!has_map(file, written, "vendor")) {
        return std::nullopt;
    }
    VendorInfo vendor;
    std::string format_error;
    try {
        if (!written.id.is_given()) {
            throw std::invalid_argument("invalid node; first invalid key: \"id\"");
        }
        vendor.id = node_to_u32(written.id);
        if (written.name.is_given()) {
            vendor.name = text_of(written.name);
        }
        if (written.format.is_given()) {
            vendor.format = text_of(written.format);
        }
    } catch (const std::invalid_argument& error) {
        fail(file, std::string("invalid 'vendor' block: ") + error.what());
    }
    if (!parse_vendor_format(vendor.format, vendor.type_size, vendor.length_size, vendor.continuation,
                             format_error)) {
        fail(file,
             "vendor '" + vendor.name + "' (line " + std::to_string(written.line) + "): " + format_error);
    }
    return vendor;
}

/// Adds the values of the last definition.
void add_values(DictionaryTables& tables, const DictionaryDocument& document,
                const WrittenAttribute& attribute) {
    if (!has_map(document.file, attribute.values, "values")) {
        return;
    }
    const auto fail_for = [&](const std::string& problem) {
        fail(document.file, "values for attribute '" + std::string(attribute.name.text) + "': " + problem);
    };
    for (const WrittenValue& value : document.values_of(attribute)) {
        std::uint32_t number = 0;
        try {
            if (!value.name.is_text()) {
                throw std::invalid_argument("invalid 'values' attribute name: " + bad_conversion(value.name));
            }
            number = node_to_u32(value.number);
        } catch (const std::invalid_argument& error) {
            fail_for(error.what());
        }
        if (tables.values.size() == max_values) {
            fail_for("more than " + std::to_string(max_values) + " values in all");
        }
        tables.add_value(value.name.text, number, value.name.line);
    }
}

}  // namespace

void RadiusDictionary::apply(const DictionaryDocument& document) {
    if (!tables_) {
        tables_ = std::make_unique<DictionaryTables>();
    }
    DictionaryTables& tables = *tables_;
    const auto file = static_cast<std::uint32_t>(tables.files.size());
    tables.files.emplace_back(document.file);

    const OptionalVendor vendor = read_vendor(document.file, document.vendor);
    if (vendor) {
        tables.add_vendor({vendor, file, document.vendor.key_line});
    }
    if (!has_map(document.file, document.attribute_block, "attributes")) {
        return;
    }
    for (const WrittenAttribute& attribute : document.attributes) {
        const auto warn = [&](const std::string& message, const std::string& reason) {
            App::Fields fields = {{"file", document.file}, {"line", std::to_string(attribute.key_line)}};
            if (attribute.name.is_text()) {
                fields.emplace_back("attribute", attribute.name.text);
            }
            fields.emplace_back("reason", reason);
            App::warn(message, fields);
        };
        if (!attribute.name.is_text()) {
            const std::string reason = bad_conversion(attribute.name);
            warn("invalid attribute name: " + reason, reason);
            continue;
        }
        Definition& definition = tables.definitions.emplace_back();
        AttributeMetadata& record = definition.metadata;
        try {
            read_metadata(attribute, record);
        } catch (const std::invalid_argument& error) {
            tables.definitions.pop_back();
            warn(error.what(), error.what());
            continue;
        }
        record.name = attribute.name.text;
        if (vendor) {
            record.vendor = vendor;
            record.continuation = vendor->continuation;
        }
        record.derive_fields();
        definition.file = file;
        definition.line = attribute.key_line;
        definition.first_value = static_cast<std::uint32_t>(tables.values.size());
        tables.index_last_definition();
        add_values(tables, document, attribute);
    }
}

void RadiusDictionary::load(const std::string& path) {
    tables_ = std::make_unique<DictionaryTables>();
    DictionaryFiles files(path, [](const FileFault& fault) {
        if (fault.is_fatal()) {
            fail(fault.file, fault.reason);
        }
    });
    while (const DictionaryDocument* const document = files.next()) {
        apply(*document);
    }
    _validate_nesting();
}

}  // namespace quarn::subscriber::radius
