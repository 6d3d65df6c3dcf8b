#include "quarn/client/run_exchange.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <deque>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "client/transcript.h"

namespace quarn::client {
namespace {

using namespace std::chrono_literals;
using test::header;
using test::request_of;
using test::server;
using test::text_of;

using Lines = std::vector<std::string>;

/// What comes of one wait, and how long it takes. A time-out always takes until the deadline.
struct Scripted {
    Event event;
    Duration after = 0s;
};

/// A network on paper: what happens on it is told in lines, and its clock goes on only while it waits.
class ScriptedTransport : public Transport {
  public:
    explicit ScriptedTransport(std::deque<Scripted> script) : script_(std::move(script)) {}

    std::optional<TransportError> send(utils::byte_span packet) override {
        lines_.push_back(text_of(now_.time_since_epoch()) + ": sent " + test::to_hex(packet.first(2)));
        return send_error;
    }

    Event receive(TimePoint deadline) override {
        if (script_.empty()) {
            now_ = std::max(now_, deadline);
            return TimedOut{};
        }
        Scripted next = std::move(script_.front());
        script_.pop_front();
        now_ = std::holds_alternative<TimedOut>(next.event) ? std::max(now_, deadline) : now_ + next.after;
        return std::move(next.event);
    }

    std::optional<net::Address> local_address() const override { return std::nullopt; }
    net::Address remote_address() const override { return server; }

    Clock clock() {
        return [this] { return now_; };
    }

    TryObserver observer() {
        return [this](const TryFailed& failure) {
            lines_.push_back(text_of(now_.time_since_epoch()) + ": " + text_of(failure));
        };
    }

    const Lines& lines() const { return lines_; }

    std::optional<TransportError> send_error;

  private:
    std::deque<Scripted> script_;
    TimePoint now_;
    Lines lines_;
};

ReceivedPacket packet(std::uint8_t code, std::uint8_t identifier) {
    return {header(code, identifier), server};
}

/// Runs an exchange, and tells all that happened.
Lines run(ScriptedTransport& transport, const ExchangeOptions& options) {
    Exchange exchange(request_of(7), options);
    const ExchangeResult result = run_exchange(exchange, transport, transport.clock(), transport.observer());
    Lines lines = transport.lines();
    lines.push_back(text_of(result));
    return lines;
}

Lines run(std::deque<Scripted> script, const ExchangeOptions& options) {
    ScriptedTransport transport(std::move(script));
    return run(transport, options);
}

TEST(RunExchange, SendsAndReceives) {
    EXPECT_EQ(run({{packet(2, 7), 30ms}}, {}),
              (Lines{"0 ms: sent 0107", "answered after 30 ms: 0207 from 192.0.2.1:1812 (1 sent)"}));
}

TEST(RunExchange, TellsOfEachTryBeforeTheNext) {
    EXPECT_EQ(run({{packet(2, 8), 1ms},
                   {TransportError{ErrorOrigin::Receive, ECONNREFUSED}, 1ms},
                   {TimedOut{}},
                   {packet(2, 7), 5ms}},
                  {.tries = 4, .timeout = 3s}),
              (Lines{"0 ms: sent 0107", "1 ms: try 1: wrong identifier: 0208 from 192.0.2.1:1812",
                     "1 ms: sent 0107", "2 ms: try 2: receive error 111", "2 ms: sent 0107",
                     "3002 ms: try 3: timed out", "3002 ms: sent 0107",
                     "answered after 5 ms: 0207 from 192.0.2.1:1812 (4 sent)"}));
}

TEST(RunExchange, GivesUpAfterTheLastTry) {
    EXPECT_EQ(run({}, {.tries = 2, .timeout = 1s}),
              (Lines{"0 ms: sent 0107", "1000 ms: try 1: timed out", "1000 ms: sent 0107",
                     "2000 ms: try 2: timed out", "unanswered (2 sent)"}));
}

TEST(RunExchange, WaitsForTheGraceOnly) {
    EXPECT_EQ(
        run({{packet(2, 8), 10ms}, {packet(2, 9), 10ms}}, {.policy = Policy::EndAfterGrace, .grace = 50ms}),
        (Lines{"0 ms: sent 0107", "wrong identifier: 0208 from 192.0.2.1:1812 (1 sent)"}));
}

TEST(RunExchange, EndsWhenSendingFails) {
    ScriptedTransport transport({});
    transport.send_error = TransportError{ErrorOrigin::Send, ENETUNREACH};
    EXPECT_EQ(run(transport, {}), (Lines{"0 ms: sent 0107", "send error 101 (1 sent)"}));
}

TEST(RunExchange, GoesOnWhenSendingIsToldOfAnEarlierPacketByTheNetwork) {
    ScriptedTransport transport({});
    transport.send_error = TransportError{ErrorOrigin::Network, EMSGSIZE};
    EXPECT_EQ(run(transport, {.tries = 1, .timeout = 1s, .policy = Policy::WaitFullTime}),
              (Lines{"0 ms: sent 0107", "1000 ms: try 1: timed out", "unanswered (1 sent)"}));
}

TEST(RunExchange, DoesNotNeedAnObserver) {
    ScriptedTransport transport({});
    Exchange exchange(request_of(7), {.tries = 1});
    EXPECT_EQ(text_of(run_exchange(exchange, transport, transport.clock())), "unanswered (1 sent)");
}

}  // namespace
}  // namespace quarn::client
