#include "quarn/client/exchange.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <limits>
#include <optional>
#include <string>
#include <utility>

#include "client/transcript.h"

namespace quarn::client {
namespace {

using namespace std::chrono_literals;
using test::header;
using test::request_of;
using test::server;
using test::text_of;
using utils::Bytes;

/// A machine with a clock: each step is told as text.
class Machine {
  public:
    explicit Machine(const ExchangeOptions& options, Judge judge = {})
        : exchange_(request_of(7), options, std::move(judge)) {}

    /// Time goes on to so long after the beginning.
    Machine& at(Duration time) {
        now_ = test::at(time);
        return *this;
    }

    std::string next() { return text_of(exchange_.next(now_)); }

    void handle(Event event) { exchange_.handle(std::move(event), now_); }
    void arrives(Bytes bytes) { handle(ReceivedPacket{std::move(bytes), server}); }

  private:
    Exchange exchange_;
    TimePoint now_;
};

const TransportError refused{ErrorOrigin::Receive, ECONNREFUSED};

TEST(JudgeByIdentifier, TakesWhatHasAHeaderWithTheIdentifier) {
    const Judge judge = judge_by_identifier(request_of(7));
    EXPECT_EQ(judge({header(2, 7), server}), std::nullopt);
    EXPECT_EQ(judge({header(255, 7), net::Address()}), std::nullopt);
    EXPECT_EQ(judge({Bytes(4096, 7), server}), std::nullopt);
}

TEST(JudgeByIdentifier, TellsWhatIsWrongOtherwise) {
    const Judge judge = judge_by_identifier(request_of(7));
    EXPECT_EQ(judge({Bytes(), server}), Mismatch::Malformed);
    EXPECT_EQ(judge({Bytes(19, 7), server}), Mismatch::Malformed);
    EXPECT_EQ(judge({header(2, 8), server}), Mismatch::WrongIdentifier);
}

TEST(Exchange, EndsWithTheReply) {
    Machine machine({.tries = 3, .timeout = 5s});
    EXPECT_EQ(machine.next(), "send 0107");
    EXPECT_EQ(machine.next(), "wait until 5000 ms");
    machine.at(12ms).arrives(header(2, 7));
    EXPECT_EQ(machine.next(), "answered after 12 ms: 0207 from 192.0.2.1:1812 (1 sent)");
}

TEST(Exchange, SendsTheSameBytesForEachTry) {
    Exchange exchange(request_of(7), {.tries = 2, .timeout = 1s});
    const Action first = exchange.next(test::at(0s));
    exchange.next(test::at(0s));
    exchange.next(test::at(1s));
    const Action second = exchange.next(test::at(1s));
    for (const Action& action : {first, second}) {
        const auto* const send = std::get_if<SendRequest>(&action);
        ASSERT_NE(send, nullptr);
        EXPECT_EQ(Bytes(send->datagram.begin(), send->datagram.end()), header(1, 7));
    }
}

TEST(Exchange, TriesAsOftenAsItIsTold) {
    Machine machine({.tries = 2, .timeout = 1s});
    EXPECT_EQ(machine.next(), "send 0107");
    EXPECT_EQ(machine.next(), "wait until 1000 ms");
    EXPECT_EQ(machine.at(1s).next(), "try 1: timed out");
    EXPECT_EQ(machine.next(), "send 0107");
    EXPECT_EQ(machine.at(1100ms).next(), "wait until 2100 ms");
    EXPECT_EQ(machine.at(2200ms).next(), "try 2: timed out");
    EXPECT_EQ(machine.next(), "unanswered (2 sent)");
    EXPECT_EQ(machine.next(), "unanswered (2 sent)");
}

TEST(Exchange, SendsNothingWithoutATry) {
    for (const int tries : {0, -1, std::numeric_limits<int>::min()}) {
        EXPECT_EQ(Machine({.tries = tries}).next(), "unanswered (0 sent)");
    }
}

TEST(Exchange, BeginsToWaitWhenTheRequestIsSent) {
    Machine machine({.timeout = 5s});
    EXPECT_EQ(machine.next(), "send 0107");
    EXPECT_EQ(machine.at(30ms).next(), "wait until 5030 ms");
    EXPECT_EQ(machine.at(5029ms).next(), "wait until 5030 ms");
    EXPECT_EQ(machine.at(5030ms).next(), "try 1: timed out");
}

TEST(Exchange, WaitsOnceWithoutAnyTime) {
    for (const Duration timeout : {Duration(0s), Duration(-1s), Duration::min()}) {
        Machine machine({.tries = 1, .timeout = timeout});
        EXPECT_EQ(machine.at(1s).next(), "send 0107");
        EXPECT_EQ(machine.next(), "wait until 1000 ms");
        machine.at(2s).arrives(header(2, 7));
        EXPECT_EQ(machine.next(), "answered after 1000 ms: 0207 from 192.0.2.1:1812 (1 sent)");
    }
}

TEST(Exchange, WaitsForEverWhenTheTimeHasNoEnd) {
    Machine machine({.timeout = Duration::max()});
    EXPECT_EQ(machine.at(1s).next(), "send 0107");
    EXPECT_EQ(machine.next(), "wait for ever");
}

TEST(Exchange, TakesAReplyThatComesAfterTheTime) {
    Machine machine({.tries = 1, .timeout = 1s});
    machine.next();
    machine.next();
    machine.at(3s).arrives(header(2, 7));  // nobody has asked since
    EXPECT_EQ(machine.next(), "answered after 3000 ms: 0207 from 192.0.2.1:1812 (1 sent)");
}

TEST(Exchange, TakesALateReplyToAnEarlierTry) {
    Machine machine({.tries = 2, .timeout = 1s});
    machine.next();
    machine.next();
    EXPECT_EQ(machine.at(1s).next(), "try 1: timed out");
    EXPECT_EQ(machine.next(), "send 0107");
    machine.at(1001ms).arrives(header(2, 7));
    EXPECT_EQ(machine.next(), "answered after 1 ms: 0207 from 192.0.2.1:1812 (2 sent)");
}

TEST(Exchange, KeepsToItsResult) {
    Machine machine({});
    machine.next();
    machine.arrives(header(2, 7));
    const std::string result = machine.next();
    machine.arrives(header(3, 7));
    machine.handle(Closed{});
    EXPECT_EQ(machine.at(1h).next(), result);
    EXPECT_EQ(result, "answered after 0 ms: 0207 from 192.0.2.1:1812 (1 sent)");
}

TEST(Exchange, IgnoresWhatComesBeforeTheRequestWasSent) {
    Machine machine({.tries = 2, .timeout = 1s});
    machine.arrives(header(2, 7));
    machine.handle(refused);
    machine.handle(Closed{});
    EXPECT_EQ(machine.next(), "send 0107");
}

TEST(Exchange, IgnoresWhatComesBetweenTwoTries) {
    Machine machine({.tries = 2});
    machine.next();
    machine.handle(refused);
    machine.arrives(header(2, 7));
    EXPECT_EQ(machine.next(), "try 1: receive error 111");
    machine.arrives(header(2, 7));
    EXPECT_EQ(machine.next(), "send 0107");
}

TEST(Exchange, EndsWhenSendingFails) {
    for (const Policy policy : {Policy::NextTry, Policy::EndAfterGrace, Policy::WaitFullTime}) {
        Machine machine({.tries = 3, .policy = policy});
        EXPECT_EQ(machine.next(), "send 0107");
        machine.handle(TransportError{ErrorOrigin::Send, EINTR});
        EXPECT_EQ(machine.next(), "send error 4 (1 sent)");
    }
}

TEST(Exchange, EndsWhenTheConnectionDoes) {
    for (const Policy policy : {Policy::NextTry, Policy::EndAfterGrace, Policy::WaitFullTime}) {
        Machine machine({.tries = 3, .policy = policy});
        machine.next();
        machine.next();
        machine.handle(Closed{});
        EXPECT_EQ(machine.next(), "closed (1 sent)");
    }
}

TEST(Exchange, WaitsOnWhenNothingHasCome) {
    Machine machine({.timeout = 1s});
    machine.next();
    machine.next();
    machine.at(999ms).handle(TimedOut{});
    EXPECT_EQ(machine.next(), "wait until 1000 ms");
}

TEST(Exchange, AsksTheJudgeThatItIsGiven) {
    const Judge judge = [](const ReceivedPacket& packet) {
        return packet.source == server ? std::nullopt : std::optional(Mismatch::WrongSource);
    };
    Machine machine({.tries = 2}, judge);
    machine.next();
    machine.handle(ReceivedPacket{header(2, 7), server.with_port(1)});
    EXPECT_EQ(machine.next(), "try 1: wrong source: 0207 from 192.0.2.1:1");
    machine.next();
    machine.arrives(Bytes());
    EXPECT_EQ(machine.next(), "answered after 0 ms:  from 192.0.2.1:1812 (2 sent)");
}

// Policy::NextTry

TEST(NextTry, FollowsAtOnceWhenAPacketIsNotTheReply) {
    Machine machine({.tries = 3, .timeout = 5s});
    machine.next();
    machine.next();
    machine.at(10ms).arrives(header(2, 8));
    EXPECT_EQ(machine.next(), "try 1: wrong identifier: 0208 from 192.0.2.1:1812");
    EXPECT_EQ(machine.next(), "send 0107");
    EXPECT_EQ(machine.next(), "wait until 5010 ms");
    machine.arrives(Bytes(19, 7));
    EXPECT_EQ(machine.next(), "try 2: malformed: 0707 from 192.0.2.1:1812");
    EXPECT_EQ(machine.next(), "send 0107");
    machine.arrives(header(3, 7));
    EXPECT_EQ(machine.next(), "answered after 0 ms: 0307 from 192.0.2.1:1812 (3 sent)");
}

TEST(NextTry, FollowsAtOnceAfterAnError) {
    Machine machine({.tries = 4});
    for (const auto& [error, line] :
         {std::pair(refused, "try 1: receive error 111"),
          {TransportError{ErrorOrigin::Wait, EINTR}, "try 2: wait error 4"},
          {TransportError{ErrorOrigin::Receive, EAGAIN}, "try 3: receive error 11"},
          {TransportError{ErrorOrigin::Network, EMSGSIZE}, "try 4: network error 90"}}) {
        EXPECT_EQ(machine.next(), "send 0107");
        machine.next();
        machine.handle(error);
        EXPECT_EQ(machine.next(), line);
    }
    EXPECT_EQ(machine.next(), "unanswered (4 sent)");
}

TEST(NextTry, EndsWithTheMostTellingOfThePacketsThatWereNotTheReply) {
    Machine machine({.tries = 4});
    for (const Bytes& packet : {Bytes(1), header(2, 8), header(2, 9), Bytes(2)}) {
        machine.next();
        machine.arrives(packet);
        machine.next();
    }
    EXPECT_EQ(machine.next(), "wrong identifier: 0208 from 192.0.2.1:1812 (4 sent)");
}

// Policy::EndAfterGrace

constexpr ExchangeOptions graceful = {
    .tries = 3, .timeout = 5s, .policy = Policy::EndAfterGrace, .grace = 50ms};

TEST(EndAfterGrace, EndsSoonAfterAPacketThatIsNotTheReply) {
    Machine machine(graceful);
    machine.next();
    machine.next();
    machine.at(10ms).arrives(header(2, 8));
    EXPECT_EQ(machine.next(), "wait until 60 ms");
    EXPECT_EQ(machine.at(59ms).next(), "wait until 60 ms");
    EXPECT_EQ(machine.at(60ms).next(), "wrong identifier: 0208 from 192.0.2.1:1812 (1 sent)");
}

TEST(EndAfterGrace, TakesTheReplyThatComesInTheMeantime) {
    Machine machine(graceful);
    machine.next();
    machine.next();
    machine.at(10ms).arrives(header(2, 8));
    machine.at(59ms).arrives(header(2, 7));
    EXPECT_EQ(machine.next(), "answered after 59 ms: 0207 from 192.0.2.1:1812 (1 sent)");
}

TEST(EndAfterGrace, IsNotPutOffByFurtherPackets) {
    Machine machine(graceful);
    machine.next();
    machine.next();
    machine.at(10ms).arrives(Bytes(3, 1));
    machine.at(40ms).arrives(header(2, 9));
    machine.at(50ms).arrives(header(2, 8));
    EXPECT_EQ(machine.next(), "wait until 60 ms");
    EXPECT_EQ(machine.at(60ms).next(), "wrong identifier: 0209 from 192.0.2.1:1812 (1 sent)");
}

TEST(EndAfterGrace, GoesBeyondTheTimeOfTheTry) {
    Machine machine(graceful);
    machine.next();
    machine.next();
    machine.at(4990ms).arrives(header(2, 8));
    EXPECT_EQ(machine.next(), "wait until 5040 ms");
    machine.at(5039ms).arrives(header(2, 7));
    EXPECT_EQ(machine.next(), "answered after 5039 ms: 0207 from 192.0.2.1:1812 (1 sent)");
}

TEST(EndAfterGrace, CountsAPacketThatComesBeforeTheFirstWait) {
    Machine machine(graceful);
    machine.next();
    machine.arrives(header(2, 8));
    EXPECT_EQ(machine.next(), "wait until 50 ms");
}

TEST(EndAfterGrace, TriesAgainWhenNothingCame) {
    Machine machine(graceful);
    machine.next();
    machine.next();
    EXPECT_EQ(machine.at(5s).next(), "try 1: timed out");
    EXPECT_EQ(machine.next(), "send 0107");
    machine.arrives(header(2, 8));
    EXPECT_EQ(machine.next(), "wait until 5050 ms");
}

TEST(EndAfterGrace, EndsAtOnceAfterAnError) {
    Machine machine(graceful);
    machine.next();
    machine.next();
    machine.handle(TransportError{ErrorOrigin::Network, EHOSTUNREACH});
    EXPECT_EQ(machine.next(), "network error 113 (1 sent)");
}

TEST(EndAfterGrace, PassesOverErrorsThatSayNothingOfTheServer) {
    Machine machine(graceful);
    machine.next();
    machine.next();
    for (const TransportError& error :
         {TransportError{ErrorOrigin::Wait, EINTR}, TransportError{ErrorOrigin::Receive, EAGAIN},
          TransportError{ErrorOrigin::Receive, EINTR}, TransportError{ErrorOrigin::Network, EMSGSIZE}}) {
        machine.handle(error);
        EXPECT_EQ(machine.next(), "wait until 5000 ms");
    }
}

// Policy::WaitFullTime

constexpr ExchangeOptions patient = {.tries = 2, .timeout = 5s, .policy = Policy::WaitFullTime};

TEST(AlreadySpent, ShortensTheFirstTryAlone) {
    Machine machine({.tries = 2, .timeout = 5s, .already_spent = 2s});
    EXPECT_EQ(machine.next(), "send 0107");
    EXPECT_EQ(machine.next(), "wait until 3000 ms");
    EXPECT_EQ(machine.at(3s).next(), "try 1: timed out");
    EXPECT_EQ(machine.next(), "send 0107");
    EXPECT_EQ(machine.next(), "wait until 8000 ms");
}

TEST(AlreadySpent, LeavesNoTimeWhenItWasMoreThanThereIs) {
    Machine machine({.timeout = 5s, .already_spent = Duration::max()});
    EXPECT_EQ(machine.next(), "send 0107");
    EXPECT_EQ(machine.next(), "wait until 0 ms");
    Machine negative({.timeout = 5s, .already_spent = -1s});
    EXPECT_EQ(negative.next(), "send 0107");
    EXPECT_EQ(negative.next(), "wait until 5000 ms");
}

TEST(WaitFullTime, DiscardsWhatIsNotTheReply) {
    Machine machine(patient);
    machine.next();
    machine.next();
    machine.at(10ms).arrives(header(2, 8));
    EXPECT_EQ(machine.next(), "wait until 5000 ms");
    machine.at(4999ms).arrives(header(2, 7));
    EXPECT_EQ(machine.next(), "answered after 4999 ms: 0207 from 192.0.2.1:1812 (1 sent)");
}

TEST(WaitFullTime, EndsWithTheMostTellingPacketWhenAllTriesAreUsedUp) {
    Machine machine(patient);
    machine.next();
    machine.next();
    machine.arrives(header(2, 8));
    EXPECT_EQ(machine.at(5s).next(), "try 1: timed out");
    EXPECT_EQ(machine.next(), "send 0107");
    machine.next();
    machine.arrives(Bytes(7));
    EXPECT_EQ(machine.at(10s).next(), "try 2: timed out");
    EXPECT_EQ(machine.next(), "wrong identifier: 0208 from 192.0.2.1:1812 (2 sent)");
}

TEST(WaitFullTime, IsNotPutOffByAFloodOfPackets) {
    Machine machine(patient);
    machine.next();
    machine.next();
    for (int i = 0; i < 1000; ++i) {
        machine.at(5ms * i).arrives(header(2, 8));
        EXPECT_EQ(machine.next(), "wait until 5000 ms");
    }
    machine.at(5s).arrives(header(2, 8));
    EXPECT_EQ(machine.next(), "try 1: timed out");
}

TEST(WaitFullTime, EndsAtOnceAfterAnError) {
    Machine machine(patient);
    machine.next();
    machine.next();
    machine.handle(TransportError{ErrorOrigin::Receive, EAGAIN});
    EXPECT_EQ(machine.next(), "wait until 5000 ms");
    machine.handle(refused);
    EXPECT_EQ(machine.next(), "receive error 111 (1 sent)");
}

}  // namespace
}  // namespace quarn::client
