#include "quarn/radius/value_encoding.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <algorithm>
#include <ctime>
#include <limits>
#include <stdexcept>
#include <string>

#include "quarn/utils/ascii.h"
#include "quarn/utils/text.h"

namespace quarn::subscriber::radius {

namespace {

constexpr std::size_t ipv4_size = 4;
constexpr std::size_t ipv6_size = 16;

[[noreturn]] void refuse(const char* problem, std::string_view text) {
    throw std::invalid_argument(std::string(problem) + ": " + std::string(text));
}

/// The low `width` bytes of a number in network order.
Bytes big_endian(std::uint64_t number, std::size_t width) {
    Bytes bytes(width);
    for (auto byte = bytes.rbegin(); byte != bytes.rend(); ++byte) {
        *byte = static_cast<std::uint8_t>(number);
        number >>= 8;
    }
    return bytes;
}

std::optional<Bytes> encode_number(const RadiusDictionary& dictionary, const AttributeMetadata& attribute,
                                   std::string_view text) {
    const std::size_t width = fixed_size_of(attribute.value_type);
    if (!attribute.name.empty()) {
        if (const auto named = dictionary.enum_value(attribute.name, text)) {
            return big_endian(*named, width);
        }
    }
    if (attribute.value_type == ValueType::Signed) {
        const auto number = utils::parse_decimal<std::int32_t>(text);
        return number ? std::optional(big_endian(static_cast<std::uint32_t>(*number), width)) : std::nullopt;
    }
    const std::uint64_t limit = std::numeric_limits<std::uint64_t>::max() >> (64 - 8 * width);
    const auto number = utils::parse_decimal<std::uint64_t>(text);
    return number && *number <= limit ? std::optional(big_endian(*number, width)) : std::nullopt;
}

/// Seconds east of UTC from "+HHMM" or "-HHMM", with ":" allowed anywhere after the sign.
std::int64_t parse_utc_offset(std::string_view offset, std::string_view whole_text) {
    std::string digits;
    for (const char character : offset.substr(1)) {
        if (utils::is_digit(character)) {
            digits += character;
        } else if (character != ':') {
            refuse("invalid ISO 8601 offset", whole_text);
        }
    }
    if (digits.size() != 4) {
        refuse("invalid ISO 8601 offset", whole_text);
    }
    const int hours_minutes = std::stoi(digits);
    const std::int64_t seconds = hours_minutes / 100 * 3600 + hours_minutes % 100 * 60;
    return offset.front() == '-' ? -seconds : seconds;
}

Bytes encode_iso8601_time(std::string_view text) {
    const std::string terminated(text);
    std::tm fields{};
    const char* const after_seconds = strptime(terminated.c_str(), "%Y-%m-%dT%H:%M:%S", &fields);
    if (after_seconds == nullptr) {
        refuse("invalid ISO 8601 time", text);
    }
    std::int64_t seconds = timegm(&fields);

    std::string_view rest = text.substr(static_cast<std::size_t>(after_seconds - terminated.c_str()));
    if (rest.starts_with('.')) {
        rest.remove_prefix(1);
        rest.remove_prefix(std::min(rest.find_first_not_of("0123456789"), rest.size()));
    }
    if (rest.starts_with('+') || rest.starts_with('-')) {
        seconds -= parse_utc_offset(rest, text);
    } else if (!rest.empty() && rest != "Z") {
        refuse("invalid ISO 8601 time", text);
    }
    if (seconds < 0 || seconds > std::numeric_limits<std::uint32_t>::max()) {
        refuse("time out of range", text);
    }
    return big_endian(static_cast<std::uint64_t>(seconds), 4);
}

/// The address in network order; nothing when `inet_pton` does not accept the text.
std::optional<Bytes> parse_address(int family, std::string_view text) {
    Bytes address(family == AF_INET ? ipv4_size : ipv6_size);
    // An embedded NUL would end the text early for inet_pton, and hide what follows it.
    const bool accepted = text.find('\0') == std::string_view::npos &&
                          inet_pton(family, std::string(text).c_str(), address.data()) == 1;
    return accepted ? std::optional(std::move(address)) : std::nullopt;
}

struct Prefix {
    Bytes address;
    std::uint8_t length = 0;
};

std::optional<Prefix> parse_prefix(int family, std::string_view text) {
    const std::size_t slash = text.find('/');
    if (slash == std::string_view::npos) {
        return std::nullopt;
    }
    std::optional<Bytes> address = parse_address(family, text.substr(0, slash));
    const auto length = utils::parse_decimal<std::uint8_t>(text.substr(slash + 1));
    if (!address || !length || *length > 8 * address->size()) {
        return std::nullopt;
    }
    return Prefix{*std::move(address), *length};
}

Bytes encode_ipv4_address(std::string_view text) {
    std::optional<Bytes> address = parse_address(AF_INET, text);
    if (!address) {
        refuse("invalid ipv4addr", text);
    }
    return *std::move(address);
}

Bytes encode_ipv6_address(std::string_view text) {
    std::optional<Bytes> address = parse_address(AF_INET6, text);
    if (!address) {
        refuse("invalid ipv6addr", text);
    }
    return *std::move(address);
}

Bytes encode_combo_ip(std::string_view text) {
    std::optional<Bytes> address = parse_address(AF_INET, text);
    if (!address) {
        address = parse_address(AF_INET6, text);
    }
    if (!address) {
        refuse("invalid combo-ip", text);
    }
    return *std::move(address);
}

/// A reserved zero byte, the prefix length, and the first `address_size` bytes of the address.
Bytes prefix_bytes(const Prefix& prefix, std::size_t address_size) {
    constexpr std::size_t header_size = 2;
    Bytes bytes(header_size + address_size);
    bytes[1] = prefix.length;
    std::copy_n(prefix.address.begin(), address_size, bytes.begin() + header_size);
    return bytes;
}

Bytes encode_ipv4_prefix(std::string_view text) {
    const std::optional<Prefix> prefix = parse_prefix(AF_INET, text);
    if (!prefix) {
        refuse("invalid ipv4prefix", text);
    }
    return prefix_bytes(*prefix, ipv4_size);
}

Bytes encode_ipv6_prefix(std::string_view text) {
    const std::optional<Prefix> prefix = parse_prefix(AF_INET6, text);
    if (!prefix) {
        refuse("invalid ipv6prefix", text);
    }
    return prefix_bytes(*prefix, (prefix->length + 7U) / 8U);
}

/// Decodes digits of which the first may be missing its leading zero.
Bytes decode_digits(std::string digits) {
    if (digits.size() % 2 != 0) {
        digits.insert(digits.begin(), '0');
    }
    return utils::to_bytes(utils::hex_to_bytes(digits));
}

Bytes encode_hex_groups(std::string_view text) {
    std::string digits;
    for (const char character : text) {
        if (utils::is_hex_digit(character)) {
            digits += character;
        } else if (character != ':' && character != '-' && !utils::is_space(character)) {
            refuse("invalid hex", text);
        }
    }
    return decode_digits(std::move(digits));
}

Bytes encode_octets(std::string_view text) {
    return utils::is_hex_literal(text) ? decode_digits(std::string(text.substr(2))) : utils::to_bytes(text);
}

}  // namespace

std::optional<Bytes> encode_text_value(const RadiusDictionary& dictionary, const AttributeMetadata& attribute,
                                       std::string_view text) {
    switch (attribute.value_type) {
        case ValueType::Octets:
            break;
        case ValueType::Text:
            return utils::is_well_formed_utf8(text) ? std::optional(utils::to_bytes(text)) : std::nullopt;
        case ValueType::Time:
            if (text.find('T') != std::string_view::npos) {
                return encode_iso8601_time(text);
            }
            return encode_number(dictionary, attribute, text);
        case ValueType::Integer:
        case ValueType::Signed:
        case ValueType::Integer64:
        case ValueType::Short:
        case ValueType::Byte:
            return encode_number(dictionary, attribute, text);
        case ValueType::Ipv4Addr:
            return encode_ipv4_address(text);
        case ValueType::Ipv4Prefix:
            return encode_ipv4_prefix(text);
        case ValueType::Ipv6Addr:
            return encode_ipv6_address(text);
        case ValueType::Ipv6Prefix:
            return encode_ipv6_prefix(text);
        case ValueType::ComboIp:
            return encode_combo_ip(text);
        case ValueType::Ether:
        case ValueType::Ifid:
            return encode_hex_groups(text);
    }
    return encode_octets(text);
}

}  // namespace quarn::subscriber::radius
