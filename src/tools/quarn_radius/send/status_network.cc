#include "quarn_radius/send/status_network.h"

#include <algorithm>
#include <chrono>
#include <ostream>

namespace quarn::quarn_radius {

namespace {

constexpr client::Duration silent_time = std::chrono::seconds(2);
constexpr client::Duration interval = std::chrono::seconds(1);
constexpr const char* erase_line = "\r\x1b[K";

}  // namespace

StatusNetwork::StatusNetwork(client::Network& network, std::ostream& terminal, std::size_t expected)
    : network_(network),
      terminal_(terminal),
      expected_(expected),
      begin_(network.now()),
      next_line_(begin_ + silent_time) {}

void StatusNetwork::clear() {
    if (is_drawn_) {
        terminal_ << erase_line << std::flush;
        is_drawn_ = false;
    }
}

std::vector<net::Resolved> StatusNetwork::resolve(std::span<const net::ResolveQuestion> questions,
                                                  client::TimePoint deadline) {
    return network_.resolve(questions, deadline);
}

utils::Result<std::unique_ptr<client::PollableTransport>, net::OpenError> StatusNetwork::open(
    const net::Address& server, const client::TransportOptions& options) {
    return network_.open(server, options);
}

std::vector<std::size_t> StatusNetwork::wait(std::span<client::PollableTransport* const> transports,
                                             client::TimePoint deadline) {
    auto ready = network_.wait(transports, std::min(deadline, next_line_));
    if (const client::TimePoint now = network_.now(); now >= next_line_) {
        draw(now);
    }
    return ready;
}

void StatusNetwork::draw(client::TimePoint now) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(now - begin_).count();
    terminal_ << erase_line << "waiting, " << answered_ << " of " << expected_ << " answered, " << seconds
              << " s" << std::flush;
    is_drawn_ = true;
    next_line_ = now + interval;
}

}  // namespace quarn::quarn_radius
