#include "quarn_radius/dictionary/importer.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <system_error>
#include <tuple>
#include <unordered_map>
#include <utility>

#include "common/control_characters.h"
#include "common/json_object.h"
#include "quarn/radius/hiding.h"
#include "quarn/radius/path_shape.h"
#include "quarn/radius/value_type.h"
#include "quarn/utils/ascii.h"
#include "quarn/utils/case_insensitive.h"
#include "quarn/utils/text.h"
#include "quarn/utils/whole_file.h"
#include "quarn_radius/dictionary/code_path_limits.h"
#include "quarn_radius/dictionary/file_set.h"

namespace quarn::quarn_radius {

namespace {

namespace radius = subscriber::radius;
using radius::CodePath;
using radius::ValueType;

/// A YAML reader need not take a key of more than 1024 characters, and yaml-cpp does not.
constexpr std::size_t max_key_size = 1000;

struct NameFault {
    Severity severity;
    std::string text;  ///< follows "its name"
};

/// Why the name of an attribute or a value cannot be a key of the written files; nothing when it can.
std::optional<NameFault> fault_of_name(std::string_view name) {
    // authprobe lists names as they are: a line feed in one would begin a line that the sender chose.
    if (tools::has_control_character(name)) {
        return NameFault{Severity::Error, "has a control character"};
    }
    if (!utils::is_well_formed_utf8(name)) {
        return NameFault{Severity::Warning, "is not valid UTF-8"};
    }
    if (tools::json_string(name).size() > max_key_size) {
        return NameFault{Severity::Warning, "is too long"};
    }
    return std::nullopt;
}

/// This system's type of a name that the source has, older and newer ones; null for a name without one.
const radius::TypeRow* find_foreign_type(std::string_view name) {
    for (const radius::TypeRow& row : radius::type_rows()) {
        if (!name.empty() &&
            std::find(row.foreign_names.begin(), row.foreign_names.end(), name) != row.foreign_names.end()) {
            return &row;
        }
    }
    return nullptr;
}

bool is_bytes(std::string_view type) {
    return type == "text" || type == "octets";
}

class Converter {
  public:
    Converter(const TextDictionary& source, Problems& problems) : source_(source), problems_(problems) {}

    std::vector<DictionaryContent> convert() {
        choose_vendors();
        const std::vector<const TextAttribute*> chosen = choose_attributes();
        for (const TextAttribute* const attribute : chosen) {
            convert_attribute(*attribute);
        }
        convert_values();
        return group_by_vendor();
    }

  private:
    /// An attribute on its way: what will be written, and where it came from.
    struct Converted {
        AttributeEntry entry;
        std::optional<std::uint32_t> vendor;
        std::vector<bool> gave_way = {};  ///< of each of its values: whether a later one has its name
        std::unordered_map<std::string, std::size_t, utils::SeededCaseInsensitiveHash,
                           utils::CaseInsensitiveEqual>
            value_by_name = {};  ///< the last value of each name
    };

    void report(const Place& place, Severity severity, std::string text) {
        problems_.push_back({place.file, place.line, severity, std::move(text)});
    }
    void note(const Place& place, std::string text) { report(place, Severity::Note, std::move(text)); }
    void warn(const Place& place, std::string text) { report(place, Severity::Warning, std::move(text)); }

    /// A vendor's number may have been given several names over the years.
    void choose_vendors() {
        std::vector<TextVendor> sound;
        for (const TextVendor& vendor : source_.vendors) {
            if (utils::is_well_formed_utf8(vendor.name)) {
                sound.push_back(vendor);
            } else {
                warn(vendor.place, "a vendor is left out: its name is not valid UTF-8");
            }
        }
        for (const TextVendor& vendor : sound) {
            radius::VendorInfo info;
            info.id = vendor.id;
            info.name = vendor.name;
            info.format = vendor.format;
            std::string never;
            radius::parse_vendor_format(info.format, info.type_size, info.length_size, info.continuation,
                                        never);
            vendors_.insert_or_assign(vendor.id, Vendor{info, vendor.place});
        }
        for (const TextVendor& vendor : sound) {
            const Vendor& kept = vendors_.at(vendor.id);
            if (vendor.name != kept.info.name) {
                note(vendor.place, "vendor " + vendor.name + " goes by the name " +
                                       shortened(kept.info.name) + " of the same number, given at " +
                                       place_text(kept.place));
            } else if (vendor.format != kept.info.format) {
                note(vendor.place, "vendor " + vendor.name + " has the format " +
                                       shortened(kept.info.format) + " given at " + place_text(kept.place));
            }
        }
    }

