#include "quarn_radius/send/attribute_text.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "quarn/radius/value_encoding.h"
#include "quarn/utils/text.h"
#include "quarn_radius/dictionary/code_path_limits.h"

namespace quarn::quarn_radius {

namespace {

namespace radius = subscriber::radius;

using radius::AttributeMetadata;
using radius::CodePath;
using radius::RadiusAttribute;
using radius::RadiusPacket;
using radius::RadiusValue;

constexpr std::uint8_t largest_tag = 0x1F;  // RFC 2868, section 3.1
constexpr std::string_view raw_prefix = "attr-";
constexpr std::size_t ordinary_vendor_type_size = 1;

std::string quoted(std::string_view text) {
    return std::string(1, '"').append(text).append(1, '"');
}

/// Where the dictionary has no attribute of the whole name, the part in front of ":" may be one.
bool is_known(const RadiusPacket& packet, std::string_view name) {
    return packet.dictionary != nullptr && packet.dictionary->attribute_by_name(name).known;
}

std::size_t vendor_type_size(const RadiusPacket& packet, const CodePath& path) {
    const bool has_vendor = path.size() > 1 && packet.dictionary != nullptr;
    const radius::VendorInfo* const vendor = has_vendor ? packet.dictionary->vendor_by_id(path[1]) : nullptr;
    return vendor != nullptr ? vendor->type_size : ordinary_vendor_type_size;
}

/// The value of a tagged attribute as the packet keeps it. A number's tag stands in the place of its top byte
/// on the wire.
RadiusValue tagged_value(const AttributeMetadata& record, radius::Bytes bytes) {
    const std::uint8_t tag = bytes.front();
    if (record.fixed_size > 1 && bytes.size() == record.fixed_size) {
        bytes.front() = 0;
    } else {
        bytes.erase(bytes.begin());
    }
    return {record, std::move(bytes), tag};
}

std::string add_raw(RadiusPacket& packet, const CodePath& path, std::string_view name,
                    std::string_view value) {
    if (const std::string problem = code_path_problem(path, vendor_type_size(packet, path));
        !problem.empty()) {
        return quoted(name) + " is no place for an attribute: " + problem;
    }
    if (!utils::is_hex_literal(value) || value.size() % 2 != 0) {
        return std::string(name) +
               ": an attribute by number takes 0x and an even number of hexadecimal digits";
    }
    radius::Bytes bytes = utils::to_bytes(utils::hex_to_bytes(std::string(value.substr(2))));
    const AttributeMetadata& record = packet.dictionary != nullptr
                                          ? packet.dictionary->attribute_by_code(path)
                                          : radius::RadiusDictionary::unknown_definition();
    RadiusAttribute attribute(record, path, std::string());
    if (record.has_tag && !bytes.empty()) {
        attribute.values.push_back(tagged_value(record, std::move(bytes)));
    } else {
        attribute.values.emplace_back(record, std::move(bytes), std::uint8_t{0});
    }
    packet.add_attribute(std::move(attribute));
    return {};
}

/// A number in hexadecimal, in decimal. Nothing for any other text.
std::optional<std::string> decimal_of(std::string_view text) {
    if (!utils::is_hex_literal(text)) {
        return std::nullopt;
    }
    std::uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, status] = std::from_chars(text.data() + 2, end, number, 16);
    return status == std::errc() && stop == end ? std::optional(std::to_string(number)) : std::nullopt;
}

std::string add_named(RadiusPacket& packet, std::string_view name, std::string_view value) {
    return packet.try_add(name, value).message;
}

}  // namespace

std::optional<AttributeText> split_attribute(std::string_view argument) {
    const std::size_t equals = argument.find('=');
    if (equals == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view name = utils::trimmed(argument.substr(0, equals));
    if (name.empty()) {
        return std::nullopt;
    }
    return AttributeText{std::string(name), argument.substr(equals + 1)};
}

std::optional<CodePath> parse_raw_name(std::string_view name) {
    const std::string_view start = name.substr(0, raw_prefix.size());
    if (utils::CaseInsensitiveEqual{}(start, raw_prefix)) {
        name.remove_prefix(raw_prefix.size());
    }
    CodePath path;
    for (const std::string& element : utils::split(name, '.')) {
        const auto number = utils::parse_decimal<std::uint32_t>(element);
        if (!number) {
            return std::nullopt;
        }
        path.push_back(*number);
    }
    return path;
}

TaggedName split_tag(std::string_view name) {
    const std::size_t colon = name.rfind(':');
    if (colon == std::string_view::npos || colon == 0) {
        return {name, std::nullopt};
    }
    const auto tag = utils::parse_decimal<std::uint8_t>(name.substr(colon + 1));
    if (!tag || *tag > largest_tag) {
        return {name, std::nullopt};
    }
    return {name.substr(0, colon), tag};
}

const AttributeMetadata& find_attribute_record(const radius::RadiusDictionary& dictionary,
                                               std::string_view name) {
    if (const auto path = parse_raw_name(name)) {
        return dictionary.attribute_by_code(*path);
    }
    const AttributeMetadata& whole = dictionary.attribute_by_name(name);
    return whole.known ? whole : dictionary.attribute_by_name(split_tag(name).name);
}

std::string add_attribute(RadiusPacket& packet, const AttributeText& attribute) {
    const std::string_view name = attribute.name;
    const std::string_view value = attribute.value;
    if (const auto path = parse_raw_name(name); path && !is_known(packet, name)) {
        return add_raw(packet, *path, name, value);
    }
    if (packet.dictionary == nullptr) {
        return add_named(packet, name, value);
    }
    const AttributeMetadata& record = find_attribute_record(*packet.dictionary, name);
    if (record.optional_tag && !is_known(packet, name)) {
        const TaggedName parts = split_tag(name);
        std::string with_tag(value);
        if (parts.tag.value_or(0) != 0) {
            with_tag.insert(with_tag.begin(), static_cast<char>(*parts.tag));
        }
        return add_named(packet, parts.name, with_tag);
    }
    if (record.fixed_size != 0 && !packet.dictionary->enum_value(record.name, value)) {
        if (const auto decimal = decimal_of(value)) {
            return add_named(packet, name, *decimal);
        }
    }
    return add_named(packet, name, value);
}

}  // namespace quarn::quarn_radius
