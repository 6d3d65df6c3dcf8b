#include "quarn_radius/dictionary/checker.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <stdexcept>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

#include "common/control_characters.h"
#include "quarn/radius/dictionary.h"
#include "quarn/radius/dictionary_files.h"
#include "quarn/radius/hiding.h"
#include "quarn/radius/path_shape.h"
#include "quarn/radius/written_number.h"
#include "quarn/utils/app.h"
#include "quarn/utils/case_insensitive.h"
#include "quarn/utils/nearest_name.h"
#include "quarn_radius/dictionary/code_path_limits.h"

namespace quarn::quarn_radius {

namespace {

namespace radius = subscriber::radius;
using radius::CodePath;
using radius::ContainerKind;
using radius::DictionaryDocument;
using radius::FileFault;
using radius::StrayKey;
using radius::ValueType;
using radius::WrittenAttribute;
using radius::WrittenBlock;
using radius::WrittenKind;
using radius::WrittenText;
using radius::WrittenValue;
using radius::WrittenVendor;

constexpr std::array file_keys =
    std::to_array<std::string_view>({"includes", "vendor", "attributes", "$schema"});
constexpr std::array vendor_keys = std::to_array<std::string_view>({"id", "name", "format"});
constexpr std::array attribute_keys = std::to_array<std::string_view>(
    {"code", "type", "encrypt", "has_tag", "optional_tag", "concat", "values"});

std::string quoted(std::string_view text) {
    return "\"" + shortened(text) + "\"";
}

std::string code_text(const CodePath& code) {
    return shortened(radius::radius_code_path_to_string(code));
}

std::vector<std::string_view> type_names() {
    std::vector<std::string_view> names;
    for (const radius::TypeRow& row : radius::type_rows()) {
        names.push_back(row.name);
    }
    return names;
}

bool is_bytes(ValueType type) {
    return type == ValueType::Text || type == ValueType::Octets;
}

class Checker {
  public:
    CheckResult check(const std::string& path);

  private:
    /// A line of a file of `files_`.
    struct Where {
        std::size_t file = 0;
        std::uint32_t line = 0;
    };
    /// A definition as the loader stores it.
    struct Definition {
        std::string name;
        CodePath code;
        std::string type = "string";
        Where where;
        ValueType value_type = ValueType::Octets;
        ContainerKind kind = ContainerKind::None;

        std::string shown() const { return shortened(name); }
    };
    struct Value {
        std::uint32_t number = 0;
        Where where;
    };
    struct Vendor {
        radius::VendorInfo info;
        Where where;
    };
    template <typename Entry>
    using NameIndex =
        std::unordered_map<std::string, Entry, utils::SeededCaseInsensitiveHash, utils::CaseInsensitiveEqual>;

    void report(Where where, Severity severity, std::string text) {
        problems_.push_back({files_[where.file], where.line, severity, std::move(text)});
    }
    void error(std::uint32_t line, std::string text) {
        report({files_.size() - 1, line}, Severity::Error, std::move(text));
    }
    void warn(std::uint32_t line, std::string text) {
        report({files_.size() - 1, line}, Severity::Warning, std::move(text));
    }
    Where here(std::uint32_t line) const { return {files_.size() - 1, line}; }
    std::string place_of(Where where) const { return place_text({files_[where.file], where.line}); }

    void report_fault(const FileFault& fault);
    void check_file(const DictionaryDocument& document);
    void report_stray_keys(const DictionaryDocument& document, std::uint32_t owner,
                           std::span<const std::string_view> known, const std::string& where);
    bool is_map(const WrittenBlock& block, const char* key);
    std::optional<std::uint32_t> check_number(const WrittenText& number, const std::string& what);
    bool check_flag(const WrittenText& flag, const std::string& key, const Definition& attribute);

    void check_vendor(const DictionaryDocument& document);
    std::optional<radius::VendorInfo> read_vendor(const WrittenVendor& block);
    void check_attribute(const DictionaryDocument& document, const WrittenAttribute& attribute,
                         std::uint32_t position);
    void check_code(const WrittenText& code, Definition& definition);
    void check_code_place(std::uint32_t line, const Definition& definition);
    void check_type(const WrittenText& type, Definition& definition);
    void check_encrypt(const WrittenText& encrypt, const Definition& attribute);
    void check_joining(const DictionaryDocument& document, const WrittenAttribute& written,
                       const Definition& attribute);
    void check_value(const WrittenValue& written, const Definition& attribute, bool has_tag,
                     NameIndex<Value>& earlier_values);
    void remember(Definition definition);

