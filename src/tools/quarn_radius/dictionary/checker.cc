#include "quarn_radius/dictionary/checker.h"

#include <yaml-cpp/yaml.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <exception>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string_view>
#include <system_error>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

#include "common/control_characters.h"
#include "quarn/radius/dictionary.h"
#include "quarn/radius/hiding.h"
#include "quarn/radius/wire_format.h"
#include "quarn/radius/yaml_number.h"
#include "quarn/utils/app.h"
#include "quarn/utils/ascii.h"
#include "quarn/utils/case_insensitive.h"
#include "quarn/utils/nearest_name.h"
#include "quarn/utils/text.h"
#include "quarn_radius/dictionary/code_path_limits.h"
#include "quarn_radius/dictionary/files.h"
#include "quarn_radius/dictionary/value_limits.h"

namespace quarn::quarn_radius {

namespace {

namespace radius = subscriber::radius;
using radius::CodePath;
using radius::ContainerKind;
using radius::ValueType;

constexpr std::array file_keys =
    std::to_array<std::string_view>({"includes", "vendor", "attributes", "$schema"});
constexpr std::array vendor_keys = std::to_array<std::string_view>({"id", "name", "format"});
constexpr std::array attribute_keys = std::to_array<std::string_view>(
    {"code", "type", "encrypt", "has_tag", "optional_tag", "concat", "values"});

/// Every type name with a meaning of its own, and those that are written for plain bytes.
constexpr std::array type_names = std::to_array<std::string_view>(
    {"text",       "integer",  "enum",       "time",     "signed", "integer64", "short",  "byte",
     "ipv4addr",   "ipv6addr", "ipv4prefix", "combo-ip", "ether",  "ifid",      "string", "octets",
     "ipv6prefix", "concat",   "vsa",        "tlv",      "evs",    "extended",  "struct", "long-extended"});

std::string quoted(std::string_view text) {
    return "\"" + std::string(text) + "\"";
}

bool is_all_digits(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), utils::is_digit);
}

/// Whether a text that the loader has read as a number says more than the 32 bits that it kept.
bool exceeds_32_bits(const YAML::Node& node, std::uint32_t kept) {
    const std::string text = utils::trim(text_of(node).value_or(""));
    std::string_view digits = text;
    if (digits.size() >= 2 && (digits.front() == '"' || digits.front() == '\'')) {
        digits = digits.substr(1, digits.size() - 2);
    }
    int base = 10;
    if (digits.starts_with("0x") || digits.starts_with("0X")) {
        digits.remove_prefix(2);
        base = 16;
    }
    std::uint64_t number = 0;
    const auto [end, status] = std::from_chars(digits.data(), digits.data() + digits.size(), number, base);
    return status != std::errc{} || number != kept;
}

bool is_bytes(ValueType type) {
    return type == ValueType::Text || type == ValueType::Octets;
}

bool is_container(std::string_view type) {
    return radius::classify_container_kind(type) != ContainerKind::None;
}

/// The largest number that a value of the type has room for.
std::uint32_t largest_value(std::string_view type, bool has_tag) {
    switch (radius::classify_value_type(type)) {
        case ValueType::Byte:
            return std::numeric_limits<std::uint8_t>::max();
        case ValueType::Short:
            return std::numeric_limits<std::uint16_t>::max();
        case ValueType::Integer:
            return has_tag ? max_tagged_number : std::numeric_limits<std::uint32_t>::max();
        default:
            return std::numeric_limits<std::uint32_t>::max();
    }
}

/// Whether what stops the loader is among the errors that were found in these files. The loader's text begins
/// with the name of the file.
bool is_known_failure(std::string_view text, const std::set<std::string>& faulty_files) {
    if (std::any_of(faulty_files.begin(), faulty_files.end(),
                    [text](const std::string& file) { return text.starts_with(file + ": "); })) {
        return true;
    }
    // A file that cannot be opened was reported where it is included.
    const std::size_t end = text.find(": cannot load: ");
    return !faulty_files.empty() && end != std::string_view::npos &&
           !open_failure(std::string(text.substr(0, end))).empty();
}

class Checker {
  public:
    CheckResult check(const std::string& path);

  private:
    /// A definition as the loader stores it.
    struct Definition {
        std::string name;
        CodePath code;
        std::string type;
        Place place;
    };
    struct Value {
        std::uint32_t number = 0;
        Place place;
    };
    struct Vendor {
        radius::VendorInfo info;
        Place place;
    };
    template <typename Entry>
    using NameIndex =
        std::unordered_map<std::string, Entry, utils::CaseInsensitiveHash, utils::CaseInsensitiveEqual>;

