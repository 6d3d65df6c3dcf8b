// RADIUS over UDP (RFC 2865, section 3): one packet a datagram.
//
//     auto opened = UdpTransport::open(server, {.error_queue = true});
//     if (!opened) {
//         return report(opened.error());
//     }
//     run_exchange(exchange, *opened, std::chrono::steady_clock::now);
#pragma once

#include <optional>

#include "quarn/client/transport.h"
#include "quarn/net/udp_socket.h"
#include "quarn/utils/result.h"

namespace quarn::client {

/// A UDP socket as a transport. With an error queue, a packet that has arrived comes before a report of the
/// network; without, errors of the system calls are all that is told.
class UdpTransport : public PollableTransport {
  public:
    /// Opens a socket to the server.
    static utils::Result<UdpTransport, net::OpenError> open(const net::Address& server,
                                                            const net::UdpOptions& options);

    std::optional<TransportError> send(utils::byte_span packet) override;

    /// See `Transport`; the deadline is one of `std::chrono::steady_clock`. Nothing is tried again: a wait
    /// that a signal ended is the error EINTR, a datagram that was gone when it was to be received is EAGAIN.
    Event receive(TimePoint deadline) override;

    std::optional<net::Address> local_address() const override { return socket_.local_address(); }
    net::Address remote_address() const override { return socket_.remote_address(); }

    Interest interest() const override { return {.descriptor = socket_.descriptor()}; }
    bool is_stream() const override { return false; }
    bool is_connected() const override { return false; }

    int descriptor() const { return socket_.descriptor(); }  ///< to wait for several at once; still owned

    void close() { socket_.close(); }  ///< at once, for good

  private:
    explicit UdpTransport(net::UdpSocket socket) : socket_(std::move(socket)) {}

    std::optional<TransportError> take_network_error();

    net::UdpSocket socket_;
    std::optional<TransportError> waiting_error_;  // told after the packet that came with it
};

}  // namespace quarn::client
