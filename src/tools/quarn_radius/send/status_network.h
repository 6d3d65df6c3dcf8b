// A line on the terminal while answers are waited for.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <memory>
#include <span>
#include <vector>

#include "quarn/client/network.h"

namespace quarn::quarn_radius {

/// A network that shows how long it waits, from the third second on: "waiting, 3 of 10 answered, 4 s". The
/// line is drawn anew each second, and erased by `clear`.
class StatusNetwork : public client::Network {
  public:
    /// `expected` answers are waited for.
    StatusNetwork(client::Network& network, std::ostream& terminal, std::size_t expected);

    /// One more is there. Call `clear` first when something is printed.
    void count_answer() { ++answered_; }

    /// Erases the line, if there is one.
    void clear();

    client::TimePoint now() override { return network_.now(); }
    std::vector<net::Resolved> resolve(std::span<const net::ResolveQuestion> questions,
                                       client::TimePoint deadline) override;
    utils::Result<std::unique_ptr<client::PollableTransport>, net::OpenError> open(
        const net::Address& server, const client::TransportOptions& options) override;
    std::vector<std::size_t> wait(std::span<client::PollableTransport* const> transports,
                                  client::TimePoint deadline) override;

  private:
    void draw(client::TimePoint now);

    client::Network& network_;
    std::ostream& terminal_;
    std::size_t expected_;
    std::size_t answered_ = 0;
    client::TimePoint begin_;
    client::TimePoint next_line_;
    bool is_drawn_ = false;
};

}  // namespace quarn::quarn_radius