    void report(std::uint32_t line, Severity severity, std::string text) {
        problems_.push_back({file_, line, severity, std::move(text)});
    }
    void error(const YAML::Node& node, std::string text) {
        report(line_of(node), Severity::Error, std::move(text));
    }
    void warn(const YAML::Node& node, std::string text) {
        report(line_of(node), Severity::Warning, std::move(text));
    }
    Place place_of(const YAML::Node& node) const { return {file_, line_of(node)}; }

    void check_file(const YAML::Node& root);
    void check_keys(const YAML::Node& map, std::span<const std::string_view> known, const std::string& where);
    std::optional<Field> find_map(const YAML::Node& parent, const std::string& key);
    std::optional<std::uint32_t> check_number(const Field& field, const std::string& what);
    bool check_flag(const YAML::Node& definition, const std::string& key, const std::string& attribute);

    void check_vendor(const Field& block);
    std::optional<radius::VendorInfo> read_vendor(const Field& block);
    void check_attribute(const Field& attribute);
    std::optional<CodePath> check_code(const Field& field, const std::string& attribute);
    std::string check_type(const YAML::Node& definition, const std::string& attribute);
    void check_code_place(const YAML::Node& key, const Definition& definition);
    void check_encrypt(const YAML::Node& definition, const Definition& attribute);
    void check_joining(const YAML::Node& definition, const Definition& attribute);
    void check_values(const Field& values, const Definition& attribute, bool has_tag);
    void check_value(const Field& field, const Definition& attribute, bool has_tag);
    void remember(const YAML::Node& key, const Definition& definition);

    void check_code_ranges();
    void check_nesting();
    void add_what_the_loader_says(const std::string& path);
    void sort_problems(const std::vector<DictionaryFile>& files);

    Problems problems_;
    std::string file_;                               ///< the file at hand
    std::optional<radius::VendorInfo> file_vendor_;  ///< its vendor block
    std::vector<Definition> definitions_;            ///< all that have a code, in order of loading
    NameIndex<Definition> by_name_;
    std::map<CodePath, Definition> by_code_;
    NameIndex<NameIndex<Value>> values_;
    std::map<std::uint32_t, Vendor> vendors_by_id_;
    NameIndex<Vendor> vendors_by_name_;
    /// Files and lines of attributes of which something was reported, on whatever line of theirs.
    std::set<std::pair<std::string, std::uint32_t>> known_places_;
};

CheckResult Checker::check(const std::string& path) {
    const std::vector<DictionaryFile> files = read_dictionary_files(path, problems_);
    for (const DictionaryFile& file : files) {
        file_ = file.path;
        file_vendor_.reset();
        check_file(file.root);
    }
    check_code_ranges();
    check_nesting();
    add_what_the_loader_says(path);
    sort_problems(files);

    CheckResult result;
    result.counts = {files.size(), vendors_by_id_.size(), by_name_.size(), 0};
    for (const auto& [attribute, values] : values_) {
        result.counts.values += values.size();
    }
    result.problems = std::move(problems_);
    return result;
}

void Checker::check_file(const YAML::Node& root) {
    check_keys(root, file_keys, "the file");
    if (const auto vendor = find_map(root, "vendor")) {
        check_vendor(*vendor);
    }
    if (const auto attributes = find_map(root, "attributes")) {
        for (const auto& entry : attributes->value) {
            const std::size_t before = problems_.size();
            check_attribute({entry.first, entry.second});
            if (problems_.size() > before) {
                known_places_.emplace(file_, line_of(entry.first));
            }
        }
    }
}

/// Unknown keys, and keys given twice, of which the first holds.
void Checker::check_keys(const YAML::Node& map, std::span<const std::string_view> known,
                         const std::string& where) {
    std::set<std::string> seen;
    for (const auto& entry : map) {
        const auto key = text_of(entry.first);
        if (!key) {
            warn(entry.first, "a key of " + where + " is not a text");
        } else if (std::find(known.begin(), known.end(), *key) == known.end()) {
            warn(entry.first,
                 "unknown key " + quoted(*key) + " of " + where + utils::suggestion(*key, known));
        } else if (!seen.insert(*key).second) {
            warn(entry.first, quoted(*key) + " of " + where + " is given twice; the first one holds");
        }
    }
}