    /// Of attributes with one name or one code the last; sorted by code, so that parents come first.
    std::vector<const TextAttribute*> choose_attributes() {
        std::map<std::string, const TextAttribute*> by_name;
        for (const TextAttribute& attribute : source_.attributes) {
            by_name[utils::ascii_lower(attribute.name)] = &attribute;
        }
        std::map<CodePath, const TextAttribute*> by_code;
        for (const TextAttribute& attribute : source_.attributes) {
            const TextAttribute* const kept = by_name.at(utils::ascii_lower(attribute.name));
            if (kept == &attribute) {
                by_code[attribute.code] = &attribute;
            } else if (kept->code != attribute.code) {
                note(attribute.place, attribute.name + " has the code " +
                                          radius::radius_code_path_to_string(kept->code) + " given at " +
                                          place_text(kept->place));
            }
        }
        for (const auto& [name, attribute] : by_name) {
            const TextAttribute* const kept = by_code.at(attribute->code);
            if (kept != attribute) {
                warn(attribute->place, attribute->name + " is left out: its code is already used by " +
                                           shortened(kept->name) + " (" + place_text(kept->place) + ")");
                left_out_.insert(name);
            }
        }
        std::vector<const TextAttribute*> chosen;
        chosen.reserve(by_code.size());
        for (const auto& [code, attribute] : by_code) {
            chosen.push_back(attribute);
        }
        return chosen;
    }

    /// Why the attribute has no place in a packet; empty when it has one.
    std::string misplacement(const TextAttribute& attribute) const {
        const CodePath& code = attribute.code;
        const auto vendor = attribute.vendor ? vendors_.find(*attribute.vendor) : vendors_.end();
        const std::size_t type_size = vendor == vendors_.end() ? 1 : vendor->second.info.type_size;
        std::string problem = code_path_problem(code, type_size);
        if (!problem.empty()) {
            return problem;
        }
        if (code.size() < 2) {
            return {};
        }
        const CodePath parent_code(code.begin(), code.end() - 1);
        const auto found = index_by_code_.find(parent_code);
        if (found == index_by_code_.end()) {
            const bool is_fault = radius::nesting_fault(code, std::nullopt) != radius::NestingFault::None;
            return is_fault ? "nothing is defined at " + radius::radius_code_path_to_string(parent_code) : "";
        }
        const AttributeEntry& parent = converted_[found->second].entry;
        const auto fault = radius::nesting_fault(code, radius::classify_container_kind(parent.type));
        return fault != radius::NestingFault::None
                   ? shortened(parent.name) + " of type " + parent.type + " cannot hold it"
                   : "";
    }

    void convert_attribute(const TextAttribute& attribute) {
        const std::string lower = utils::ascii_lower(attribute.name);
        if (const std::optional<NameFault> fault = fault_of_name(attribute.name)) {
            report(attribute.place, fault->severity, "an attribute is left out: its name " + fault->text);
            left_out_.insert(lower);
            return;
        }
        if (attribute.vendor && !vendors_.contains(*attribute.vendor)) {
            note(attribute.place, attribute.name + " is left out with its vendor");
            left_out_.insert(lower);
            return;
        }
        if (const std::string problem = misplacement(attribute); !problem.empty()) {
            warn(attribute.place, attribute.name + " is left out: " + problem);
            left_out_.insert(lower);
            return;
        }
        AttributeEntry entry;
        entry.name = attribute.name;
        entry.code = attribute.code;
        entry.type = convert_type(attribute);
        convert_flags(attribute, entry);
        index_by_name_[lower] = converted_.size();
        index_by_code_[entry.code] = converted_.size();
        converted_.push_back({std::move(entry), attribute.vendor, {}, {}});
    }

