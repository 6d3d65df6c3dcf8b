#include "quarn/client/udp_transport.h"

#include <algorithm>
#include <utility>

namespace quarn::client {

utils::Result<UdpTransport, net::OpenError> UdpTransport::open(const net::Address& server,
                                                               const net::UdpOptions& options) {
    auto socket = net::UdpSocket::open(server, options);
    if (!socket) {
        return socket.error();
    }
    return UdpTransport(*std::move(socket));
}

std::optional<TransportError> UdpTransport::send(utils::byte_span packet) {
    // The kernel gives a report of the network on an earlier packet as the error of the next call. Taken
    // before, it costs no packet; one on a packet that was never sent is dropped so.
    if (const auto report = take_network_error()) {
        return report;
    }
    const auto error = socket_.send(packet);
    if (!error) {
        return std::nullopt;
    }
    if (const auto report = take_network_error()) {
        return report;
    }
    return TransportError{ErrorOrigin::Send, error->number};
}

Event UdpTransport::receive(TimePoint deadline) {
    if (waiting_error_) {
        return *std::exchange(waiting_error_, std::nullopt);
    }
    const TimePoint now = std::chrono::steady_clock::now();
    const auto ready = socket_.wait(std::max(deadline, now) - now);
    if (!ready) {
        return TransportError{ErrorOrigin::Wait, ready.error().number};
    }
    if (!*ready) {
        return TimedOut{};
    }
    const auto report = take_network_error();
    auto datagram = socket_.receive();
    if (datagram) {
        waiting_error_ = report;
        return ReceivedPacket{std::move(datagram->bytes), datagram->source};
    }
    return report.value_or(TransportError{ErrorOrigin::Receive, datagram.error().number});
}

std::optional<TransportError> UdpTransport::take_network_error() {
    const auto error = socket_.take_network_error();
    if (!error) {
        return std::nullopt;
    }
    return TransportError{ErrorOrigin::Network, error->number,
                          IcmpReport{error->type, error->code, error->reporter}};
}

}  // namespace quarn::client