/// The map under a key; nothing when it is absent or null, or when it is no map, which is reported.
std::optional<Field> Checker::find_map(const YAML::Node& parent, const std::string& key) {
    auto field = find_field(parent, key);
    if (!field || field->value.IsNull()) {
        return std::nullopt;
    }
    if (!field->value.IsMap()) {
        error(field->key, "'" + key + "' must be a map");
        return std::nullopt;
    }
    return field;
}

std::optional<std::uint32_t> Checker::check_number(const Field& field, const std::string& what) {
    const auto text = text_of(field.value);
    std::uint32_t number = 0;
    try {
        number = radius::node_to_u32(field.value);
    } catch (const std::exception&) {
        error(field.key, what + " must be an unsigned integer" + (text ? ", not " + quoted(*text) : ""));
        return std::nullopt;
    }
    if (exceeds_32_bits(field.value, number)) {
        warn(field.key, what + " is out of range: " + *text + " is read as " + std::to_string(number));
    }
    return number;
}

bool Checker::check_flag(const YAML::Node& definition, const std::string& key, const std::string& attribute) {
    const auto field = find_field(definition, key);
    bool flag = false;
    if (field && !YAML::convert<bool>::decode(field->value, flag)) {
        const auto text = text_of(field->value);
        error(field->key, "'" + key + "' of " + attribute + " must be true or false" +
                              (text ? ", not " + quoted(*text) : ""));
    }
    return flag;
}

void Checker::check_vendor(const Field& block) {
    const auto vendor = read_vendor(block);
    if (!vendor) {
        return;
    }
    file_vendor_ = vendor;
    const Vendor found{*vendor, place_of(block.key)};
    if (const auto [known, is_new] = vendors_by_id_.emplace(vendor->id, found); !is_new) {
        const radius::VendorInfo& earlier = known->second.info;
        const bool same_format = std::tie(earlier.type_size, earlier.length_size, earlier.continuation) ==
                                 std::tie(vendor->type_size, vendor->length_size, vendor->continuation);
        if (!utils::CaseInsensitiveEqual{}(earlier.name, vendor->name)) {
            warn(block.key, "vendor " + std::to_string(vendor->id) + " is named " + quoted(vendor->name) +
                                " here and " + quoted(earlier.name) + " at " +
                                place_text(known->second.place));
        } else if (!same_format) {
            warn(block.key, "vendor " + vendor->name + " has the format " + quoted(vendor->format) +
                                " here and " + quoted(earlier.format) + " at " +
                                place_text(known->second.place));
        }
        known->second = found;
    }
    if (const auto [known, is_new] = vendors_by_name_.emplace(vendor->name, found); !is_new) {
        if (known->second.info.id != vendor->id && !vendor->name.empty()) {
            warn(block.key, "vendor " + vendor->name + " has the number " + std::to_string(vendor->id) +
                                " here and " + std::to_string(known->second.info.id) + " at " +
                                place_text(known->second.place));
        }
        known->second = found;
    }
}

std::optional<radius::VendorInfo> Checker::read_vendor(const Field& block) {
    check_keys(block.value, vendor_keys, "the vendor");
    radius::VendorInfo vendor;
    if (const auto name = find_field(block.value, "name"); !name) {
        warn(block.key, "the vendor has no 'name'");
    } else if (const auto text = text_of(name->value)) {
        vendor.name = *text;
    } else {
        error(name->key, "'name' of the vendor must be a text");
    }
    if (const auto format = find_field(block.value, "format")) {
        std::string reason;
        if (const auto text = text_of(format->value); !text) {
            error(format->key, "'format' of the vendor must be a text such as \"1,1\"");
        } else if (!radius::parse_vendor_format(*text, vendor.type_size, vendor.length_size,
                                                vendor.continuation, reason)) {
            error(format->key, reason);
        } else {
            vendor.format = *text;
        }
    }
    const auto id = find_field(block.value, "id");
    if (!id) {
        error(block.key, "the vendor has no 'id'");
        return std::nullopt;
    }
    const auto number = check_number(*id, "'id' of the vendor");
    vendor.id = number.value_or(0);
    return number ? std::optional(vendor) : std::nullopt;
}

