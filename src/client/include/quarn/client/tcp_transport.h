// RADIUS over TCP (RFC 6613): packets follow each other in a stream.
//
//     auto opened = TcpTransport::open(server, {.source = source});
//     if (!opened) {
//         return report(opened.error());
//     }
//     run_exchange(exchange, *opened, std::chrono::steady_clock::now);
#pragma once

#include <optional>

#include "quarn/client/packet_stream.h"
#include "quarn/client/transport.h"
#include "quarn/net/tcp_socket.h"
#include "quarn/utils/result.h"

namespace quarn::client {

/// A TCP connection as a transport. `open` does not wait for the connection: packets sent before it is there
/// are kept until then, and `receive` tells when it fails, as an error of `ErrorOrigin::Network` with
/// ECONNREFUSED, EHOSTUNREACH and the like.
///
/// A Length that no packet can have closes the connection: the bytes received of that packet, at most 4096,
/// come as a packet that no decoder reads, and then `Closed`.
class TcpTransport : public PollableTransport {
  public:
    /// Begins to connect to the server.
    static utils::Result<TcpTransport, net::OpenError> open(const net::Address& server,
                                                            const net::TcpOptions& options);

    /// Sends one packet, now or as soon as the connection takes it. After the end: the error EPIPE.
    std::optional<TransportError> send(utils::byte_span packet) override;

    /// See `Transport`; the deadline is one of `std::chrono::steady_clock`.
    Event receive(TimePoint deadline) override;

    std::optional<net::Address> local_address() const override { return local_; }
    net::Address remote_address() const override { return socket_.remote_address(); }

    Interest interest() const override;
    bool is_stream() const override { return true; }
    bool is_connected() const override { return is_connected_; }

  private:
    explicit TcpTransport(net::TcpSocket socket) : socket_(std::move(socket)) {}

    std::optional<Event> step();
    std::optional<Event> take_received();
    std::optional<Event> read();
    void flush();
    void close();

    net::TcpSocket socket_;
    std::optional<net::Address> local_;
    PacketStream stream_;
    utils::Bytes unsent_;
    bool is_connected_ = false;
    bool is_closed_ = false;
};

}  // namespace quarn::client