    std::string convert_type(const TextAttribute& attribute) {
        std::string written = utils::ascii_lower(attribute.type);
        if (const std::size_t bracket = written.find('['); bracket != std::string::npos) {
            note(attribute.place, "the length of " + attribute.name + " is dropped: " + attribute.type);
            written.resize(bracket);
        }
        if (const radius::TypeRow* const row = find_foreign_type(written)) {
            return std::string(row->name);
        }
        note(attribute.place, attribute.name + " becomes octets: there is no type " + attribute.type);
        return "octets";
    }

    void convert_flags(const TextAttribute& attribute, AttributeEntry& entry) {
        const auto becomes_octets = [&](const std::string& reason) {
            note(attribute.place, attribute.name + " becomes octets: " + reason);
            entry.type = "octets";
        };
        if (radius::classify_container_kind(entry.type) != radius::ContainerKind::None) {
            if (attribute.encrypt != 0 || attribute.has_tag || attribute.concat || attribute.array) {
                note(attribute.place, "the flags of " + attribute.name + " are dropped: it is a container");
            }
            return;
        }
        entry.encrypt = attribute.encrypt;
        entry.has_tag = attribute.has_tag;
        entry.concat = attribute.concat;
        if (attribute.array && entry.type == "text") {
            note(attribute.place, "the flag array of " + attribute.name + " is dropped");
        } else if (attribute.array && entry.type != "octets") {
            becomes_octets("an array cannot be taken apart");
        }
        if (attribute.encrypt != 0 && !radius::is_hidden(attribute.encrypt)) {
            entry.encrypt = 0;
            becomes_octets("it is hidden by the unknown method " + std::to_string(attribute.encrypt));
        } else if (attribute.encrypt != 0 && !is_bytes(entry.type)) {
            becomes_octets("it is hidden on the wire, where it is no " + entry.type);
        }
        if (entry.has_tag && entry.encrypt == 0 && is_bytes(entry.type)) {
            note(attribute.place,
                 attribute.name + ": has_tag becomes optional_tag, as the tag of a text may be missing");
            entry.has_tag = false;
            entry.optional_tag = entry.type == "text";
        } else if (entry.has_tag && !is_bytes(entry.type) && entry.type != "integer") {
            note(attribute.place, attribute.name + " loses has_tag: it is no text and no integer");
            entry.has_tag = false;
        }
        if (entry.concat && (attribute.vendor || !is_bytes(entry.type))) {
            note(attribute.place,
                 attribute.name + " loses concat: only a plain attribute's bytes are joined");
            entry.concat = false;
        }
    }

    void convert_values() {
        for (const TextValue& value : source_.values) {
            const std::string subject = "the value " + value.name + " of " + value.attribute + " is left out";
            const std::string lower = utils::ascii_lower(value.attribute);
            const auto index = index_by_name_.find(lower);
            if (index == index_by_name_.end()) {
                if (left_out_.contains(lower)) {
                    note(value.place, subject + " with its attribute");
                } else {
                    warn(value.place, subject + ": there is no such attribute");
                }
                continue;
            }
            AttributeEntry& entry = converted_[index->second].entry;
            if (radius::classify_value_type(entry.type) != ValueType::Integer) {
                note(value.place, subject + ": values of type " + entry.type + " are listed as they are");
            } else if (value.number > radius::largest_number_of(ValueType::Integer, entry.has_tag)) {
                note(value.place, subject + ": beside a tag there is no room for its number");
            } else if (const std::optional<NameFault> fault = fault_of_name(value.name)) {
                report(value.place, fault->severity,
                       "a value of " + value.attribute + " is left out: it " + fault->text);
            } else {
                add_value(index->second, value);
            }
        }
        for (Converted& attribute : converted_) {
            std::size_t position = 0;
            std::erase_if(attribute.entry.values,
                          [&](const auto&) { return attribute.gave_way[position++]; });
            std::stable_sort(attribute.entry.values.begin(), attribute.entry.values.end(),
                             [](const auto& a, const auto& b) { return a.second < b.second; });
        }
    }