void Checker::check_attribute(const Field& attribute) {
    const auto name = text_of(attribute.key);
    if (!name) {
        error(attribute.key, "an attribute's name must be a text");
        return;
    }
    if (tools::has_control_character(*name)) {
        error(attribute.key, "the name " + quoted(*name) + " has a control character");
    }
    if (attribute.value.IsNull()) {
        warn(attribute.key, *name + " has no definition");
        return;
    }
    if (!attribute.value.IsMap()) {
        error(attribute.key, "the definition of " + *name + " must be a map");
        return;
    }
    const YAML::Node& node = attribute.value;
    check_keys(node, attribute_keys, *name);

    Definition definition{*name, {}, check_type(node, *name), place_of(attribute.key)};
    if (const auto code = find_field(node, "code"); !code) {
        warn(attribute.key, *name + " has no 'code'");
    } else if (const auto path = check_code(*code, *name)) {
        definition.code = *path;
        check_code_place(code->key, definition);
    }
    check_encrypt(node, definition);
    check_joining(node, definition);
    remember(attribute.key, definition);
}

std::optional<CodePath> Checker::check_code(const Field& field, const std::string& attribute) {
    const auto text = text_of(field.value);
    if (!text) {
        error(field.key, "'code' of " + attribute + " must be a text such as \"26.9.1\"");
        return std::nullopt;
    }
    CodePath path;
    bool is_cut = false;
    for (const std::string& element : utils::split(*text, '.')) {
        const std::string number = utils::trim(element);
        const bool is_negative = number.starts_with('-');
        std::string_view digits = number;
        digits.remove_prefix(is_negative || number.starts_with('+') ? 1 : 0);
        if (!is_all_digits(digits)) {
            error(field.key, "'code' of " + attribute + " is no valid code path: " + quoted(*text));
            return std::nullopt;
        }
        // Like the loader: the low 32 bits are kept, and those of a negative number are its complement.
        std::uint64_t code = 0;
        const auto [end, status] = std::from_chars(digits.data(), digits.data() + digits.size(), code);
        if (status != std::errc{}) {
            error(field.key, "'code' of " + attribute + " is out of range: " + quoted(*text));
            return std::nullopt;
        }
        if (is_negative && code != 0) {
            code = std::numeric_limits<std::uint64_t>::max() - code + 1;
            is_cut = true;
        }
        path.push_back(static_cast<std::uint32_t>(code));
        is_cut = is_cut || code > std::numeric_limits<std::uint32_t>::max();
    }
    if (is_cut) {
        warn(field.key, "'code' of " + attribute + " is out of range: " + quoted(*text) + " is read as " +
                            radius::radius_code_path_to_string(path));
    }
    return path;
}

/// Attributes of a file with a vendor block belong into the vendor's space, of which there are seven: one in
/// Vendor-Specific and one in each of the extended attributes.
void Checker::check_code_place(const YAML::Node& key, const Definition& definition) {
    if (!file_vendor_) {
        return;
    }
    const CodePath& code = definition.code;
    const std::uint32_t id = file_vendor_->id;
    const bool plain = code.size() >= 2 && code[0] == radius::VSA_TYPE && code[1] == id;
    const bool extended =
        code.size() >= 3 && radius::is_extended_type(code[0]) && code[1] == radius::VSA_TYPE && code[2] == id;
    if (!plain && !extended) {
        warn(key, definition.name + " at " + radius::radius_code_path_to_string(code) +
                      " is outside of its vendor's 26." + std::to_string(id));
    }
}

std::string Checker::check_type(const YAML::Node& definition, const std::string& attribute) {
    const auto field = find_field(definition, "type");
    if (!field) {
        return "string";
    }
    const auto type = text_of(field->value);
    if (!type) {
        error(field->key, "'type' of " + attribute + " must be a text");
        return "string";
    }
    const auto is_type = [&type](std::string_view known) {
        return utils::CaseInsensitiveEqual{}(known, *type);
    };
    if (std::none_of(type_names.begin(), type_names.end(), is_type)) {
        warn(field->key, "unknown type " + quoted(*type) + " of " + attribute + ", which is read as octets" +
                             utils::suggestion(*type, type_names));
    }
    return *type;
}

void Checker::check_encrypt(const YAML::Node& definition, const Definition& attribute) {
    const auto field = find_field(definition, "encrypt");
    const auto method = field ? check_number(*field, "'encrypt' of " + attribute.name) : std::nullopt;
    if (!method || *method == 0) {
        return;
    }
    const std::string senseless =
        "'encrypt' makes no sense for " + attribute.name + ", which is of type " + attribute.type;
    if (!radius::is_hidden(*method)) {
        warn(field->key, "'encrypt' " + std::to_string(*method) + " of " + attribute.name +
                             " hides nothing: there are the methods " +
                             std::to_string(radius::hidden_as_user_password) + " and " +
                             std::to_string(radius::hidden_as_tunnel_password));
    } else if (is_container(attribute.type)) {
        warn(field->key, senseless + " and holds other attributes");
    } else if (!is_bytes(radius::classify_value_type(attribute.type))) {
        warn(field->key, senseless + ": what is hidden is listed truthfully as text or octets only");
    }
}

