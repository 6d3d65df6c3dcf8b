#include "quarn/client/tcp_transport.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <limits>
#include <utility>

namespace quarn::client {

namespace {

/// Errors after which the other side is gone, and nothing is wrong with the way to it.
bool means_closed(int number) {
    return number == ECONNRESET || number == EPIPE;
}

/// Waits for the socket until the deadline. False when nothing happened.
utils::Result<bool, net::SystemError> wait_for(const Interest& interest, TimePoint deadline) {
    pollfd watched{interest.descriptor, static_cast<short>(interest.write ? POLLIN | POLLOUT : POLLIN), 0};
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now()).count();
    const int ready = poll(
        &watched, 1, static_cast<int>(std::clamp<decltype(left)>(left, 0, std::numeric_limits<int>::max())));
    if (ready < 0) {
        return net::SystemError{errno};
    }
    return ready > 0;
}

}  // namespace

utils::Result<TcpTransport, net::OpenError> TcpTransport::open(const net::Address& server,
                                                               const net::TcpOptions& options) {
    auto socket = net::TcpSocket::open(server, options);
    if (!socket) {
        return socket.error();
    }
    return TcpTransport(*std::move(socket));
}

std::optional<TransportError> TcpTransport::send(utils::byte_span packet) {
    if (is_closed_) {
        return TransportError{ErrorOrigin::Send, EPIPE};
    }
    unsent_.insert(unsent_.end(), packet.begin(), packet.end());
    // An error of writing shows when reading, too, after the replies that came before it.
    flush();
    return std::nullopt;
}

Event TcpTransport::receive(TimePoint deadline) {
    while (true) {
        if (auto event = step()) {
            return *std::move(event);
        }
        const auto ready = wait_for(interest(), deadline);
        if (!ready) {
            return TransportError{ErrorOrigin::Wait, ready.error().number};
        }
        if (!*ready) {
            return TimedOut{};
        }
    }
}

Interest TcpTransport::interest() const {
    return {.descriptor = socket_.descriptor(), .write = !is_connected_ || !unsent_.empty()};
}

/// Does what can be done without waiting: nothing when that is not enough for an event.
std::optional<Event> TcpTransport::step() {
    if (auto event = take_received()) {
        return event;
    }
    if (!is_connected_) {
        const auto connected = socket_.finish_connecting();
        if (!connected) {
            close();
            return TransportError{ErrorOrigin::Network, connected.error().number};
        }
        if (!*connected) {
            return std::nullopt;
        }
        is_connected_ = true;
        local_ = socket_.local_address();
    }
    flush();
    return read();
}

/// What follows from the bytes that were received already.
std::optional<Event> TcpTransport::take_received() {
    if (auto packet = stream_.next()) {
        return ReceivedPacket{*std::move(packet), remote_address()};
    }
    if (is_closed_) {
        return Closed{};
    }
    if (stream_.is_malformed()) {
        close();
        const utils::byte_span rest = stream_.rest().first(std::min(stream_.rest().size(), max_packet_size));
        return ReceivedPacket{{rest.begin(), rest.end()}, remote_address()};
    }
    return std::nullopt;
}

std::optional<Event> TcpTransport::read() {
    const auto bytes = socket_.receive(max_packet_size);
    if (bytes && !bytes->empty()) {
        stream_.append(*bytes);
        return take_received();
    }
    if (!bytes && (bytes.error().number == EAGAIN || bytes.error().number == EINTR)) {
        return std::nullopt;
    }
    const std::size_t unfinished = stream_.rest().size();
    close();
    if (bytes || means_closed(bytes.error().number)) {
        return Closed{unfinished};
    }
    return TransportError{ErrorOrigin::Receive, bytes.error().number};
}

/// Writes what the connection takes now.
void TcpTransport::flush() {
    if (!is_connected_ || unsent_.empty()) {
        return;
    }
    const auto sent = socket_.send(unsent_);
    if (!sent) {
        unsent_.clear();  // reading tells why
        return;
    }
    unsent_.erase(unsent_.begin(), unsent_.begin() + static_cast<std::ptrdiff_t>(*sent));
}

void TcpTransport::close() {
    is_closed_ = true;
    unsent_.clear();
    socket_.close();
}

}  // namespace quarn::client
