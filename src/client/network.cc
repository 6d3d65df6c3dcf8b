#include "quarn/client/network.h"

#include <poll.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <type_traits>
#include <utility>

#include "quarn/client/packet_stream.h"
#include "quarn/client/tcp_transport.h"
#include "quarn/client/udp_transport.h"

namespace quarn::client {

namespace {

// Enough to see that a datagram is longer than any packet.
constexpr std::size_t largest_datagram_read = 2 * max_packet_size;

using Opened = utils::Result<std::unique_ptr<PollableTransport>, net::OpenError>;

template <typename OpenedTransport>
Opened on_the_heap(OpenedTransport opened) {
    if (!opened) {
        return opened.error();
    }
    using Kind = std::remove_cvref_t<decltype(*opened)>;
    return std::unique_ptr<PollableTransport>(std::make_unique<Kind>(*std::move(opened)));
}

/// The time from now on, never negative, and short enough for the kernel.
timespec time_left(TimePoint deadline) {
    using namespace std::chrono;
    constexpr Duration longest = hours(24);
    const TimePoint now = steady_clock::now();
    const Duration left = deadline <= now ? Duration::zero() : std::min<Duration>(deadline - now, longest);
    const auto whole = duration_cast<seconds>(left);
    return {.tv_sec = whole.count(), .tv_nsec = duration_cast<nanoseconds>(left - whole).count()};
}

}  // namespace

TimePoint SystemNetwork::now() {
    return std::chrono::steady_clock::now();
}

std::vector<net::Resolved> SystemNetwork::resolve(std::span<const net::ResolveQuestion> questions,
                                                  TimePoint deadline) {
    return net::resolve_within(questions, deadline - now());
}

utils::Result<std::unique_ptr<PollableTransport>, net::OpenError> SystemNetwork::open(
    const net::Address& server, const TransportOptions& options) {
    switch (options.kind) {
        case TransportKind::Udp:
            return on_the_heap(UdpTransport::open(server, {.source = options.source,
                                                           .interface = options.interface,
                                                           .connected = false,
                                                           .error_queue = true,
                                                           .max_datagram_size = largest_datagram_read}));
        case TransportKind::Tcp:
            break;
    }
    return on_the_heap(
        TcpTransport::open(server, {.source = options.source, .interface = options.interface}));
}

std::vector<std::size_t> SystemNetwork::wait(std::span<PollableTransport* const> transports,
                                             TimePoint deadline) {
    std::vector<pollfd> watched;
    watched.reserve(transports.size());
    for (const PollableTransport* const transport : transports) {
        const Interest interest = transport->interest();
        watched.push_back(
            {interest.descriptor, static_cast<short>(interest.write ? POLLIN | POLLOUT : POLLIN), 0});
        deadline = std::min(deadline, interest.wake_up.value_or(deadline));
    }
    const timespec time = time_left(deadline);
    ppoll(watched.data(), watched.size(), &time, nullptr);
    std::vector<std::size_t> ready;
    for (std::size_t i = 0; i < watched.size(); ++i) {
        if (watched[i].revents != 0 ||
            transports[i]->interest().wake_up.value_or(TimePoint::max()) <= now()) {
            ready.push_back(i);
        }
    }
    return ready;
}

}  // namespace quarn::client
