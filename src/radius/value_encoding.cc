#include "quarn/radius/value_encoding.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <algorithm>
#include <ctime>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>

#include "quarn/utils/ascii.h"
#include "quarn/utils/secret.h"
#include "quarn/utils/text.h"

namespace quarn::subscriber::radius {

namespace {

constexpr std::size_t ipv4_size = 4;
constexpr std::size_t ipv6_size = 16;

/// The low `width` bytes of a number in network order.
Bytes big_endian(std::uint64_t number, std::size_t width) {
    Bytes bytes(width);
    for (auto byte = bytes.rbegin(); byte != bytes.rend(); ++byte) {
        *byte = static_cast<std::uint8_t>(number);
        number >>= 8;
    }
    return bytes;
}

/// Whether the text is a number in decimal, of any size.
bool is_decimal_number(std::string_view text) {
    const std::string_view digits = text.substr(text.starts_with('-') ? 1 : 0);
    return !digits.empty() && std::all_of(digits.begin(), digits.end(), utils::is_digit);
}

TextValue encode_number(const RadiusDictionary& dictionary, const AttributeMetadata& attribute,
                        std::string_view text) {
    const std::size_t width = fixed_size_of(attribute.value_type);
    if (!attribute.name.empty()) {
        if (const auto named = dictionary.enum_value(attribute.name, text)) {
            return big_endian(*named, width);
        }
    }
    if (!is_decimal_number(text)) {
        return AddProblem::NotANumber;
    }
    if (attribute.value_type == ValueType::Signed) {
        const auto number = utils::parse_decimal<std::int32_t>(text);
        return number ? TextValue(big_endian(static_cast<std::uint32_t>(*number), width))
                      : AddProblem::NumberOutOfRange;
    }
    const auto number = utils::parse_decimal<std::uint64_t>(text);
    return number && *number <= largest_number(attribute.value_type) ? TextValue(big_endian(*number, width))
                                                                     : AddProblem::NumberOutOfRange;
}

/// Seconds east of UTC from "+HHMM" or "-HHMM", with ":" allowed anywhere after the sign; nothing for any
/// other text.
std::optional<std::int64_t> parse_utc_offset(std::string_view offset) {
    std::string digits;
    for (const char character : offset.substr(1)) {
        if (utils::is_digit(character)) {
            digits += character;
        } else if (character != ':') {
            return std::nullopt;
        }
    }
    if (digits.size() != 4) {
        return std::nullopt;
    }
    const int hours_minutes = std::stoi(digits);
    const std::int64_t seconds = hours_minutes / 100 * 3600 + hours_minutes % 100 * 60;
    return offset.front() == '-' ? -seconds : seconds;
}

TextValue encode_iso8601_time(std::string_view text) {
    const std::string terminated(text);
    std::tm fields{};
    const char* const after_seconds = strptime(terminated.c_str(), "%Y-%m-%dT%H:%M:%S", &fields);
    if (after_seconds == nullptr) {
        return AddProblem::BadTime;
    }
    std::int64_t seconds = timegm(&fields);

    std::string_view rest = text.substr(static_cast<std::size_t>(after_seconds - terminated.c_str()));
    if (rest.starts_with('.')) {
        rest.remove_prefix(1);
        rest.remove_prefix(std::min(rest.find_first_not_of("0123456789"), rest.size()));
    }
    if (rest.starts_with('+') || rest.starts_with('-')) {
        const std::optional<std::int64_t> offset = parse_utc_offset(rest);
        if (!offset) {
            return AddProblem::BadTimeOffset;
        }
        seconds -= *offset;
    } else if (!rest.empty() && rest != "Z") {
        return AddProblem::BadTime;
    }
    if (seconds < 0 || seconds > std::numeric_limits<std::uint32_t>::max()) {
        return AddProblem::TimeOutOfRange;
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

/// The bytes, or the problem where there are none.
TextValue value_or(std::optional<Bytes> bytes, AddProblem problem) {
    return bytes ? TextValue(*std::move(bytes)) : TextValue(problem);
}

TextValue encode_combo_ip(std::string_view text) {
    std::optional<Bytes> address = parse_address(AF_INET, text);
    return value_or(address ? std::move(address) : parse_address(AF_INET6, text), AddProblem::BadComboIp);
}

/// A reserved zero byte, the prefix length, and the first `address_size` bytes of the address.
Bytes prefix_bytes(const Prefix& prefix, std::size_t address_size) {
    constexpr std::size_t header_size = 2;
    Bytes bytes(header_size + address_size);
    bytes[1] = prefix.length;
    std::copy_n(prefix.address.begin(), address_size, bytes.begin() + header_size);
    return bytes;
}

TextValue encode_ipv4_prefix(std::string_view text) {
    const std::optional<Prefix> prefix = parse_prefix(AF_INET, text);
    return prefix ? TextValue(prefix_bytes(*prefix, ipv4_size)) : AddProblem::BadIpv4Prefix;
}

TextValue encode_ipv6_prefix(std::string_view text) {
    const std::optional<Prefix> prefix = parse_prefix(AF_INET6, text);
    return prefix ? TextValue(prefix_bytes(*prefix, (prefix->length + 7U) / 8U)) : AddProblem::BadIpv6Prefix;
}

/// Decodes digits of which the first may be missing its leading zero. Wipes its copies: the digits may be a
/// password's.
Bytes decode_digits(std::string_view digits) {
    std::string pairs;
    pairs.reserve(digits.size() + 1);
    pairs.append(digits.size() % 2, '0').append(digits);
    std::string decoded = utils::hex_to_bytes(pairs);
    Bytes bytes = utils::to_bytes(decoded);
    utils::wipe(pairs);
    utils::wipe(decoded);
    return bytes;
}

TextValue encode_hex_groups(std::string_view text) {
    std::string digits;
    for (const char character : text) {
        if (utils::is_hex_digit(character)) {
            digits += character;
        } else if (character != ':' && character != '-' && !utils::is_space(character)) {
            return AddProblem::BadHex;
        }
    }
    return decode_digits(digits);
}

Bytes encode_octets(std::string_view text) {
    return utils::is_hex_literal(text) ? decode_digits(text.substr(2)) : utils::to_bytes(text);
}

/// The problems that raise an exception, and how its text begins.
struct Refusal {
    AddProblem problem;
    const char* prefix;
};
constexpr Refusal refusals[] = {
    {AddProblem::BadIpv4Address, "invalid ipv4addr: "},
    {AddProblem::BadIpv6Address, "invalid ipv6addr: "},
    {AddProblem::BadComboIp, "invalid combo-ip: "},
    {AddProblem::BadIpv4Prefix, "invalid ipv4prefix: "},
    {AddProblem::BadIpv6Prefix, "invalid ipv6prefix: "},
    {AddProblem::BadTime, "invalid ISO 8601 time: "},
    {AddProblem::BadTimeOffset, "invalid ISO 8601 offset: "},
    {AddProblem::TimeOutOfRange, "time out of range: "},
    {AddProblem::BadHex, "invalid hex: "},
};

}  // namespace

std::uint64_t largest_number(ValueType type) {
    if (type == ValueType::Signed) {
        return std::numeric_limits<std::int32_t>::max();
    }
    return std::numeric_limits<std::uint64_t>::max() >> (64 - 8 * fixed_size_of(type));
}

TextValue read_text_value(const RadiusDictionary& dictionary, const AttributeMetadata& attribute,
                          std::string_view text) {
    switch (attribute.value_type) {
        case ValueType::Octets:
            break;
        case ValueType::Text:
            return utils::is_well_formed_utf8(text) ? TextValue(utils::to_bytes(text)) : AddProblem::NotUtf8;
        case ValueType::Time:
            return text.find('T') != std::string_view::npos ? encode_iso8601_time(text)
                                                            : encode_number(dictionary, attribute, text);
        case ValueType::Integer:
        case ValueType::Signed:
        case ValueType::Integer64:
        case ValueType::Short:
        case ValueType::Byte:
            return encode_number(dictionary, attribute, text);
        case ValueType::Ipv4Addr:
            return value_or(parse_address(AF_INET, text), AddProblem::BadIpv4Address);
        case ValueType::Ipv4Prefix:
            return encode_ipv4_prefix(text);
        case ValueType::Ipv6Addr:
            return value_or(parse_address(AF_INET6, text), AddProblem::BadIpv6Address);
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

std::optional<Bytes> encode_text_value(const RadiusDictionary& dictionary, const AttributeMetadata& attribute,
                                       std::string_view text) {
    TextValue value = read_text_value(dictionary, attribute, text);
    if (Bytes* const bytes = std::get_if<Bytes>(&value)) {
        return std::move(*bytes);
    }
    for (const Refusal& refusal : refusals) {
        if (refusal.problem == std::get<AddProblem>(value)) {
            throw std::invalid_argument(refusal.prefix + std::string(text));
        }
    }
    return std::nullopt;
}

}  // namespace quarn::subscriber::radius
