// Whatever happens to an exchange, it sends no more often than it may, takes nothing for the reply that its
// judge does not, and ends. The input says what happens.
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <utility>
#include <variant>

#include "quarn/client/exchange.h"
#include "testing/byte_input.h"
#include "testing/check.h"

namespace {

using namespace quarn;
using namespace quarn::client;
using fuzz::ByteInput;
using fuzz::require;
using utils::Bytes;

constexpr std::uint8_t identifier = 7;

EncodedRequest request() {
    Bytes bytes(20);
    bytes[1] = identifier;
    return EncodedRequest(bytes);
}

Duration time_from(ByteInput& input) {
    using namespace std::chrono_literals;
    const std::uint8_t number = input.byte();
    switch (number) {
        case 255:
            return Duration::max();
        case 254:
            return Duration::min();
        case 253:
            return -1ns;
        default:
            return std::chrono::milliseconds(number);
    }
}

ExchangeOptions options_from(ByteInput& input) {
    constexpr int odd_numbers[] = {0, -1, std::numeric_limits<int>::min()};
    constexpr Policy policies[] = {Policy::NextTry, Policy::EndAfterGrace, Policy::WaitFullTime};
    const std::uint8_t tries = input.byte();
    ExchangeOptions options;
    options.tries = tries < 250 ? tries : input.any_of(odd_numbers);
    options.timeout = time_from(input);
    options.policy = input.any_of(policies);
    options.grace = time_from(input);
    return options;
}

/// Judges by the first byte of the packet: any mismatch can be asked for.
std::optional<Mismatch> judge_by_first_byte(const ReceivedPacket& packet) {
    constexpr Mismatch mismatches[] = {Mismatch::WrongSource, Mismatch::Malformed, Mismatch::WrongIdentifier,
                                       Mismatch::NotAuthentic};
    if (packet.bytes.empty() || packet.bytes[0] == 0) {
        return std::nullopt;
    }
    return mismatches[packet.bytes[0] % std::size(mismatches)];
}

Event event_from(ByteInput& input) {
    constexpr ErrorOrigin origins[] = {ErrorOrigin::Send, ErrorOrigin::Wait, ErrorOrigin::Receive,
                                       ErrorOrigin::Network};
    constexpr int numbers[] = {EINTR, EAGAIN, EMSGSIZE, ECONNREFUSED};
    switch (input.byte() % 8) {
        case 0:
            return Closed{};
        case 1:
            return TransportError{input.any_of(origins), input.any_of(numbers)};
        case 2:
        case 3:
            return TimedOut{};
        default: {
            Bytes bytes(input.byte() % 24);
            for (std::uint8_t& byte : bytes) {
                byte = input.byte() % 16;  // often enough the request's Identifier
            }
            return ReceivedPacket{std::move(bytes), net::Address()};
        }
    }
}

/// Follows one exchange, and what may still come of it.
class Watched {
  public:
    explicit Watched(ByteInput input)
        : input_(input),
          options_(options_from(input_)),
          judge_(input_.byte() % 2 == 0 ? judge_by_identifier(request_) : Judge(judge_by_first_byte)),
          exchange_(request_, options_, judge_) {}

    void run() {
        // With nothing left to happen, a try is sending, waiting twice at most, and failing.
        for (std::size_t idle_steps = 0; !done_; idle_steps += input_.is_used_up() ? 1 : 0) {
            require(idle_steps <= 4 * std::size_t{250} + 4, "an exchange ends");
            std::visit([this](const auto& action) { take(action); }, exchange_.next(now_));
        }
        exchange_.handle(event_from(input_), now_);
        const Action again = exchange_.next(now_);
        const auto* const same = std::get_if<Done>(&again);
        require(same != nullptr && same->result == *done_, "the end stays the same");
    }

  private:
    void take(const SendRequest& send) {
        ++sends_;
        require(sends_ <= std::max(0, options_.tries), "no more is sent than may be");
        require(std::ranges::equal(send.datagram, request_.datagram()), "the same bytes are sent");
        is_trying_ = true;
        if (input_.byte() % 4 == 0) {
            handle(event_from(input_));
        }
    }

    void take(const WaitUntil& wait) {
        require(is_trying_, "the reply to a request is waited for");
        if (!input_.is_used_up()) {
            now_ += std::chrono::milliseconds(input_.byte());
            handle(event_from(input_));
        } else if (wait.time == TimePoint::max()) {
            handle(Closed{});
        } else {
            now_ = std::max(now_, wait.time);
        }
    }

    void take(const TryFailed& failure) {
        require(is_trying_ && failure.number == sends_, "each try fails once");
        if (const auto* const packet = std::get_if<UnacceptablePacket>(&failure.reason)) {
            require(judge_(packet->packet) == packet->mismatch, "the judge said why");
        }
        is_trying_ = false;
        if (input_.byte() % 4 == 0) {
            exchange_.handle(event_from(input_), now_);  // between two tries, it is ignored
        }
    }

    void take(const Done& done) {
        done_ = done.result;
        require(done.result.sends == sends_, "the result tells how often was sent");
        const auto* const answer = std::get_if<Answered>(&done.result.outcome);
        require((answer != nullptr) == acceptable_.has_value(),
                "the reply is the end, and there is no other");
        if (answer != nullptr) {
            require(answer->packet == *acceptable_, "the reply is the packet that the judge took");
            require(answer->round_trip >= Duration::zero(), "time goes on");
        }
        if (const auto* const packet = std::get_if<UnacceptablePacket>(&done.result.outcome)) {
            require(judge_(packet->packet) == packet->mismatch, "the judge said why");
            require(packet->mismatch == most_telling_, "the most telling packet stands");
        }
    }

    /// Hands over an event while a try is made, and notes what it means for the result.
    void handle(Event event) {
        if (const auto* const packet = std::get_if<ReceivedPacket>(&event)) {
            if (const auto mismatch = judge_(*packet)) {
                most_telling_ = std::max(most_telling_.value_or(*mismatch), *mismatch);
            } else {
                acceptable_ = *packet;
            }
        }
        exchange_.handle(std::move(event), now_);
    }

    ByteInput input_;
    EncodedRequest request_ = request();
    ExchangeOptions options_;
    Judge judge_;
    Exchange exchange_;
    TimePoint now_;

    int sends_ = 0;
    bool is_trying_ = false;
    std::optional<ReceivedPacket> acceptable_;
    std::optional<Mismatch> most_telling_;
    std::optional<ExchangeResult> done_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Watched(ByteInput({data, size})).run();
    return 0;
}
