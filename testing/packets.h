// Packets in tests: building them attribute by attribute, taking wire bytes apart, and showing both as text
// that a failed comparison prints in full.
#pragma once

#include <initializer_list>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "quarn/radius/packet.h"
#include "quarn/radius/packet_validation.h"
#include "quarn/radius/parse_issue.h"
#include "quarn/radius/pkt_dump.h"
#include "quarn/radius/pkt_load.h"
#include "testing/hex.h"

namespace quarn::subscriber::radius {

inline void PrintTo(const ParseIssue& issue, std::ostream* out) {
    *out << "{\"" << issue.message << "\", \"" << issue.context << "\", \"" << issue.detail << "\"}";
}

inline void PrintTo(const RadiusPacketValRes& result, std::ostream* out) {
    *out << "{" << static_cast<std::uint32_t>(result.error) << ", \"" << result.message << "\"}";
}

}  // namespace quarn::subscriber::radius

namespace quarn::test {

/// Bytes as hexadecimal digits: a comparison of such texts fails with all of both sides shown.
inline std::string to_hex(utils::byte_span bytes) {
    return utils::bytes_to_hex(bytes.data(), bytes.size());
}

/// Grouped digits in the form of `to_hex`.
inline std::string digits(std::string_view grouped) {
    return to_hex(hex(grouped));
}

/// A text `count` times over, such as the digits of one byte.
inline std::string repeat(std::string_view text, std::size_t count) {
    std::string result;
    for (std::size_t i = 0; i < count; ++i) {
        result += text;
    }
    return result;
}

/// `size` bytes of which no two neighbours are equal and no period divides a fragment's size.
inline utils::Bytes pattern(std::size_t size) {
    utils::Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<std::uint8_t>(i % 241 + 1);
    }
    return bytes;
}

/// Bytes from `first` on, `count` of them, as digits.
inline std::string hex_part(utils::byte_span bytes, std::size_t first, std::size_t count) {
    return to_hex(bytes.subspan(first, count));
}

using SharedDictionary = std::shared_ptr<const subscriber::radius::RadiusDictionary>;
using Issues = std::vector<subscriber::radius::ParseIssue>;

/// The Authenticator of packets for which a test names no other.
inline constexpr subscriber::radius::Authenticator test_authenticator = {
    0x10, 0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17, 0x18, 0x19, 0x1a, 0x1b, 0x1c, 0x1d, 0x1e, 0x1f};

inline subscriber::radius::Authenticator authenticator_from(std::string_view digits_of_16) {
    const utils::Bytes bytes = hex(digits_of_16);
    subscriber::radius::Authenticator result{};
    std::copy_n(bytes.begin(), result.size(), result.begin());
    return result;
}

inline subscriber::radius::RadiusPacket new_packet(SharedDictionary dictionary, std::uint8_t code) {
    subscriber::radius::RadiusPacket packet(std::move(dictionary));
    packet.code = code;
    packet.identifier = 7;
    packet.authenticator = test_authenticator;
    return packet;
}

/// Adds one value of a dictionary's attribute, given as its bytes.
inline void add_value(subscriber::radius::RadiusPacket& packet, std::string_view name, utils::Bytes data,
                      std::uint8_t tag = 0) {
    const auto& record = packet.dictionary->attribute_by_name(name);
    subscriber::radius::RadiusAttribute attribute(record, record.code, std::string(name));
    attribute.values.emplace_back(record.type, std::move(data), tag, record.has_tag);
    packet.add_attribute(std::move(attribute));
}

/// Adds one value of an attribute that no dictionary defines.
inline void add_unknown(subscriber::radius::RadiusPacket& packet, subscriber::radius::CodePath path,
                        utils::Bytes data, std::string name = "") {
    subscriber::radius::RadiusAttribute attribute(subscriber::radius::RadiusDictionary::unknown_definition(),
                                                  std::move(path), std::move(name));
    attribute.values.emplace_back("octets", std::move(data), std::uint8_t{0}, false);
    packet.add_attribute(std::move(attribute));
}

/// What follows the header of an encoded packet, as digits.
inline std::string attribute_digits_of(utils::byte_span wire) {
    return to_hex(wire.subspan(20));
}

/// A datagram: the header, with the Length that fits, and then the attributes.
inline utils::Bytes datagram(std::uint8_t code, std::string_view attribute_digits,
                             const subscriber::radius::Authenticator& authenticator = test_authenticator) {
    const utils::Bytes attributes = hex(attribute_digits);
    const std::size_t length = 20 + attributes.size();
    utils::Bytes bytes = {code, 7, static_cast<std::uint8_t>(length >> 8), static_cast<std::uint8_t>(length)};
    bytes.insert(bytes.end(), authenticator.begin(), authenticator.end());
    bytes.insert(bytes.end(), attributes.begin(), attributes.end());
    return bytes;
}

/// One line for each attribute in order: its name, its code path, and its values as digits, a tagged one
/// behind "#", the tag and ":". An empty value shows as "-".
inline std::vector<std::string> listing(const subscriber::radius::RadiusPacket& packet) {
    std::vector<std::string> lines;
    for (const subscriber::radius::RadiusAttribute* const attribute : packet.attributes()) {
        std::string line = attribute->display_name() + " (" +
                           subscriber::radius::radius_code_path_to_string(attribute->code_path) + ")";
        for (const subscriber::radius::RadiusValue& value : attribute->values) {
            line += value.has_tag ? " #" + std::to_string(value.tag) + ":" : " ";
            line += value.data.empty() ? "-" : to_hex(value.data);
        }
        lines.push_back(std::move(line));
    }
    return lines;
}

/// A packet decoded from a datagram, and the problems found on the way.
struct Decoded {
    subscriber::radius::RadiusPacket packet;
    Issues issues;

    std::vector<std::string> lines() const { return listing(packet); }
};

inline Decoded decode(SharedDictionary dictionary, utils::byte_span bytes, std::string_view secret = "") {
    Decoded decoded{subscriber::radius::RadiusPacket(std::move(dictionary)), {}};
    decoded.issues = subscriber::radius::pkt_load(decoded.packet, bytes.data(), bytes.size(), secret);
    return decoded;
}

using Lines = std::vector<std::string>;

}  // namespace quarn::test