/// "has_tag" and "concat", which say how a value lies in its attributes, and the values, which depend on it.
void Checker::check_joining(const YAML::Node& definition, const Definition& attribute) {
    const ValueType type = radius::classify_value_type(attribute.type);
    const bool holds_others = is_container(attribute.type);
    const std::string senseless =
        "' makes no sense for " + attribute.name + ", which is of type " + attribute.type;

    const bool has_tag = check_flag(definition, "has_tag", attribute.name);
    if (has_tag && (holds_others || (!is_bytes(type) && type != ValueType::Integer))) {
        warn(find_field(definition, "has_tag")->key,
             "'has_tag" + senseless + ": only texts, octets and integers carry a tag");
    }
    const bool optional_tag = check_flag(definition, "optional_tag", attribute.name);
    if (optional_tag && (holds_others || has_tag || type != ValueType::Text)) {
        warn(find_field(definition, "optional_tag")->key,
             has_tag ? "'optional_tag' of " + attribute.name + " is of no use beside 'has_tag'"
                     : "'optional_tag" + senseless + ": only a text may or may not begin with a tag");
    }
    const bool concat = check_flag(definition, "concat", attribute.name);
    if (concat && (holds_others || !is_bytes(type))) {
        warn(find_field(definition, "concat")->key,
             "'concat" + senseless + ": only texts and octets are joined");
    }
    if (const auto values = find_map(definition, "values")) {
        check_values(*values, attribute, has_tag);
    }
}

void Checker::check_values(const Field& values, const Definition& attribute, bool has_tag) {
    if (radius::classify_value_type(attribute.type) != ValueType::Integer) {
        warn(values.key, "the values of " + attribute.name + " are never shown: its type is " +
                             attribute.type + ", not enum");
    }
    for (const auto& entry : values.value) {
        check_value({entry.first, entry.second}, attribute, has_tag);
    }
}

void Checker::check_value(const Field& field, const Definition& attribute, bool has_tag) {
    const YAML::Node& key = field.key;
    const auto name = text_of(key);
    if (!name) {
        error(key, "the name of a value of " + attribute.name + " must be a text");
        return;
    }
    const std::string subject = "value " + quoted(*name) + " of " + attribute.name;
    if (tools::has_control_character(*name)) {
        error(key, subject + " has a control character in its name");
    }
    const auto number = check_number(field, subject);
    if (!number) {
        return;
    }
    if (const std::uint32_t most = largest_value(attribute.type, has_tag); *number > most) {
        warn(key,
             subject + " is out of range: " + std::to_string(*number) + " is above " + std::to_string(most));
    }
    // Two names of one number are no problem: both can be written, and the last is the one that is listed.
    const Value value{*number, place_of(key)};
    if (const auto [known, is_new] = values_[attribute.name].emplace(*name, value); !is_new) {
        const Value& earlier = known->second;
        if (earlier.number != *number) {
            warn(key, subject + " is defined again with the number " + std::to_string(*number) + "; it had " +
                          std::to_string(earlier.number) + " at " + place_text(earlier.place));
        } else if (earlier.place.file == file_) {
            warn(key, subject + " is defined again; it was at " + place_text(earlier.place));
        }
        known->second = value;
    }
}

void Checker::remember(const YAML::Node& key, const Definition& definition) {
    if (const auto [known, is_new] = by_name_.emplace(definition.name, definition); !is_new) {
        const Definition& earlier = known->second;
        if (earlier.code != definition.code) {
            warn(key, definition.name + " is defined again with code " +
                          quoted(radius::radius_code_path_to_string(definition.code)) + "; it had " +
                          quoted(radius::radius_code_path_to_string(earlier.code)) + " at " +
                          place_text(earlier.place));
        } else if (earlier.place.file == file_) {
            warn(key, definition.name + " is defined again; it was at " + place_text(earlier.place));
        }
        known->second = definition;
    }
    if (definition.code.empty()) {
        return;
    }
    if (const auto [known, is_new] = by_code_.emplace(definition.code, definition); !is_new) {
        const Definition& earlier = known->second;
        if (!utils::CaseInsensitiveEqual{}(earlier.name, definition.name)) {
            warn(key, "code " + radius::radius_code_path_to_string(definition.code) +
                          " is defined again as " + definition.name + "; it was " + earlier.name + " at " +
                          place_text(earlier.place));
        }
        known->second = definition;
    }
    definitions_.push_back(definition);
}