    void check_code_ranges();
    void check_nesting();
    void apply(const DictionaryDocument& document);
    void add_what_the_loader_says();
    void sort_problems();

    Problems problems_;
    std::string root_;                      ///< as given
    std::deque<std::string> files_;         ///< canonical paths in the order of loading, the last at hand
    std::size_t problems_before_file_ = 0;  ///< how many there were before the file at hand
    std::optional<radius::VendorInfo> file_vendor_;  ///< the vendor block of the file at hand
    std::deque<Definition> definitions_;             ///< all, in order of loading
    NameIndex<std::size_t> by_name_;                 ///< positions in `definitions_`
    std::map<CodePath, std::size_t> by_code_;        ///< positions in `definitions_`
    NameIndex<NameIndex<Value>> values_;
    std::map<std::uint32_t, Vendor> vendors_by_id_;
    NameIndex<Vendor> vendors_by_name_;
    radius::RadiusDictionary dictionary_;  ///< what the loader makes of it
    Problems told_by_the_loader_;
    /// Files and lines of attributes of which something was reported, on whatever line of theirs.
    std::set<std::pair<std::string, std::uint32_t>> known_places_;
};

CheckResult Checker::check(const std::string& path) {
    root_ = path;
    radius::DictionaryFiles files(
        path, [this](const FileFault& fault) { report_fault(fault); },
        radius::DictionaryFiles::LaterDocuments::Told);
    while (const DictionaryDocument* const document = files.next()) {
        files_.push_back(document->file);
        problems_before_file_ = problems_.size();
        file_vendor_.reset();
        check_file(*document);
        apply(*document);
    }
    check_code_ranges();
    check_nesting();
    add_what_the_loader_says();
    sort_problems();

    CheckResult result;
    result.counts = {files_.size(), vendors_by_id_.size(), by_name_.size(), 0};
    for (const auto& [attribute, values] : values_) {
        result.counts.values += values.size();
    }
    result.problems = std::move(problems_);
    return result;
}

void Checker::report_fault(const FileFault& fault) {
    if (fault.kind != FileFault::Kind::Unreadable) {
        const bool is_warning = fault.kind > FileFault::Kind::NullInclude;
        problems_.push_back(
            {fault.file, fault.line, is_warning ? Severity::Warning : Severity::Error, fault.problem});
    } else if (fault.includer.empty()) {
        throw FileError(root_ + ": " + fault.problem);
    } else {
        problems_.push_back({fault.includer, fault.include_line, Severity::Error,
                             "cannot load " + fault.include + ": " + fault.problem});
    }
}

void Checker::check_file(const DictionaryDocument& document) {
    report_stray_keys(document, StrayKey::file, file_keys, "the file");
    if (is_map(document.vendor, "vendor")) {
        check_vendor(document);
    }
    if (is_map(document.attribute_block, "attributes")) {
        for (std::uint32_t i = 0; i < document.attributes.size(); ++i) {
            const std::size_t before = problems_.size();
            check_attribute(document, document.attributes[i], i);
            if (problems_.size() > before) {
                known_places_.emplace(document.file, document.attributes[i].key_line);
            }
        }
    }
}

/// Unknown keys, and keys given twice, of which the first holds.
void Checker::report_stray_keys(const DictionaryDocument& document, std::uint32_t owner,
                                std::span<const std::string_view> known, const std::string& where) {
    const auto rank = [](std::uint32_t of) {
        return of == StrayKey::file ? 0 : of == StrayKey::vendor ? 1 : 2;
    };
    auto key = std::lower_bound(document.stray_keys.begin(), document.stray_keys.end(), owner,
                                [&](const StrayKey& stray, std::uint32_t wanted) {
                                    return std::pair(rank(stray.owner), stray.owner) <
                                           std::pair(rank(wanted), wanted);
                                });
    for (; key != document.stray_keys.end() && key->owner == owner; ++key) {
        switch (key->reason) {
            case StrayKey::Reason::NoText:
                warn(key->line, "a key of " + where + " is not a text");
                break;
            case StrayKey::Reason::Unknown:
                warn(key->line, "unknown key " + quoted(key->text) + " of " + where +
                                    utils::suggestion(key->text, known));
                break;
            case StrayKey::Reason::Repeated:
                warn(key->line, quoted(key->text) + " of " + where + " is given twice; the first one holds");
                break;
        }
    }
}

/// Whether the block is a map; nothing else than a null may be in its place.
bool Checker::is_map(const WrittenBlock& block, const char* key) {
    if (block.is_present() && block.kind != WrittenKind::Map) {
        error(block.key_line, std::string("'") + key + "' must be a map");
    }
    return block.kind == WrittenKind::Map;
}

std::optional<std::uint32_t> Checker::check_number(const WrittenText& number, const std::string& what) {
    const auto read = number.is_text() ? radius::read_file_number(number.text) : std::nullopt;
    if (!read) {
        error(number.key_line, what + " must be an unsigned integer" +
                                   (number.is_text() ? ", not " + quoted(number.text) : ""));
        return std::nullopt;
    }
    if (read->is_cut) {
        warn(number.key_line, what + " is out of range: " + shortened(number.text) + " is read as " +
                                  std::to_string(read->low_bits));
    }
    return read->low_bits;
}

bool Checker::check_flag(const WrittenText& flag, const std::string& key, const Definition& attribute) {
    const std::optional<bool> read = radius::read_flag(flag);
    if (flag.is_given() && !read) {
        error(flag.key_line, "'" + key + "' of " + attribute.shown() + " must be true or false" +
                                 (flag.is_text() ? ", not " + quoted(flag.text) : ""));
    }
    return read.value_or(false);
}

void Checker::check_vendor(const DictionaryDocument& document) {
    report_stray_keys(document, StrayKey::vendor, vendor_keys, "the vendor");
    const std::uint32_t line = document.vendor.key_line;
    const auto vendor = read_vendor(document.vendor);
    if (!vendor) {
        return;
    }
    file_vendor_ = vendor;
    const Vendor found{*vendor, here(line)};
    const std::string name = shortened(vendor->name);
    if (const auto [known, is_new] = vendors_by_id_.emplace(vendor->id, found); !is_new) {
        const radius::VendorInfo& earlier = known->second.info;
        const bool same_format = std::tie(earlier.type_size, earlier.length_size, earlier.continuation) ==
                                 std::tie(vendor->type_size, vendor->length_size, vendor->continuation);
        if (!utils::CaseInsensitiveEqual{}(earlier.name, vendor->name)) {
            warn(line, "vendor " + std::to_string(vendor->id) + " is named " + quoted(vendor->name) +
                           " here and " + quoted(earlier.name) + " at " + place_of(known->second.where));
        } else if (!same_format) {
            warn(line, "vendor " + name + " has the format " + quoted(vendor->format) + " here and " +
                           quoted(earlier.format) + " at " + place_of(known->second.where));
        }
        known->second = found;
    }
    if (const auto [known, is_new] = vendors_by_name_.emplace(vendor->name, found); !is_new) {
        if (known->second.info.id != vendor->id && !vendor->name.empty()) {
            warn(line, "vendor " + name + " has the number " + std::to_string(vendor->id) + " here and " +
                           std::to_string(known->second.info.id) + " at " + place_of(known->second.where));
        }
        known->second = found;
    }
}

std::optional<radius::VendorInfo> Checker::read_vendor(const WrittenVendor& block) {
    radius::VendorInfo vendor;
    if (!block.name.is_given()) {
        warn(block.key_line, "the vendor has no 'name'");
    } else if (block.name.is_text()) {
        vendor.name = block.name.text;
    } else {
        error(block.name.key_line, "'name' of the vendor must be a text");
    }
    if (block.format.is_given()) {
        std::string reason;
        if (!block.format.is_text()) {
            error(block.format.key_line, "'format' of the vendor must be a text such as \"1,1\"");
        } else if (!radius::parse_vendor_format(block.format.text, vendor.type_size, vendor.length_size,
                                                vendor.continuation, reason)) {
            error(block.format.key_line, reason);
        } else {
            vendor.format = block.format.text;
        }
    }
    if (!block.id.is_given()) {
        error(block.key_line, "the vendor has no 'id'");
        return std::nullopt;
    }
    const auto number = check_number(block.id, "'id' of the vendor");
    vendor.id = number.value_or(0);
    return number ? std::optional(vendor) : std::nullopt;
}

void Checker::check_attribute(const DictionaryDocument& document, const WrittenAttribute& attribute,
                              std::uint32_t position) {
    const std::uint32_t line = attribute.key_line;
    if (!attribute.name.is_text()) {
        error(line, "an attribute's name must be a text");
        return;
    }
    Definition definition;
    definition.name = attribute.name.text;
    definition.where = here(line);
    const std::string name = definition.shown();
    if (tools::has_control_character(definition.name)) {
        error(line, "the name " + quoted(definition.name) + " has a control character");
    }
    if (attribute.kind == WrittenKind::Null) {
        warn(line, name + " has no definition");
        return;
    }
    if (attribute.kind != WrittenKind::Map) {
        error(line, "the definition of " + name + " must be a map");
        return;
    }
    report_stray_keys(document, position, attribute_keys, name);
    check_type(attribute.type, definition);
    if (!attribute.code.is_given()) {
        warn(line, name + " has no 'code'");
    } else {
        check_code(attribute.code, definition);
    }
    check_encrypt(attribute.encrypt, definition);
    check_joining(document, attribute, definition);
    remember(std::move(definition));
}

void Checker::check_code(const WrittenText& code, Definition& definition) {
    const std::string subject = "'code' of " + definition.shown();
    if (!code.is_text()) {
        error(code.key_line, subject + " must be a text such as \"26.9.1\"");
        return;
    }
    radius::WrittenCode read = radius::read_code_path(code.text);
    if (read.fault != radius::CodeFault::None) {
        const bool is_too_large = read.fault == radius::CodeFault::OutOfRange;
        error(code.key_line, subject + (is_too_large ? " is out of range: " : " is no valid code path: ") +
                                 quoted(code.text));
        return;
    }
    definition.code = std::move(read.path);
    if (read.is_cut) {
        warn(code.key_line, subject + " is out of range: " + quoted(code.text) + " is read as " +
                                code_text(definition.code));
    }
    check_code_place(code.key_line, definition);
}

/// Attributes of a file with a vendor block belong into the vendor's space, of which there are seven: one in
/// Vendor-Specific and one in each of the extended attributes.
void Checker::check_code_place(std::uint32_t line, const Definition& definition) {
    if (file_vendor_ && radius::shape_of(definition.code).vendor(definition.code) != file_vendor_->id) {
        warn(line, definition.shown() + " at " + code_text(definition.code) +
                       " is outside of its vendor's 26." + std::to_string(file_vendor_->id));
    }
}

void Checker::check_type(const WrittenText& type, Definition& definition) {
    if (type.is_given() && !type.is_text()) {
        error(type.key_line, "'type' of " + definition.shown() + " must be a text");
    } else if (type.is_given()) {
        definition.type = type.text;
    }
    if (const radius::TypeRow* const row = radius::find_type(definition.type)) {
        definition.value_type = row->value_type;
        definition.kind = row->kind;
    } else {
        warn(type.key_line, "unknown type " + quoted(definition.type) + " of " + definition.shown() +
                                ", which is read as octets" +
                                utils::suggestion(definition.type, type_names()));
    }
}

void Checker::check_encrypt(const WrittenText& encrypt, const Definition& attribute) {
    const auto method =
        encrypt.is_given() ? check_number(encrypt, "'encrypt' of " + attribute.shown()) : std::nullopt;
    if (!method || *method == 0) {
        return;
    }
    const std::string senseless = "'encrypt' makes no sense for " + attribute.shown() +
                                  ", which is of type " + shortened(attribute.type);
    if (!radius::is_hidden(*method)) {
        warn(encrypt.key_line, "'encrypt' " + std::to_string(*method) + " of " + attribute.shown() +
                                   " hides nothing: there are the methods " +
                                   std::to_string(radius::hidden_as_user_password) + " and " +
                                   std::to_string(radius::hidden_as_tunnel_password));
    } else if (attribute.kind != ContainerKind::None) {
        warn(encrypt.key_line, senseless + " and holds other attributes");
    } else if (!is_bytes(attribute.value_type)) {
        warn(encrypt.key_line, senseless + ": what is hidden is listed truthfully as text or octets only");
    }
}

/// "has_tag" and "concat", which say how a value lies in its attributes, and the values, which depend on it.
void Checker::check_joining(const DictionaryDocument& document, const WrittenAttribute& written,
                            const Definition& attribute) {
    const ValueType type = attribute.value_type;
    const bool holds_others = attribute.kind != ContainerKind::None;
    const std::string senseless =
        "' makes no sense for " + attribute.shown() + ", which is of type " + shortened(attribute.type);

    const bool has_tag = check_flag(written.has_tag, "has_tag", attribute);
    if (has_tag && (holds_others || (!is_bytes(type) && type != ValueType::Integer))) {
        warn(written.has_tag.key_line,
             "'has_tag" + senseless + ": only texts, octets and integers carry a tag");
    }
    const bool optional_tag = check_flag(written.optional_tag, "optional_tag", attribute);
    if (optional_tag && (holds_others || has_tag || type != ValueType::Text)) {
        warn(written.optional_tag.key_line,
             has_tag ? "'optional_tag' of " + attribute.shown() + " is of no use beside 'has_tag'"
                     : "'optional_tag" + senseless + ": only a text may or may not begin with a tag");
    }
    const bool concat = check_flag(written.concat, "concat", attribute);
    if (concat && (holds_others || !is_bytes(type))) {
        warn(written.concat.key_line, "'concat" + senseless + ": only texts and octets are joined");
    }
    if (!is_map(written.values, "values")) {
        return;
    }
    if (type != ValueType::Integer) {
        warn(written.values.key_line, "the values of " + attribute.shown() +
                                          " are never shown: its type is " + shortened(attribute.type) +
                                          ", not enum");
    }
    const std::span<const WrittenValue> values = document.values_of(written);
    if (values.empty()) {
        return;
    }
    NameIndex<Value>& earlier_values = values_[attribute.name];
    for (const WrittenValue& value : values) {
        check_value(value, attribute, has_tag, earlier_values);
    }
}

void Checker::check_value(const WrittenValue& written, const Definition& attribute, bool has_tag,
                          NameIndex<Value>& earlier_values) {
    const std::uint32_t line = written.name.line;
    if (!written.name.is_text()) {
        error(line, "the name of a value of " + attribute.shown() + " must be a text");
        return;
    }
    const std::string subject = "value " + quoted(written.name.text) + " of " + attribute.shown();
    if (tools::has_control_character(written.name.text)) {
        error(line, subject + " has a control character in its name");
    }
    const auto number = check_number(written.number, subject);
    if (!number) {
        return;
    }
    if (const std::uint32_t most = radius::largest_number_of(attribute.value_type, has_tag); *number > most) {
        warn(line,
             subject + " is out of range: " + std::to_string(*number) + " is above " + std::to_string(most));
    }
    // Two names of one number are no problem: both can be written, and the last is the one that is listed.
    const Value value{*number, here(line)};
    const auto [known, is_new] = earlier_values.emplace(written.name.text, value);
    if (is_new) {
        return;
    }
    const Value earlier = std::exchange(known->second, value);
    if (earlier.number != *number) {
        warn(line, subject + " is defined again with the number " + std::to_string(*number) + "; it had " +
                       std::to_string(earlier.number) + " at " + place_of(earlier.where));
    } else if (earlier.where.file == value.where.file) {
        warn(line, subject + " is defined again; it was at " + place_of(earlier.where));
    }
}

void Checker::remember(Definition found) {
    const std::size_t position = definitions_.size();
    const Definition& definition = definitions_.emplace_back(std::move(found));
    const std::uint32_t line = definition.where.line;
    if (const auto [known, is_new] = by_name_.emplace(definition.name, position); !is_new) {
        const Definition& earlier = definitions_[std::exchange(known->second, position)];
        if (earlier.code != definition.code) {
            warn(line, definition.shown() + " is defined again with code \"" + code_text(definition.code) +
                           "\"; it had \"" + code_text(earlier.code) + "\" at " + place_of(earlier.where));
        } else if (earlier.where.file == definition.where.file) {
            warn(line, definition.shown() + " is defined again; it was at " + place_of(earlier.where));
        }
    }
    if (definition.code.empty()) {
        return;
    }
    if (const auto [known, is_new] = by_code_.emplace(definition.code, position); !is_new) {
        const Definition& earlier = definitions_[std::exchange(known->second, position)];
        if (!utils::CaseInsensitiveEqual{}(earlier.name, definition.name)) {
            warn(line, "code " + code_text(definition.code) + " is defined again as " + definition.shown() +
                           "; it was " + earlier.shown() + " at " + place_of(earlier.where));
        }
    }
}

void Checker::check_code_ranges() {
    for (const Definition& definition : definitions_) {
        const CodePath& code = definition.code;
        std::size_t type_size = 1;
        if (const auto id = radius::shape_of(code).vendor(code)) {
            const auto vendor = vendors_by_id_.find(*id);
            type_size = vendor != vendors_by_id_.end() ? vendor->second.info.type_size : type_size;
        }
        if (const std::string problem = code_path_problem(code, type_size); !problem.empty()) {
            report(definition.where, Severity::Warning,
                   "code " + code_text(code) + " of " + definition.shown() + " does not fit: " + problem);
        }
    }
}

/// Beyond the loader's own check, which looks at paths of four elements and more, this one looks at every
/// path that is nested at all.
void Checker::check_nesting() {
    for (const Definition& definition : definitions_) {
        if (definition.code.size() < 2) {
            continue;
        }
        const CodePath parent_code(definition.code.begin(), definition.code.end() - 1);
        const auto found = by_code_.find(parent_code);
        const Definition* const parent = found == by_code_.end() ? nullptr : &definitions_[found->second];
        const auto fault = radius::nesting_fault(
            definition.code, parent != nullptr ? std::optional(parent->kind) : std::nullopt);
        if (fault != radius::NestingFault::None) {
            report(definition.where, Severity::Warning,
                   "the parent " + code_text(parent_code) + " of " + definition.shown() +
                       (fault == radius::NestingFault::NoParent
                            ? " is not defined"
                            : " is " + parent->shown() + " of type " + shortened(parent->type) +
                                  ", which cannot hold other attributes"));
        }
    }
}

/// The loader has the last word about what it takes: its own words are kept, to be added where nothing was
/// found here.
void Checker::apply(const DictionaryDocument& document) {
    const App::WarningHandler collect([&](std::string_view message, const App::Fields& fields) {
        Problem problem{document.file, 1, Severity::Error, std::string(message)};
        for (const auto& [key, value] : fields) {
            if (key == "line") {
                std::from_chars(value.data(), value.data() + value.size(), problem.line);
            } else if (key == "attribute") {
                problem.text = shortened(value) + ": " + problem.text;
            }
        }
        told_by_the_loader_.push_back(std::move(problem));
    });
    try {
        dictionary_.apply(document);
    } catch (const std::runtime_error& failure) {
        const auto first = problems_.begin() + static_cast<std::ptrdiff_t>(problems_before_file_);
        if (std::none_of(first, problems_.end(),
                         [](const Problem& problem) { return problem.severity == Severity::Error; })) {
            error(1, std::string(failure.what()).substr(document.file.size() + 2));
        }
    }
}

void Checker::add_what_the_loader_says() {
    for (const Problem& problem : problems_) {
        known_places_.emplace(problem.file, problem.line);
    }
    for (Problem& problem : told_by_the_loader_) {
        if (!known_places_.contains({problem.file, problem.line})) {
            problems_.push_back(std::move(problem));
        }
    }
}

/// File by file in the order of loading, those that could not be read in front.
void Checker::sort_problems() {
    std::map<std::string_view, std::size_t> position;
    for (const std::string& file : files_) {
        position.emplace(file, position.size() + 1);
    }
    const auto rank = [&position](const Problem& problem) {
        const auto file = position.find(problem.file);
        return std::tuple(file == position.end() ? 0 : file->second, std::string_view(problem.file),
                          problem.line);
    };
    std::stable_sort(problems_.begin(), problems_.end(),
                     [&rank](const Problem& a, const Problem& b) { return rank(a) < rank(b); });
}

}  // namespace

CheckResult check_dictionary(const std::string& path) {
    return Checker().check(path);
}

}  // namespace quarn::quarn_radius
