#include "socket_address.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace quarn::net {

SocketAddress::SocketAddress(const Address& address) {
    const auto bytes = address.bytes();
    if (address.family() == Family::IPv4) {
        sockaddr_in form{};
        form.sin_family = AF_INET;
        form.sin_port = htons(address.port());
        std::memcpy(&form.sin_addr, bytes.data(), bytes.size());
        std::memcpy(&storage_, &form, sizeof form);
        size_ = sizeof form;
    } else {
        sockaddr_in6 form{};
        form.sin6_family = AF_INET6;
        form.sin6_port = htons(address.port());
        form.sin6_scope_id = address.scope_id();
        std::memcpy(&form.sin6_addr, bytes.data(), bytes.size());
        std::memcpy(&storage_, &form, sizeof form);
        size_ = sizeof form;
    }
}

std::optional<Address> SocketAddress::address_of(const sockaddr* address) {
    if (address->sa_family == AF_INET) {
        sockaddr_in form{};
        std::memcpy(&form, address, sizeof form);
        std::array<std::uint8_t, 4> bytes{};
        std::memcpy(bytes.data(), &form.sin_addr, bytes.size());
        return Address::ipv4(bytes, ntohs(form.sin_port));
    }
    if (address->sa_family == AF_INET6) {
        sockaddr_in6 form{};
        std::memcpy(&form, address, sizeof form);
        std::array<std::uint8_t, 16> bytes{};
        std::memcpy(bytes.data(), &form.sin6_addr, bytes.size());
        return Address::ipv6(bytes, ntohs(form.sin6_port), form.sin6_scope_id);
    }
    return std::nullopt;
}

int system_family(Family family) {
    return family == Family::IPv4 ? AF_INET : AF_INET6;
}

}  // namespace quarn::net
