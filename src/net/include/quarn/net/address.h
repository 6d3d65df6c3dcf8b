// The address of a socket: an IPv4 or IPv6 address and a port.
//
//     const std::optional<Address> server = Address::parse("::1", 1812);
//     server->text();              // "[::1]:1812"
//     server->with_port(1813);
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace quarn::net {

/// The versions of the Internet Protocol.
enum class Family { IPv4, IPv6 };

/// A plain value; by default the IPv4 address 0.0.0.0 with port 0. Two addresses are equal when their
/// family, bytes, port and scope are.
class Address {
  public:
    Address() = default;

    /// An IPv4 address, most significant byte first; the port in host order.
    static Address ipv4(std::array<std::uint8_t, 4> bytes, std::uint16_t port);

    /// An IPv6 address. `scope_id` is the number of the interface on which a link-local address is meant (RFC
    /// 4007, section 6), 0 for none.
    static Address ipv6(const std::array<std::uint8_t, 16>& bytes, std::uint16_t port,
                        std::uint32_t scope_id = 0);

    /// Reads a numeric address as `inet_pton` does, an IPv6 one with or without a scope: "127.0.0.1", "::1",
    /// "fe80::1%eth0", "fe80::1%2". Nothing for any other text, and for the name of an interface that this
    /// machine lacks. A scope's number is not checked.
    static std::optional<Address> parse(std::string_view host, std::uint16_t port);

    /// The address that stands for any of this machine's: 0.0.0.0 or "::".
    static Address any(Family family, std::uint16_t port = 0);

    Family family() const { return family_; }             ///< which version of the protocol
    std::span<const std::uint8_t> bytes() const;          ///< 4 or 16 bytes in network order
    std::uint16_t port() const { return port_; }          ///< in host order
    std::uint32_t scope_id() const { return scope_id_; }  ///< 0 for IPv4
    Address with_port(std::uint16_t port) const;          ///< the same address with another port
    bool is_any() const;                                  ///< whether every byte is zero

    /// The address without its port, as `inet_ntop` writes it. The scope follows as "%" and the interface's
    /// name, or its number when it has no name: "127.0.0.1", "fe80::1%eth0".
    std::string host_text() const;

    /// Address and port: "127.0.0.1:1812", "[fe80::1%eth0]:1812".
    std::string text() const;

    bool operator==(const Address&) const = default;

  private:
    Family family_ = Family::IPv4;
    std::array<std::uint8_t, 16> bytes_{};  // an IPv4 address takes the first four
    std::uint16_t port_ = 0;
    std::uint32_t scope_id_ = 0;
};

}  // namespace quarn::net