    /// A number may have several names, of which the last is the one that is listed.
    void add_value(std::size_t attribute, const TextValue& value) {
        AttributeEntry& entry = converted_[attribute].entry;
        std::vector<bool>& gave_way = converted_[attribute].gave_way;
        entry.type = "enum";
        const auto [known, is_new] =
            converted_[attribute].value_by_name.try_emplace(value.name, entry.values.size());
        if (!is_new) {
            const auto& earlier = entry.values[known->second];
            if (earlier != std::pair(value.name, value.number)) {
                note(value.place, shortened(entry.name) + " " + shortened(earlier.first) + " = " +
                                      std::to_string(earlier.second) + " gives way to " +
                                      shortened(value.name) + " = " + std::to_string(value.number));
            }
            gave_way[known->second] = true;
            known->second = entry.values.size();
        }
        entry.values.emplace_back(value.name, value.number);
        gave_way.push_back(false);
    }

    std::vector<DictionaryContent> group_by_vendor() {
        std::map<std::uint32_t, DictionaryContent> by_vendor;
        DictionaryContent plain;
        for (Converted& attribute : converted_) {
            if (!attribute.vendor) {
                plain.attributes.push_back(std::move(attribute.entry));
                continue;
            }
            by_vendor[*attribute.vendor].attributes.push_back(std::move(attribute.entry));
        }
        // The number keeps vendors apart that were given one name.
        std::map<std::string, DictionaryContent> by_name;
        for (const auto& [id, vendor] : vendors_) {
            const auto content = by_vendor.find(id);
            if (content == by_vendor.end()) {
                note(vendor.place, "vendor " + vendor.info.name + " is left out: it has no attributes");
                continue;
            }
            content->second.vendor = vendor.info;
            by_name.emplace(utils::ascii_lower(vendor.info.name) + " " + std::to_string(id),
                            std::move(content->second));
        }
        std::vector<DictionaryContent> contents;
        contents.reserve(by_name.size() + 1);
        for (auto& [name, content] : by_name) {
            contents.push_back(std::move(content));
        }
        if (!plain.attributes.empty()) {
            contents.push_back(std::move(plain));
        }
        return contents;
    }

    struct Vendor {
        radius::VendorInfo info;
        Place place;
    };

