#include "quarn/net/address.h"

#include <arpa/inet.h>
#include <net/if.h>

#include <algorithm>

#include "quarn/utils/text.h"

namespace quarn::net {

namespace {

constexpr std::size_t ipv4_size = 4;

/// The number of the interface that a scope names. An interface may be called "2": names come before numbers,
/// as in `getaddrinfo`. Nothing for any other text.
std::optional<std::uint32_t> scope_from(std::string_view text) {
    const unsigned index = if_nametoindex(std::string(text).c_str());
    return index != 0 ? std::optional<std::uint32_t>(index) : utils::parse_decimal<std::uint32_t>(text);
}

std::string scope_text(std::uint32_t scope_id) {
    std::array<char, IF_NAMESIZE> name{};
    if (if_indextoname(scope_id, name.data()) == nullptr) {
        return std::to_string(scope_id);
    }
    return name.data();
}

/// The bytes of a numeric address; nothing when the text is anything else.
template <std::size_t size>
std::optional<std::array<std::uint8_t, size>> numeric(int family, std::string_view text) {
    std::array<std::uint8_t, size> bytes{};
    if (inet_pton(family, std::string(text).c_str(), bytes.data()) != 1) {
        return std::nullopt;
    }
    return bytes;
}

}  // namespace

Address Address::ipv4(std::array<std::uint8_t, ipv4_size> bytes, std::uint16_t port) {
    Address address;
    std::copy(bytes.begin(), bytes.end(), address.bytes_.begin());
    address.port_ = port;
    return address;
}

Address Address::ipv6(const std::array<std::uint8_t, 16>& bytes, std::uint16_t port, std::uint32_t scope_id) {
    Address address;
    address.family_ = Family::IPv6;
    address.bytes_ = bytes;
    address.port_ = port;
    address.scope_id_ = scope_id;
    return address;
}

std::optional<Address> Address::parse(std::string_view host, std::uint16_t port) {
    if (host.find('\0') != host.npos) {
        return std::nullopt;  // the system's functions would not see the text after it
    }
    if (const auto bytes = numeric<ipv4_size>(AF_INET, host)) {
        return ipv4(*bytes, port);
    }
    const std::size_t percent = host.find('%');
    const auto bytes = numeric<16>(AF_INET6, host.substr(0, percent));
    if (!bytes) {
        return std::nullopt;
    }
    if (percent == host.npos) {
        return ipv6(*bytes, port);
    }
    const auto scope_id = scope_from(host.substr(percent + 1));
    return scope_id ? std::optional(ipv6(*bytes, port, *scope_id)) : std::nullopt;
}

Address Address::any(Family family, std::uint16_t port) {
    Address address;
    address.family_ = family;
    address.port_ = port;
    return address;
}

std::span<const std::uint8_t> Address::bytes() const {
    return std::span(bytes_).first(family_ == Family::IPv4 ? ipv4_size : bytes_.size());
}

Address Address::with_port(std::uint16_t port) const {
    Address address = *this;
    address.port_ = port;
    return address;
}

bool Address::is_any() const {
    return std::all_of(bytes_.begin(), bytes_.end(), [](std::uint8_t byte) { return byte == 0; });
}

std::string Address::host_text() const {
    std::array<char, INET6_ADDRSTRLEN> text{};
    inet_ntop(family_ == Family::IPv4 ? AF_INET : AF_INET6, bytes_.data(), text.data(), text.size());
    std::string host = text.data();
    if (scope_id_ != 0) {
        host.append("%").append(scope_text(scope_id_));  // g++ 12 warns of "%" + a text
    }
    return host;
}

std::string Address::text() const {
    std::string text = family_ == Family::IPv4 ? "" : "[";
    text.append(host_text()).append(family_ == Family::IPv4 ? ":" : "]:");
    return text.append(std::to_string(port_));
}

}  // namespace quarn::net
