// Addresses as system calls take and give them. Internal to the layer.
#pragma once

#include <sys/socket.h>

#include <optional>

#include "quarn/net/address.h"

namespace quarn::net {

/// An address in the kernel's form.
class SocketAddress {
  public:
    /// Room for whatever address a system call gives: hand it `data` and `capacity`, then ask for `address`.
    SocketAddress() = default;
    explicit SocketAddress(const Address& address);

    const sockaddr* data() const { return reinterpret_cast<const sockaddr*>(&storage_); }
    sockaddr* data() { return reinterpret_cast<sockaddr*>(&storage_); }
    socklen_t size() const { return size_; }
    static constexpr socklen_t capacity() { return sizeof(sockaddr_storage); }

    /// The address of this kernel form; nothing for a family other than IPv4 and IPv6.
    std::optional<Address> address() const { return address_of(data()); }

    /// The same for an address that the system keeps elsewhere, as in a list of `getaddrinfo`.
    static std::optional<Address> address_of(const sockaddr* address);

  private:
    sockaddr_storage storage_{};
    socklen_t size_ = sizeof(sockaddr_storage);
};

/// AF_INET or AF_INET6.
int system_family(Family family);

}  // namespace quarn::net
