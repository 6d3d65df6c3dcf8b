// A UDP socket that exchanges datagrams with one remote address.
//
//     auto opened = UdpSocket::open(server, {.source = Address::parse("192.0.2.1", 0)});
//     if (!opened) {
//         return report(opened.error());    // which call failed, and its errno
//     }
//     UdpSocket socket = *std::move(opened);
//     socket.send(request);
//     if (const auto ready = socket.wait(5s); ready && *ready) {
//         const auto datagram = socket.receive();
//     }
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "quarn/net/address.h"
#include "quarn/utils/bytes.h"
#include "quarn/utils/file_descriptor.h"
#include "quarn/utils/result.h"

namespace quarn::net {

/// The most that one UDP datagram can carry is less than this (RFC 768: Length has 16 bits).
inline constexpr std::size_t largest_datagram = 65535;

/// How a socket is opened.
struct UdpOptions {
    std::optional<Address> source = {};  ///< bound to; port 0 leaves the port to the kernel
    std::string interface = {};          ///< the name of the only network interface to use; empty: any

    /// A connected socket hears the remote address alone, and learns of a refused port by ECONNREFUSED. One
    /// that is not connected hears everybody: its owner has to compare each sender with the remote address.
    bool connected = true;

    /// Keeps what the network reports of sent datagrams (ICMP) for `take_network_error`. Without it, a socket
    /// that is not connected learns nothing of these.
    bool error_queue = false;

    std::size_t max_datagram_size = largest_datagram;  ///< bytes; a longer datagram is cut to this size
};

/// The steps that can fail while a socket is opened.
enum class OpenStep {
    Socket,           ///< no socket could be made
    SelectInterface,  ///< no such interface, or no permission to select one
    SetOption,
    Bind,     ///< the source address is not this machine's, or its port is taken
    Connect,  ///< there is no route, say
};

/// Why a socket could not be opened.
struct OpenError {
    OpenStep step;  ///< the first that failed
    int number;     ///< the errno value

    bool operator==(const OpenError&) const = default;
};

/// A system call's errno value, for an outcome of ordinary use.
struct SystemError {
    int number;  ///< such as EAGAIN

    bool operator==(const SystemError&) const = default;
};

/// A received datagram.
struct Datagram {
    utils::Bytes bytes;  ///< as much of it as was asked for
    Address source;      ///< the sender's

    bool operator==(const Datagram&) const = default;
};

/// The network's report of a datagram that was sent before.
struct NetworkError {
    int number = 0;         ///< the errno value, such as ECONNREFUSED
    std::uint8_t type = 0;  ///< of the ICMP or ICMPv6 message; 0 when this machine itself reports
    std::uint8_t code = 0;  ///< the same
    std::optional<Address> reporter = {};  ///< who sent the message, with port 0

    bool operator==(const NetworkError&) const = default;
};

/// Owns the descriptor. All times are relative; nothing is tried again after EINTR.
class UdpSocket {
  public:
    /// Opens a socket to the remote address, whose family it takes.
    static utils::Result<UdpSocket, OpenError> open(const Address& remote, const UdpOptions& options);

    /// Sends one datagram to the remote address. Returns the error, nothing on success. With an error queue,
    /// the error may be about a datagram that was sent earlier.
    std::optional<SystemError> send(utils::byte_span datagram);

    /// Waits until there is something to receive or an error to take: true when there is. Times beyond what
    /// `poll` can wait, 24 days, are cut to that; a negative one is taken for zero.
    utils::Result<bool, SystemError> wait(std::chrono::nanoseconds time);

    /// The next datagram, without waiting: EAGAIN when there is none. That happens after a successful `wait`,
    /// too: a datagram with a wrong checksum wakes whoever waits, and is dropped then.
    utils::Result<Datagram, SystemError> receive();

    /// The next report of the network on a datagram to the remote address, without waiting; nothing when
    /// there is none or no error queue. Reports on datagrams to other addresses, which cannot be true, are
    /// dropped.
    std::optional<NetworkError> take_network_error();

    /// This end. Nothing when the kernel did not tell. Before a socket that is not connected has sent
    /// anything this is the address that the kernel would choose now for the remote one.
    const std::optional<Address>& local_address() const { return local_; }

    const Address& remote_address() const { return remote_; }  ///< the other end

    int descriptor() const { return descriptor_.get(); }  ///< to wait for several at once; still owned

    void close() { descriptor_.close(); }  ///< at once, for good

  private:
    UdpSocket(utils::FileDescriptor descriptor, const Address& remote, const UdpOptions& options);

    utils::FileDescriptor descriptor_;
    Address remote_;
    std::optional<Address> local_;
    bool connected_;
    bool error_queue_;
    utils::Bytes buffer_;
};

}  // namespace quarn::net