    const TextDictionary& source_;
    Problems& problems_;
    std::map<std::uint32_t, Vendor> vendors_;
    std::vector<Converted> converted_;
    std::map<std::string, std::size_t> index_by_name_;
    std::map<CodePath, std::size_t> index_by_code_;
    std::set<std::string> left_out_;
};

/// Throws unless an import's own file, or nothing at all, is there to be replaced.
void require_replaceable(const std::filesystem::path& file) {
    std::error_code ignored;
    const std::filesystem::file_status status = std::filesystem::symlink_status(file, ignored);
    if (!std::filesystem::exists(status)) {
        return;
    }
    std::string text;
    const bool is_own = std::filesystem::is_regular_file(status) &&
                        !utils::read_whole_file(file.string(), utils::FileKind::Regular, text) &&
                        is_generated_text(text);
    if (!is_own) {
        throw FileError(file.string() + ": no import wrote this; it is replaced with --force only");
    }
}

/// The vendor's name in lower case, its runs of other characters than letters and digits as one "-", cut to
/// 100 bytes.
std::string file_stem(const std::string& vendor_name) {
    std::string stem;
    for (const char character : utils::ascii_lower(vendor_name)) {
        const bool plain = utils::is_digit(character) || (character >= 'a' && character <= 'z');
        if (plain) {
            stem += character;
        } else if (!stem.empty() && stem.back() != '-') {
            stem += '-';
        }
    }
    // File systems take names of 255 bytes; a number and an ending may follow.
    constexpr std::size_t longest = 100;
    stem.resize(std::min(stem.size(), longest));
    while (stem.ends_with('-')) {
        stem.pop_back();
    }
    return stem;
}

/// The name of `schema` as seen from a file in a folder below.
std::string from_subfolder(const std::string& schema) {
    const bool relative = schema.find("://") == std::string::npos && !schema.starts_with('/');
    return relative ? "../" + schema : schema;
}

/// The file names of the contents, relative to the folder. Vendors whose names give the same file are told
/// apart by their numbers, as often as it takes.
std::vector<std::string> file_names(const std::vector<DictionaryContent>& contents) {
    std::vector<std::string> names;
    std::set<std::string> taken;
    for (const DictionaryContent& content : contents) {
        if (!content.vendor) {
            names.emplace_back("standard.yaml");
            continue;
        }
        std::string stem = file_stem(content.vendor->name);
        while (stem.empty() || !taken.insert(stem).second) {
            stem.append(stem.empty() ? "" : "-").append(std::to_string(content.vendor->id));
        }
        names.push_back("vendor/" + stem + ".yaml");
    }
    return names;
}

bool is_of_vendor(const DictionaryContent& content, const std::string& name) {
    return content.vendor && utils::CaseInsensitiveEqual{}(content.vendor->name, name);
}

bool is_wanted(const DictionaryContent& content, const ImportOptions& options) {
    return options.vendors.empty() ||
           std::any_of(options.vendors.begin(), options.vendors.end(),
                       [&content](const std::string& name) { return is_of_vendor(content, name); });
}

/// Throws for a vendor that is wanted and not there.
void require_vendors(const std::vector<DictionaryContent>& contents, const ImportOptions& options) {
    for (const std::string& name : options.vendors) {
        if (std::none_of(contents.begin(), contents.end(),
                         [&name](const DictionaryContent& content) { return is_of_vendor(content, name); })) {
            throw FileError(options.source + ": has no attributes of a vendor " + name);
        }
    }
}

}  // namespace

std::vector<DictionaryContent> convert_text_dictionary(const TextDictionary& source, Problems& problems) {
    return Converter(source, problems).convert();
}

ImportSummary import_dictionary(const ImportOptions& options, Problems& problems) {
    const TextDictionary source = read_text_dictionary(options.source, problems);
    const std::vector<DictionaryContent> contents = convert_text_dictionary(source, problems);
    std::stable_sort(problems.begin(), problems.end(), [](const Problem& a, const Problem& b) {
        return std::tie(a.file, a.line) < std::tie(b.file, b.line);
    });
    require_vendors(contents, options);

    ImportSummary summary;
    std::vector<NewFile> files;
    // Named before some are picked: a vendor's file is the same one whoever is imported beside it.
    const std::vector<std::string> names = file_names(contents);
    for (std::size_t i = 0; i < contents.size(); ++i) {
        const DictionaryContent& content = contents[i];
        if (!is_wanted(content, options)) {
            continue;
        }
        const std::string schema = content.vendor ? from_subfolder(options.schema) : options.schema;
        files.push_back({options.directory / names[i], dictionary_file_text(content, schema)});
        summary.files.push_back(names[i]);
        summary.attributes += content.attributes.size();
        for (const AttributeEntry& attribute : content.attributes) {
            summary.values += attribute.values.size();
        }
    }
    const std::string root = "dictionary.yaml";
    files.push_back({options.directory / root, root_file_text(summary.files, options.schema)});
    summary.files.push_back(root);

    if (!options.force) {
        for (const NewFile& file : files) {
            require_replaceable(file.path);
        }
    }
    write_together(files);
    return summary;
}

}  // namespace quarn::quarn_radius
