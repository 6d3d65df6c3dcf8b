#include "testing/loaded_dictionary.h"

#include <cstdint>
#include <exception>
#include <set>

#include "quarn/radius/dictionary.h"
#include "quarn/utils/app.h"

namespace quarn::test {

namespace {

using namespace subscriber::radius;

std::set<std::string> quoted_in(std::string_view text) {
    std::set<std::string> quoted;
    for (std::size_t open = text.find('"'); open != text.npos;) {
        const std::size_t close = text.find('"', open + 1);
        quoted.emplace(text.substr(open + 1, close - open - 1));
        open = close == text.npos ? close : text.find('"', close + 1);
    }
    return quoted;
}

std::string describe(const AttributeMetadata& record) {
    if (!record.known) {
        return "";
    }
    return record.name + " " + radius_code_path_to_string(record.code) + " " + record.type + " " +
           std::to_string(record.encrypt) + (record.has_tag ? " tagged" : "") +
           (record.optional_tag ? " perhaps tagged" : "") + (record.concat ? " concat" : "") +
           (record.continuation ? " continued" : "") + (record.vendor ? " of " + record.vendor->name : "") +
           "\n";
}

std::string describe_values(const RadiusDictionary& dictionary, const std::string& name,
                            const std::set<std::string>& value_names) {
    std::string told;
    for (const std::string& value : value_names) {
        if (const auto number = dictionary.enum_value(name, value)) {
            told.append(name).append(".").append(value).append("=").append(std::to_string(*number));
            told.append("=").append(dictionary.enum_name(name, *number).value_or("?")).append("\n");
        }
    }
    return told;
}

}  // namespace

std::string describe_loaded(const std::string& file, std::string_view text) {
    std::string told;
    const App::WarningHandler collect([&told](std::string_view message, const App::Fields& fields) {
        told += "warning: " + std::string(message);
        for (const auto& [key, value] : fields) {
            told.append(" ").append(key).append("=").append(value);
        }
        told += "\n";
    });
    RadiusDictionary dictionary;
    try {
        dictionary.load(file);
    } catch (const std::exception& error) {
        told += std::string("error: ") + error.what() + "\n";
    }
    const std::set<std::string> quoted = quoted_in(text);
    for (const std::string& name : quoted) {
        const AttributeMetadata& record = dictionary.attribute_by_name(name);
        told += describe(record);
        if (const VendorInfo* const vendor = dictionary.vendor_by_name(name)) {
            told += "vendor " + std::to_string(vendor->id) + " " + vendor->format + "\n";
        }
        if (record.value_type == ValueType::Integer) {
            told += describe_values(dictionary, name, quoted);
        }
    }
    for (std::uint32_t type = 0; type < 256; ++type) {
        told += describe(dictionary.top_level_attribute(type));
    }
    return told;
}

}  // namespace quarn::test