void Checker::check_code_ranges() {
    for (const Definition& definition : definitions_) {
        const CodePath& code = definition.code;
        const auto vendor = code.size() > 1 ? vendors_by_id_.find(code[1]) : vendors_by_id_.end();
        const std::size_t type_size = vendor == vendors_by_id_.end() ? 1 : vendor->second.info.type_size;
        if (const std::string problem = code_path_problem(code, type_size); !problem.empty()) {
            problems_.push_back({definition.place.file, definition.place.line, Severity::Warning,
                                 "code " + radius::radius_code_path_to_string(code) + " of " +
                                     definition.name + " does not fit: " + problem});
        }
    }
}

/// Beyond the loader's own check, which looks at paths of four elements and more, this one looks at every
/// path that is nested at all.
void Checker::check_nesting() {
    for (const Definition& definition : definitions_) {
        const CodePath& code = definition.code;
        const bool in_vendor = code[0] == radius::VSA_TYPE && code.size() <= 3;
        const bool in_extended = radius::is_extended_type(code[0]) &&
                                 (code.size() == 2 || (code.size() == 3 && code[1] == radius::VSA_TYPE));
        if (code.size() == 1 || in_vendor) {
            continue;
        }
        const CodePath parent_code(code.begin(), code.end() - 1);
        const auto parent = by_code_.find(parent_code);
        std::string problem;
        if (parent == by_code_.end()) {
            // An extended attribute is known for what it is even where nothing defines it.
            if (in_extended) {
                continue;
            }
            problem = "is not defined";
        } else if (!is_container(parent->second.type)) {
            problem = "is " + parent->second.name + " of type " + parent->second.type +
                      ", which cannot hold other attributes";
        } else {
            continue;
        }
        problems_.push_back({definition.place.file, definition.place.line, Severity::Warning,
                             "the parent " + radius::radius_code_path_to_string(parent_code) + " of " +
                                 definition.name + " " + problem});
    }
}

/// The loader has the last word about what it takes: what it reports of a line about which nothing was found
/// here is added in its own words.
void Checker::add_what_the_loader_says(const std::string& path) {
    std::set<std::string> faulty_files;
    for (const Problem& problem : problems_) {
        known_places_.emplace(problem.file, problem.line);
        if (problem.severity == Severity::Error) {
            faulty_files.insert(problem.file);
        }
    }
    const App::WarningHandler collect([&](std::string_view message, const App::Fields& fields) {
        Problem problem{path, 1, Severity::Error, std::string(message)};
        for (const auto& [key, value] : fields) {
            if (key == "file") {
                problem.file = value;
            } else if (key == "line") {
                std::from_chars(value.data(), value.data() + value.size(), problem.line);
            } else if (key == "attribute") {
                problem.text = value + ": " + problem.text;
            } else if (key == "parent_code") {
                problem.severity = Severity::Warning;  // the attribute itself was stored
            }
        }
        if (!known_places_.contains({problem.file, problem.line})) {
            problems_.push_back(std::move(problem));
        }
    });
    radius::RadiusDictionary dictionary;
    try {
        dictionary.load(path);
    } catch (const std::exception& failure) {
        if (!is_known_failure(failure.what(), faulty_files)) {
            problems_.push_back({path, 1, Severity::Error, failure.what()});
        }
    }
}

void Checker::sort_problems(const std::vector<DictionaryFile>& files) {
    std::map<std::string, std::size_t> position;
    for (const DictionaryFile& file : files) {
        position.emplace(file.path, position.size());
    }
    const auto rank = [&position](const Problem& problem) {
        const auto file = position.find(problem.file);
        return std::tuple(file == position.end() ? 0 : file->second + 1, problem.file, problem.line);
    };
    std::stable_sort(problems_.begin(), problems_.end(),
                     [&rank](const Problem& a, const Problem& b) { return rank(a) < rank(b); });
}

}  // namespace

CheckResult check_dictionary(const std::string& path) {
    return Checker().check(path);
}

}  // namespace quarn::quarn_radius
