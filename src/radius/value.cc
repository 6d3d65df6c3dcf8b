#include "quarn/radius/value.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <utility>

#include "quarn/net/buffer_reader.h"
#include "quarn/utils/text.h"

namespace quarn::subscriber::radius {

namespace {

constexpr std::size_t ipv4_size = 4;
constexpr std::size_t ipv6_size = 16;
constexpr std::size_t prefix_header_size =
    2;  // a reserved byte and the prefix length (RFC 3162, section 2.3)
constexpr std::uint8_t max_ipv4_prefix = 32;
constexpr std::uint8_t max_ipv6_prefix = 128;

std::string ipv4_from_bytes(std::span<const std::uint8_t, ipv4_size> address) {
    std::array<char, INET_ADDRSTRLEN> text{};
    inet_ntop(AF_INET, address.data(), text.data(), text.size());
    return text.data();
}

/// The number in the first `width` bytes, in network order; nothing when there are fewer.
std::optional<std::uint32_t> leading_number(byte_span data, std::size_t width) {
    if (data.size() < width) {
        return std::nullopt;
    }
    return net::BufferView(data).read_uint(width);
}

std::string render_unsigned(byte_span data, std::size_t width) {
    const auto number = leading_number(data, width);
    return number ? std::to_string(*number) : "";
}

std::string render_signed(byte_span data) {
    const auto number = leading_number(data, 4);
    return number ? std::to_string(static_cast<std::int32_t>(*number)) : "";
}

std::string render_time(byte_span data) {
    const auto number = leading_number(data, 4);
    if (!number) {
        return "";
    }
    const auto seconds = static_cast<std::time_t>(*number);
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    std::array<char, 32> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &utc)};
}

std::string render_integer64(byte_span data) {
    if (data.size() < 8) {
        return "";
    }
    std::uint64_t number = 0;
    for (const std::uint8_t byte : data) {
        number = number << 8 | byte;
    }
    return std::to_string(number);
}

std::string render_ipv4_address(byte_span data) {
    return data.size() == ipv4_size ? ipv4_from_bytes(data.first<ipv4_size>()) : "";
}

std::string render_ipv4_prefix(byte_span data) {
    if (data.size() != prefix_header_size + ipv4_size || data[1] > max_ipv4_prefix) {
        return "";
    }
    return ipv4_from_bytes(data.subspan<prefix_header_size, ipv4_size>()) + "/" + std::to_string(data[1]);
}

std::string render_ipv6_address(byte_span data) {
    return data.size() == ipv6_size ? ipv6_from_bytes(data.first<ipv6_size>()) : "";
}

std::string render_ipv6_prefix(byte_span data) {
    if (data.size() < prefix_header_size || data.size() > prefix_header_size + ipv6_size ||
        data[1] > max_ipv6_prefix) {
        return "";
    }
    const byte_span prefix = data.subspan(prefix_header_size);
    std::array<std::uint8_t, ipv6_size> address{};
    std::copy(prefix.begin(), prefix.end(), address.begin());
    return ipv6_from_bytes(address) + "/" + std::to_string(data[1]);
}

std::string render_combo_ip(byte_span data) {
    return data.size() == ipv4_size ? render_ipv4_address(data) : render_ipv6_address(data);
}

std::string render_hex_pairs(byte_span data) {
    std::string text;
    for (const std::uint8_t& byte : data) {
        if (!text.empty()) {
            text += ':';
        }
        text += utils::bytes_to_hex(&byte, 1);
    }
    return text;
}

std::string render(ValueType type, byte_span data) {
    switch (type) {
        case ValueType::Octets:
        case ValueType::Text:
            break;
        case ValueType::Integer:
            return render_unsigned(data, 4);
        case ValueType::Time:
            return render_time(data);
        case ValueType::Signed:
            return render_signed(data);
        case ValueType::Integer64:
            return render_integer64(data);
        case ValueType::Short:
            return render_unsigned(data, 2);
        case ValueType::Byte:
            return render_unsigned(data, 1);
        case ValueType::Ipv4Addr:
            return render_ipv4_address(data);
        case ValueType::Ipv4Prefix:
            return render_ipv4_prefix(data);
        case ValueType::Ipv6Addr:
            return render_ipv6_address(data);
        case ValueType::Ipv6Prefix:
            return render_ipv6_prefix(data);
        case ValueType::ComboIp:
            return render_combo_ip(data);
        case ValueType::Ether:
        case ValueType::Ifid:
            return render_hex_pairs(data);
    }
    return utils::to_text(data);
}

}  // namespace

RadiusValue::RadiusValue(std::string type_name, Bytes value_data, std::uint8_t value_tag, bool tagged)
    : type(std::move(type_name)),
      value_type(classify_value_type(type)),
      data(std::move(value_data)),
      tag(value_tag),
      has_tag(tagged) {}

RadiusValue::RadiusValue(const AttributeMetadata& attribute, Bytes value_data, std::uint8_t value_tag)
    : type(attribute.type),
      value_type(attribute.value_type),
      data(std::move(value_data)),
      tag(value_tag),
      has_tag(attribute.has_tag) {}

const std::string& RadiusValue::as_string() const {
    if (!string_cache) {
        string_cache = render(value_type, data);
    }
    return *string_cache;
}

std::string RadiusValue::as_hex() const {
    return "0x" + utils::bytes_to_hex(data.data(), data.size());
}

std::string ipv6_from_bytes(std::span<const std::uint8_t, 16> address) {
    std::array<char, INET6_ADDRSTRLEN> text{};
    inet_ntop(AF_INET6, address.data(), text.data(), text.size());
    return text.data();
}

}  // namespace quarn::subscriber::radius
