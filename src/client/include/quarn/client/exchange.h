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
/// `WrongIdentifier` when that is not the request's. It leaves Length and signatures to whoever decodes.
Judge judge_by_identifier(const EncodedRequest& request);

/// What to do about a packet that is not the reply, and about errors.
enum class Policy {
    /// The try has failed, and the next one is made at once. Errors of any kind, but for sending, do the
    /// same.
    NextTry,

    /// The first such packet ends the exchange after a short grace, in which the reply may still come. An
    /// error
    /// ends it at once.
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
};

/// A packet that is not the reply.
struct UnacceptablePacket {
    ReceivedPacket packet;  ///< as it arrived
    Mismatch mismatch;      ///< what the judge said of it

    /// Member by member.
    bool operator==(const UnacceptablePacket&) const = default;
};

/// The reply came.
struct Answered {
    ReceivedPacket packet;  ///< the reply, which nobody but the judge has looked at
    Duration round_trip;    ///< since the request was last sent; too short for a late reply to an earlier try

    /// Member by member.
    bool operator==(const Answered&) const = default;
};

/// All tries are used up, and nothing came that could be shown.
struct Unanswered {
    /// Member by member.
    bool operator==(const Unanswered&) const = default;
};

/// How the exchange ended. Instead of `Unanswered`, the most telling of the packets that were not the reply,
/// the first of several. A `TransportError` is one that ended the exchange; those that only failed a try are
/// not kept.
using Outcome = std::variant<Unanswered, Answered, UnacceptablePacket, TransportError, Closed>;

/// The end of an exchange.
struct ExchangeResult {
    Outcome outcome;  ///< what came of it
    int sends = 0;    ///< how often the request was given to the transport

    /// Member by member.
    bool operator==(const ExchangeResult&) const = default;
};

/// To do: send these bytes, the same each time. Valid as long as the exchange is.
struct SendRequest {
    utils::byte_span datagram;  ///< the whole request
};

/// To do: wait for a packet or an error, until this time at the latest.
struct WaitUntil {
    TimePoint time;  ///< `TimePoint::max` stands for ever

    /// Member by member.
    bool operator==(const WaitUntil&) const = default;
};

/// To note: the try has ended without the reply. The next one, or the end, follows.
struct TryFailed {
    int number;                                                         ///< of the try, from 1 on
    std::variant<TimedOut, UnacceptablePacket, TransportError> reason;  ///< what ended the try

    /// Member by member.
    bool operator==(const TryFailed&) const = default;
};

/// The end. Whoever asks again gets the same again.
struct Done {
    ExchangeResult result;  ///< how it ended
};

/// What the owner has to do.
using Action = std::variant<SendRequest, WaitUntil, TryFailed, Done>;

/// One request and the wait for its reply.
class Exchange {
  public:
    /// Copies the request. Without a judge, `judge_by_identifier` judges.
    explicit Exchange(const EncodedRequest& request, const ExchangeOptions& options = {}, Judge judge = {});

    /// What to do at this time. Asked again before it was done, a wait comes again, but sending does not.
    /// Ends after at most `tries` times to send when time goes on and every wait ends.
    Action next(TimePoint now);

    /// Takes what happened. `TimedOut` only makes the owner ask `next`. Events that come before the request
    /// was sent, between two tries or after the end are ignored.
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
