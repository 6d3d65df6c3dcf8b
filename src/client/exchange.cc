#include "quarn/client/exchange.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace quarn::client {

namespace {

/// The time so much later, or the last that can be told. A negative span is taken for none.
TimePoint later(TimePoint time, Duration span) {
    const Duration positive = std::max(span, Duration::zero());
    return time > TimePoint::max() - positive ? TimePoint::max() : time + positive;
}

/// What is left of a span after a part of it was spent. A negative part is taken for none.
Duration less(Duration span, Duration spent) {
    return spent > Duration::zero() ? std::max(span, Duration::zero()) - spent : span;
}

/// Errors that say nothing of the server. Waiting goes on: a signal came; a datagram with a wrong checksum is
/// gone; a router wants smaller fragments, which the next try will have.
bool is_passing(const TransportError& error) {
    switch (error.number) {
        case EINTR:
        case EAGAIN:
            return error.origin == ErrorOrigin::Wait || error.origin == ErrorOrigin::Receive;
        case EMSGSIZE:
            return error.origin == ErrorOrigin::Network;
        default:
            return false;
    }
}

}  // namespace

Judge judge_by_identifier(const EncodedRequest& request) {
    return [identifier = request.identifier()](const ReceivedPacket& packet) -> std::optional<Mismatch> {
        if (packet.bytes.size() < min_packet_size) {
            return Mismatch::Malformed;
        }
        if (packet.bytes[1] != identifier) {
            return Mismatch::WrongIdentifier;
        }
        return std::nullopt;
    };
}

Exchange::Exchange(const EncodedRequest& request, const ExchangeOptions& options, Judge judge)
    : datagram_(request.datagram().begin(), request.datagram().end()),
      options_(options),
      judge_(judge ? std::move(judge) : judge_by_identifier(request)) {}

Action Exchange::next(TimePoint now) {
    give_up_when_time_is_up(now);
    switch (state_) {
        case State::BeforeTry:
            return start_try(now);
        case State::Sent:
            // The time to wait begins here, with the request sent. It is waited once even when it is zero.
            deadline_ =
                later(now, sends_ == 1 ? less(options_.timeout, options_.already_spent) : options_.timeout);
            state_ = State::Waiting;
            [[fallthrough]];
        case State::Waiting:
            return WaitUntil{end_of_wait()};
        case State::TryFailed:
            state_ = State::BeforeTry;
            return *std::exchange(failure_, std::nullopt);
        case State::Done:
            break;
    }
    return Done{result_};
}

Action Exchange::start_try(TimePoint now) {
    if (sends_ >= options_.tries) {
        finish_without_reply();
        return Done{result_};
    }
    ++sends_;
    sent_at_ = now;
    state_ = State::Sent;
    return SendRequest{datagram_};
}

void Exchange::give_up_when_time_is_up(TimePoint now) {
    if (state_ != State::Waiting || now < end_of_wait()) {
        return;
    }
    if (grace_end_) {
        finish_without_reply();
    } else {
        fail_try(TimedOut{});
    }
}

void Exchange::handle(Event event, TimePoint now) {
    if (!is_waiting()) {
        return;
    }
    if (auto* const packet = std::get_if<ReceivedPacket>(&event)) {
        take(std::move(*packet), now);
    } else if (const auto* const error = std::get_if<TransportError>(&event)) {
        take(*error);
    } else if (const auto* const closed = std::get_if<Closed>(&event)) {
        finish(*closed);
    }
}

void Exchange::take(ReceivedPacket packet, TimePoint now) {
    const std::optional<Mismatch> mismatch = judge_(packet);
    if (!mismatch) {
        finish(Answered{std::move(packet), now - sent_at_});
        return;
    }
    UnacceptablePacket unacceptable{std::move(packet), *mismatch};
    if (!most_telling_ || unacceptable.mismatch > most_telling_->mismatch) {
        most_telling_ = unacceptable;
    }
    switch (options_.policy) {
        case Policy::NextTry:
            fail_try(std::move(unacceptable));
            break;
        case Policy::EndAfterGrace:
            if (!grace_end_) {
                grace_end_ = later(now, options_.grace);
            }
            break;
        case Policy::WaitFullTime:
            break;
    }
}

void Exchange::take(const TransportError& error) {
    const bool ends_everything = error.origin == ErrorOrigin::Send;
    if (options_.policy == Policy::NextTry && !ends_everything) {
        fail_try(error);
    } else if (ends_everything || !is_passing(error)) {
        finish(error);
    }
}

void Exchange::fail_try(decltype(TryFailed::reason) reason) {
    failure_ = TryFailed{sends_, std::move(reason)};
    state_ = State::TryFailed;
}

void Exchange::finish(Outcome outcome) {
    result_ = {std::move(outcome), sends_};
    state_ = State::Done;
}

void Exchange::finish_without_reply() {
    if (most_telling_) {
        finish(*std::exchange(most_telling_, std::nullopt));
    } else {
        finish(Unanswered{});
    }
}

}  // namespace quarn::client
