#include "quarn_radius/send/attribute_text.h"

#include <algorithm>
#include <charconv>
#include <ctime>
#include <utility>
#include <vector>

#include "quarn/radius/pkt_load.h"
#include "quarn/utils/ascii.h"
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
constexpr std::string_view vendor_prefix = "vendor-";
constexpr std::string_view vendor_infix = "-attr-";
constexpr std::uint32_t vendor_specific_type = 26;  // RFC 2865, section 5.26
constexpr std::size_t ordinary_vendor_type_size = 1;

CodePath vendor_specific_path() {
    return {vendor_specific_type};
}

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

/// A time as logs of requests have it, "Nov 22 2026 10:00:00 UTC", as a number of seconds. Nothing for any
/// other text.
std::optional<std::string> seconds_of(std::string_view text) {
    const std::string terminated(text);
    std::tm fields{};
    const char* const end = strptime(terminated.c_str(), "%b %d %Y %H:%M:%S", &fields);
    const std::string_view zone = end != nullptr ? utils::trimmed(end) : "none";
    if (!zone.empty() && zone != "UTC" && zone != "GMT") {
        return std::nullopt;
    }
    return std::to_string(timegm(&fields));
}

/// An interface id of four groups as in an IPv6 address, "0:0:0:1", as sixteen digits; what is behind "0x"
/// without that. Nothing for any other text.
std::optional<std::string> interface_id_digits(std::string_view text) {
    constexpr std::size_t group_count = 4;
    constexpr std::size_t group_size = 4;
    if (utils::is_hex_literal(text)) {
        return std::string(text.substr(2));
    }
    std::string digits;
    const std::vector<std::string> groups = utils::split(text, ':');
    for (const std::string& group : groups) {
        if (group.empty() || group.size() > group_size ||
            !std::all_of(group.begin(), group.end(), utils::is_hex_digit)) {
            return std::nullopt;
        }
        digits.append(group_size - group.size(), '0').append(group);
    }
    return groups.size() == group_count ? std::optional(digits) : std::nullopt;
}

/// The value in a form that the dictionary's type takes, when it was written in another one.
std::optional<std::string> other_form(const RadiusPacket& packet, const AttributeMetadata& record,
                                      std::string_view value) {
    switch (record.value_type) {
        case radius::ValueType::Time:
            if (auto seconds = seconds_of(value)) {
                return seconds;
            }
            break;
        case radius::ValueType::Ifid:
            return interface_id_digits(value);
        default:
            break;
    }
    if (record.fixed_size != 0 && !packet.dictionary->enum_value(record.name, value)) {
        return decimal_of(value);
    }
    return std::nullopt;
}

/// Whether these bytes are a Vendor-Specific that can be read back (RFC 2865, section 5.26): others would be
/// sent, and not be shown.
bool is_readable_vendor_value(const RadiusPacket& packet, utils::byte_span value) {
    constexpr std::size_t header_size = 20;
    constexpr std::size_t attribute_header_size = 2;
    const std::size_t size = header_size + attribute_header_size + value.size();
    if (value.size() + attribute_header_size > 255) {
        return true;  // too long: the encoder tells
    }
    utils::Bytes bytes(header_size);
    bytes[0] = 1;
    bytes[2] = static_cast<std::uint8_t>(size >> 8);
    bytes[3] = static_cast<std::uint8_t>(size & 0xFF);
    bytes.push_back(std::uint8_t{vendor_specific_type});
    bytes.push_back(static_cast<std::uint8_t>(value.size() + attribute_header_size));
    bytes.insert(bytes.end(), value.begin(), value.end());
    RadiusPacket decoded(packet.dictionary);
    const auto issues = pkt_load(decoded, bytes.data(), bytes.size(), "");
    return issues.empty() && !decoded.attributes().empty();
}

std::string add_vendor_specific(RadiusPacket& packet, std::string_view name, std::string_view value) {
    const bool is_hex = utils::is_hex_literal(value) && value.size() % 2 == 0;
    const utils::Bytes bytes =
        is_hex ? utils::to_bytes(utils::hex_to_bytes(std::string(value.substr(2)))) : utils::to_bytes(value);
    if (!is_readable_vendor_value(packet, bytes)) {
        return std::string(name) +
               ": no vendor's attributes are in the value; write 26.VENDOR.TYPE=0x... or an attribute's name";
    }
    return add_raw(packet, vendor_specific_path(), name,
                   "0x" + utils::bytes_to_hex(bytes.data(), bytes.size()));
}

std::string add_named(RadiusPacket& packet, std::string_view name, std::string_view value) {
    return packet.try_add(name, value).message;
}

/// "Vendor-9-Attr-1" as 26.9.1. Nothing for any other text.
std::optional<CodePath> parse_vendor_name(std::string_view name) {
    const std::string lower = utils::ascii_lower(name);
    const std::size_t infix = lower.find(vendor_infix);
    if (!lower.starts_with(vendor_prefix) || infix == std::string::npos || infix < vendor_prefix.size()) {
        return std::nullopt;
    }
    const auto vendor =
        utils::parse_decimal<std::uint32_t>(name.substr(vendor_prefix.size(), infix - vendor_prefix.size()));
    const auto type = utils::parse_decimal<std::uint32_t>(name.substr(infix + vendor_infix.size()));
    return vendor && type ? std::optional(CodePath{vendor_specific_type, *vendor, *type}) : std::nullopt;
}

/// What is wrong with the tag behind the name of a text whose tag is optional; empty when nothing is.
std::string problem_of_optional_tag(const radius::RadiusDictionary& dictionary, std::string_view name) {
    const std::size_t colon = name.rfind(':');
    if (colon == std::string_view::npos || dictionary.attribute_by_name(name).known || split_tag(name).tag) {
        return {};
    }
    const AttributeMetadata& record = dictionary.attribute_by_name(name.substr(0, colon));
    return record.optional_tag ? record.name + ": " + quoted(name.substr(colon + 1)) +
                                     " is not a tag from 0 to " + std::to_string(largest_tag)
                               : std::string();
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
    if (auto path = parse_vendor_name(name)) {
        return path;
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
        if (packet.dictionary != nullptr && *path == vendor_specific_path()) {
            return add_vendor_specific(packet, name, value);
        }
        return add_raw(packet, *path, name, value);
    }
    if (packet.dictionary == nullptr) {
        return add_named(packet, name, value);
    }
    const AttributeMetadata& record = find_attribute_record(*packet.dictionary, name);
    if (record.code == vendor_specific_path()) {
        return add_vendor_specific(packet, name, value);
    }
    if (record.optional_tag && !is_known(packet, name)) {
        const TaggedName parts = split_tag(name);
        std::string with_tag(value);
        if (parts.tag.value_or(0) != 0) {
            with_tag.insert(with_tag.begin(), static_cast<char>(*parts.tag));
        }
        return add_named(packet, parts.name, with_tag);
    }
    if (std::string problem = problem_of_optional_tag(*packet.dictionary, name); !problem.empty()) {
        return problem;
    }
    const auto form = other_form(packet, record, value);
    return add_named(packet, name, form ? std::string_view(*form) : value);
}

}  // namespace quarn::quarn_radius
