#include "quarn_radius/dictionary/catalogue.h"

#include <algorithm>
#include <map>
#include <optional>
#include <ostream>
#include <set>
#include <stdexcept>
#include <string_view>

#include "common/json_object.h"
#include "common/terminal_text.h"
#include "quarn/radius/dictionary_files.h"
#include "quarn/radius/hiding.h"
#include "quarn/radius/path_shape.h"
#include "quarn/radius/written_number.h"
#include "quarn/utils/ascii.h"
#include "quarn/utils/case_insensitive.h"
#include "quarn/utils/nearest_name.h"
#include "quarn_radius/name_pattern.h"

namespace quarn::quarn_radius {

namespace {

namespace radius = subscriber::radius;

/// The effect of a hiding method, in brackets.
std::string hiding_text(std::uint32_t encrypt) {
    switch (encrypt) {
        case radius::hidden_as_user_password:
            return " (hidden as User-Password is)";
        case radius::hidden_as_tunnel_password:
            return " (hidden as Tunnel-Password is)";
        default:
            return " (not hidden)";
    }
}

std::vector<std::string> flags_of(const radius::AttributeMetadata& metadata) {
    std::vector<std::string> flags;
    if (metadata.encrypt != 0) {
        flags.push_back("encrypt " + std::to_string(metadata.encrypt) + hiding_text(metadata.encrypt));
    }
    if (metadata.has_tag) {
        flags.emplace_back("has_tag (begins with a tag byte)");
    }
    if (metadata.optional_tag) {
        flags.emplace_back("optional_tag (may begin with a tag byte)");
    }
    if (metadata.concat) {
        flags.emplace_back("concat (several attributes carry one value)");
    }
    if (metadata.continuation) {
        flags.emplace_back("continuation (its vendor's format has a continuation byte)");
    }
    return flags;
}

/// The flags' names alone.
std::string short_flags(const radius::AttributeMetadata& metadata) {
    std::string text;
    for (const std::string& flag : flags_of(metadata)) {
        text += (text.empty() ? "" : ", ") + flag.substr(0, flag.find(" ("));
    }
    return text;
}

std::string record_text(const AttributeRecord& record) {
    const radius::AttributeMetadata& metadata = record.metadata;
    std::string text = tools::terminal_text(metadata.name) + "\n";
    const auto line = [&text](std::string label, const std::string& content) {
        label.resize(10, ' ');
        text.append("  ").append(label).append(tools::terminal_text(content)).append("\n");
    };
    line("code", metadata.code.empty() ? "none" : radius::radius_code_path_to_string(metadata.code));
    line("type", metadata.type);
    const std::vector<std::string> flags = flags_of(metadata);
    for (std::size_t i = 0; i < flags.size(); ++i) {
        line(i == 0 ? "flags" : "", flags[i]);
    }
    if (metadata.vendor) {
        line("vendor", metadata.vendor->name + ", number " + std::to_string(metadata.vendor->id) +
                           ", format " + metadata.vendor->format);
    }
    for (std::size_t i = 0; i < record.values.size(); ++i) {
        line(i == 0 ? "values" : "",
             record.values[i].first + " = " + std::to_string(record.values[i].second));
    }
    line("defined", place_text(record.place));
    return text;
}

/// Wider than all known names. A longer one would otherwise be paid for in every line.
constexpr std::size_t widest_column = 100;

/// Columns as wide as their widest entry, but no wider than `widest_column`, two spaces apart.
std::string list_text(const std::vector<AttributeRecord>& records) {
    std::size_t code_width = 0;
    std::size_t name_width = 0;
    std::size_t type_width = 0;
    for (const AttributeRecord& record : records) {
        code_width = std::max(code_width, radius::radius_code_path_to_string(record.metadata.code).size());
        name_width = std::max(name_width, tools::terminal_text(record.metadata.name).size());
        type_width = std::max(type_width, tools::terminal_text(record.metadata.type).size());
    }
    std::string text;
    const auto column = [&text](const std::string& entry, std::size_t width) {
        text.append(entry).append(std::max(std::min(width, widest_column), entry.size()) + 2 - entry.size(),
                                  ' ');
    };
    for (const AttributeRecord& record : records) {
        column(radius::radius_code_path_to_string(record.metadata.code), code_width);
        column(tools::terminal_text(record.metadata.name), name_width);
        column(tools::terminal_text(record.metadata.type), type_width);
        text += short_flags(record.metadata);
        text.erase(text.find_last_not_of(' ') + 1);
        text += '\n';
    }
    return text;
}

std::string record_json(const AttributeRecord& record) {
    const radius::AttributeMetadata& metadata = record.metadata;
    tools::JsonObject object;
    object.add("name", metadata.name);
    object.add("code", radius::radius_code_path_to_string(metadata.code));
    object.add("type", metadata.type);
    object.add("encrypt", metadata.encrypt);
    object.add("has_tag", metadata.has_tag);
    object.add("optional_tag", metadata.optional_tag);
    object.add("concat", metadata.concat);
    object.add("continuation", metadata.continuation);
    if (metadata.vendor) {
        tools::JsonObject vendor;
        vendor.add("id", metadata.vendor->id);
        // A record an attribute: a name without a bound would make the output grow with the square of a file.
        vendor.add("name", shortened(metadata.vendor->name));
        vendor.add("format", shortened(metadata.vendor->format));
        object.add("vendor", vendor);
    }
    if (!record.values.empty()) {
        tools::JsonObject values;
        for (const auto& [name, number] : record.values) {
            values.add(name, number);
        }
        object.add("values", values);
    }
    object.add("file", record.place.file);
    object.add("line", record.place.line);
    return object.text();
}

}  // namespace

DictionaryCatalogue::DictionaryCatalogue(const std::string& path) {
    radius::DictionaryFiles files(path, [&path](const radius::FileFault& fault) {
        if (fault.kind == radius::FileFault::Kind::Unreadable && fault.includer.empty()) {
            throw FileError(path + ": " + fault.problem);
        }
        if (fault.is_fatal()) {
            throw FileError(fault.file + ": " + fault.reason);
        }
    });
    while (const radius::DictionaryDocument* const document = files.next()) {
        try {
            dictionary_.apply(*document);
        } catch (const std::runtime_error& error) {
            throw FileError(error.what());
        }
    }
    attributes_ = dictionary_.attributes();
    std::stable_sort(attributes_.begin(), attributes_.end(),
                     [](const auto& a, const auto& b) { return a.code < b.code; });
}

template <typename Predicate>
std::vector<AttributeRecord> DictionaryCatalogue::select(Predicate predicate) const {
    std::vector<AttributeRecord> selected;
    for (const auto& source : attributes_) {
        const radius::AttributeMetadata& metadata = dictionary_.attribute_by_name(source.name);
        if (!predicate(metadata)) {
            continue;
        }
        AttributeRecord& record =
            selected.emplace_back(AttributeRecord{metadata, {}, {std::string(source.file), source.line}});
        for (const auto& value : dictionary_.values_of(source.name)) {
            record.values.emplace_back(value.name, value.number);
        }
        std::stable_sort(record.values.begin(), record.values.end(),
                         [](const auto& a, const auto& b) { return a.second < b.second; });
    }
    return selected;
}

Findings DictionaryCatalogue::find(const std::string& query) const {
    if (query.size() >= 2 && query.front() == '/' && query.back() == '/') {
        const NamePattern pattern(query.substr(1, query.size() - 2));
        return {Findings::Kind::List, select([&pattern](const radius::AttributeMetadata& attribute) {
                    return pattern.matches(attribute.name);
                })};
    }
    std::string name = query;
    const bool is_decimal = query.find_first_not_of("0123456789.") == query.npos;
    const auto code = is_decimal ? radius::read_plain_code_path(query) : std::nullopt;
    if (code) {
        if (const auto& attribute = dictionary_.attribute_by_code(*code); attribute.known) {
            name = attribute.name;
        }
    }
    if (dictionary_.attribute_by_name(name).known) {
        const utils::CaseInsensitiveEqual is_same;
        return {Findings::Kind::One, select([&](const radius::AttributeMetadata& attribute) {
                    return is_same(attribute.name, name);
                })};
    }
    // A bare number means an attribute first; "26.9" selects vendor 9 unambiguously.
    const radius::VendorInfo* vendor = dictionary_.vendor_by_name(query);
    if (vendor == nullptr && code && code->size() == 1) {
        vendor = dictionary_.vendor_by_id(code->front());
    }
    if (vendor == nullptr && code && code->size() == 2 && radius::shape_of(*code).ends_with_vendor(*code)) {
        vendor = dictionary_.vendor_by_id(code->back());
    }
    if (vendor == nullptr) {
        return {};
    }
    return {Findings::Kind::List, select([vendor](const radius::AttributeMetadata& attribute) {
                return attribute.vendor && attribute.vendor->id == vendor->id;
            })};
}

std::vector<VendorCount> DictionaryCatalogue::vendors() const {
    std::map<std::uint32_t, std::size_t> counts;
    for (const auto& source : attributes_) {
        if (const auto& vendor = dictionary_.attribute_by_name(source.name).vendor) {
            ++counts[vendor->id];
        }
    }
    std::vector<VendorCount> vendors;
    for (const auto& source : dictionary_.vendors()) {
        vendors.push_back({*source.vendor, counts[source.vendor->id]});
    }
    std::sort(vendors.begin(), vendors.end(), [](const VendorCount& a, const VendorCount& b) {
        return utils::ascii_lower(a.vendor.name) < utils::ascii_lower(b.vendor.name);
    });
    return vendors;
}

std::size_t DictionaryCatalogue::standard_attributes() const {
    return static_cast<std::size_t>(std::count_if(
        attributes_.begin(), attributes_.end(),
        [this](const auto& source) { return !dictionary_.attribute_by_name(source.name).vendor; }));
}

Nearby DictionaryCatalogue::near(const std::string& query) const {
    Nearby nearby;
    const std::string word = utils::ascii_lower(query);
    if (word.find_first_not_of("0123456789.") == word.npos || word.front() == '/') {
        return nearby;
    }
    const auto contains = [&word](std::string_view name) {
        return utils::ascii_lower(name).find(word) != std::string::npos;
    };
    std::vector<std::string> of_vendors;
    std::vector<std::string> longer_values;
    for (const auto& source : attributes_) {
        if (contains(source.name)) {
            const bool has_vendor = dictionary_.attribute_by_name(source.name).vendor.has_value();
            (has_vendor ? of_vendors : nearby.attributes).emplace_back(source.name);
        }
        for (const auto& value : dictionary_.values_of(source.name)) {
            if (contains(value.name)) {
                (value.name.size() > word.size() ? longer_values : nearby.values)
                    .push_back(std::string(source.name) + " = " + std::string(value.name));
            }
        }
    }
    nearby.attributes.insert(nearby.attributes.end(), of_vendors.begin(), of_vendors.end());
    nearby.values.insert(nearby.values.end(), longer_values.begin(), longer_values.end());
    for (const VendorCount& count : vendors()) {
        if (contains(count.vendor.name)) {
            nearby.vendors.push_back(count.vendor.name);
        }
    }
    const auto begins = [&word](const std::string& name) {
        return utils::ascii_lower(name).starts_with(word);
    };
    std::stable_partition(nearby.attributes.begin(), nearby.attributes.end(), begins);
    std::stable_partition(nearby.vendors.begin(), nearby.vendors.end(), begins);
    return nearby;
}

std::string DictionaryCatalogue::suggestion_for(const std::string& query) const {
    std::vector<std::string_view> names;
    std::set<std::string_view> vendors;
    for (const auto& source : attributes_) {
        names.push_back(source.name);
        if (const auto& vendor = dictionary_.attribute_by_name(source.name).vendor) {
            vendors.insert(vendor->name);
        }
    }
    names.insert(names.end(), vendors.begin(), vendors.end());
    return utils::suggestion(query, names);
}

void print_findings(const Findings& findings, std::ostream& output) {
    if (findings.kind == Findings::Kind::List) {
        output << list_text(findings.records);
        return;
    }
    for (const AttributeRecord& record : findings.records) {
        output << record_text(record);
    }
}

void print_findings_json(const Findings& findings, std::ostream& output) {
    for (const AttributeRecord& record : findings.records) {
        output << record_json(record) << '\n';
    }
}

}  // namespace quarn::quarn_radius
