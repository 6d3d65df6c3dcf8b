// How packets travel to a server and back.
//
// A transport deals in whole packets: what `send` takes arrives as one packet or not at all, and what
// `receive` gives is one packet. UDP has a transport (`udp_transport.h`); a test hands in one of its own:
//
//     class Silence : public Transport {
//       public:
//         std::optional<TransportError> send(utils::byte_span) override { return std::nullopt; }
//         Event receive(TimePoint) override { return TimedOut{}; }
//         ...
//     };
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <variant>

#include "quarn/net/address.h"
#include "quarn/utils/bytes.h"

namespace quarn::client {

using TimePoint = std::chrono::steady_clock::time_point;  ///< a time that no change of the calendar moves
using Duration = std::chrono::steady_clock::duration;     ///< a span of such time, in nanoseconds

/// Tells the time: `std::chrono::steady_clock::now` or, in a test, whatever the test wants it to be.
using Clock = std::function<TimePoint()>;

/// A packet that arrived, and where it came from.
struct ReceivedPacket {
    utils::Bytes bytes;   ///< all of it
    net::Address source;  ///< the sender's

    bool operator==(const ReceivedPacket&) const = default;
};

/// No packet came before the deadline.
struct TimedOut {
    bool operator==(const TimedOut&) const = default;
};

/// The other side, or a failure, has ended the connection: no packet will come any more.
struct Closed {
    std::size_t unfinished = 0;  ///< bytes received of a packet that was never finished

    bool operator==(const Closed&) const = default;
};

/// Where an error comes from.
enum class ErrorOrigin {
    Send,     ///< sending failed
    Wait,     ///< waiting for a packet failed
    Receive,  ///< receiving failed; a connected UDP socket tells of a refused port so
    Network   ///< the network reported a packet as undeliverable (ICMP)
};

/// The network's report of an undeliverable packet.
struct IcmpReport {
    std::uint8_t type = 0;                      ///< of the ICMP or ICMPv6 message
    std::uint8_t code = 0;                      ///< the same
    std::optional<net::Address> reporter = {};  ///< who sent the message, with port 0

    bool operator==(const IcmpReport&) const = default;
};

/// An error on the way.
struct TransportError {
    ErrorOrigin origin = ErrorOrigin::Send;  ///< which call, or the network
    int number = 0;                          ///< the errno value
    std::optional<IcmpReport> icmp = {};     ///< for `ErrorOrigin::Network`

    bool operator==(const TransportError&) const = default;
};

/// The result of waiting.
using Event = std::variant<TimedOut, ReceivedPacket, TransportError, Closed>;

/// Carries packets to one server and back.
class Transport {
  public:
    Transport() = default;
    Transport(const Transport&) = delete;
    Transport& operator=(const Transport&) = delete;
    virtual ~Transport() = default;

    /// Sends one packet. Returns the error, nothing on success.
    virtual std::optional<TransportError> send(utils::byte_span packet) = 0;

    /// Waits for the next event, until the deadline at the latest. A deadline that has passed still gives
    /// what has arrived already. May give `TimedOut` before the deadline: whoever asked asks again.
    virtual Event receive(TimePoint deadline) = 0;

    /// This end; nothing when it is not known.
    virtual std::optional<net::Address> local_address() const = 0;

    /// The server.
    virtual net::Address remote_address() const = 0;

  protected:
    Transport(Transport&&) = default;             ///< for transports that can be moved
    Transport& operator=(Transport&&) = default;  ///< the same
};

/// What to wait for with `poll`, so that several transports are waited for at once.
struct Interest {
    int descriptor = -1;                    ///< still owned by the transport; negative: nothing
    bool write = false;                     ///< until bytes can be written, too: to connect, say
    std::optional<TimePoint> wake_up = {};  ///< until this time at the latest, for timers of the transport
};

/// A transport that can be waited for beside others. When the interest is met, `receive` with a deadline that
/// has passed does the work and gives what there is.
class PollableTransport : public Transport {
  public:
    /// What to wait for now.
    virtual Interest interest() const = 0;

    /// Whether packets arrive in order on one connection: nothing is sent twice then.
    virtual bool is_stream() const = 0;

    /// Whether there is a connection; false for a transport that has none, as UDP.
    virtual bool is_connected() const = 0;
};

}  // namespace quarn::client
