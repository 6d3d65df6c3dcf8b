// Sending a request and waiting for its reply, as a machine without time, sockets or texts of its own. Its
// owner asks what to do next, does it, and tells what happened:
//
//     Exchange exchange(request, {.tries = 3, .timeout = 5s});
//     while (true) {
//         const Action action = exchange.next(now());
//         if (const auto* send = std::get_if<SendRequest>(&action)) { ... send->datagram ... }
//         else if (const auto* wait = std::get_if<WaitUntil>(&action)) {
//             exchange.handle(transport.receive(wait->time), now());
//         } else if (const auto* done = std::get_if<Done>(&action)) { return done->result; }
//     }
//
// `run_exchange` is this loop. Each retransmission has the same bytes (RFC 5080, section 2.2.1: the
// Identifier of a retransmission does not change), so that a late reply to an earlier one counts too.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <variant>

#include "quarn/client/request.h"
#include "quarn/client/transport.h"
#include "quarn/utils/bytes.h"

namespace quarn::client {

/// Why a packet is not the reply, from the least telling reason to the most.
enum class Mismatch {
    WrongSource,      ///< it came from another address than the server's
    Malformed,        ///< it is no RADIUS packet
    WrongIdentifier,  ///< it answers another request
    NotAuthentic      ///< it seems to answer this request, but is not signed for it
};

/// Looks at a packet that arrived: nothing when it is the reply, else the reason why not.
using Judge = std::function<std::optional<Mismatch>(const ReceivedPacket& packet)>;

/// The judge that looks at the header alone: a packet is `Malformed` when it has fewer than 20 bytes, and of
/// `WrongIdentifier` when that is not the request's. `decode_reply` checks Length and signatures afterwards.
///
/// Caution: this judge does not look at the sender. On a socket that is not connected, anybody's packet with
/// the right Identifier ends the exchange; give a judge there that compares `packet.source` with the server's
/// address.
Judge judge_by_identifier(const EncodedRequest& request);

/// How an exchange treats a packet that is not the reply, and an error. An error of sending always ends the
/// exchange. `EndAfterGrace` and `WaitFullTime` wait on after an error that says nothing of the server:
/// EINTR, EAGAIN, and EMSGSIZE reported by the network.
enum class Policy {
    /// The try has failed, and the next one is made at once. An error fails the try in the same way.
    NextTry,

    /// The first such packet ends the exchange after a short grace, in which the reply may still come. An
    /// error ends the exchange at once.
    EndAfterGrace,

    /// Such packets are discarded silently until the time is up, as RFC 2865, section 3 wants of a NAS. An
    /// error ends the exchange at once.
    WaitFullTime
};

/// How an exchange is made.
struct ExchangeOptions {
    int tries = 3;  ///< how often the request is sent at most; none for 0 and less
    Duration timeout = std::chrono::seconds(5);      ///< how long a try waits; none when negative
    Policy policy = Policy::NextTry;                 ///< what to do about packets that are not the reply
    Duration grace = std::chrono::milliseconds(50);  ///< for `Policy::EndAfterGrace`
    Duration already_spent = Duration::zero();  ///< of the first try's time, on resolving the server, say
};

/// A packet that is not the reply.
struct UnacceptablePacket {
    ReceivedPacket packet;  ///< as it arrived
    Mismatch mismatch;      ///< what the judge said of it

    bool operator==(const UnacceptablePacket&) const = default;
};

/// The reply came.
struct Answered {
    ReceivedPacket packet;  ///< the reply, which nobody but the judge has looked at
    Duration round_trip;    ///< since the request was last sent; too short for a late reply to an earlier try

    bool operator==(const Answered&) const = default;
};

/// All tries are used up, and nothing came that could be shown.
struct Unanswered {
    bool operator==(const Unanswered&) const = default;
};

/// How the exchange ended. When packets came and none was the reply, the outcome is the most telling of them
/// (the first of several), not `Unanswered`. A `TransportError` is the one that ended the exchange; errors
/// that only failed a try are not kept.
using Outcome = std::variant<Unanswered, Answered, UnacceptablePacket, TransportError, Closed>;

/// The end of an exchange.
struct ExchangeResult {
    Outcome outcome;  ///< the reply, or why there is none
    int sends = 0;    ///< how often the request was given to the transport

    bool operator==(const ExchangeResult&) const = default;
};

/// To do: send these bytes, the same each time. Valid as long as the exchange is.
struct SendRequest {
    utils::byte_span datagram;  ///< the whole request
};

/// To do: wait for a packet or an error, until this time at the latest.
struct WaitUntil {
    TimePoint time;  ///< `TimePoint::max` stands for ever

    bool operator==(const WaitUntil&) const = default;
};

/// To note: the try has ended without the reply. The next one, or the end, follows.
struct TryFailed {
    int number;                                                         ///< of the try, from 1 on
    std::variant<TimedOut, UnacceptablePacket, TransportError> reason;  ///< what ended the try

    bool operator==(const TryFailed&) const = default;
};

/// The end. Whoever asks again gets the same again.
struct Done {
    ExchangeResult result;  ///< how it ended
};

/// The owner's next step.
using Action = std::variant<SendRequest, WaitUntil, TryFailed, Done>;

/// One request and the wait for its reply.
class Exchange {
  public:
    /// Copies the request. Without a judge, `judge_by_identifier` judges.
    explicit Exchange(const EncodedRequest& request, const ExchangeOptions& options = {}, Judge judge = {});

    /// The next step at this time. A wait is repeated until it is over; each sending is given once. `Done`
    /// comes after at most `tries` sendings, provided that time goes on and every wait ends.
    Action next(TimePoint now);

    /// Takes an event. `TimedOut` changes nothing: `next` looks at the time. Events that come before the
    /// request was sent, between two tries or after the end are ignored.
    void handle(Event event, TimePoint now);

  private:
    enum class State { BeforeTry, Sent, Waiting, TryFailed, Done };

    bool is_waiting() const { return state_ == State::Sent || state_ == State::Waiting; }
    TimePoint end_of_wait() const { return grace_end_.value_or(deadline_); }

    Action start_try(TimePoint now);
    void give_up_when_time_is_up(TimePoint now);

    void take(ReceivedPacket packet, TimePoint now);
    void take(const TransportError& error);
    void fail_try(decltype(TryFailed::reason) reason);
    void finish(Outcome outcome);
    void finish_without_reply();

    utils::Bytes datagram_;
    ExchangeOptions options_;
    Judge judge_;

    State state_ = State::BeforeTry;
    int sends_ = 0;
    TimePoint sent_at_;
    TimePoint deadline_;
    std::optional<TimePoint> grace_end_;
    std::optional<UnacceptablePacket> most_telling_;
    std::optional<TryFailed> failure_;
    ExchangeResult result_;
};

}  // namespace quarn::client
