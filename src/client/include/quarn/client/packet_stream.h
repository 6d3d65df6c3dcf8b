// Packets out of a stream of bytes (RFC 6613, section 2.6), cut by their Length fields.
//
//     PacketStream stream;
//     stream.append(received);
//     while (const auto packet = stream.next()) { ... *packet ... }
//     if (stream.is_malformed()) { close the connection; stream.rest() is what cannot be cut }
#pragma once

#include <cstddef>
#include <optional>

#include "quarn/utils/bytes.h"

namespace quarn::client {

/// The largest packet (RFC 2865, section 3), and the most that a stream may announce (RFC 6613, section 2.6).
inline constexpr std::size_t max_packet_size = 4096;

/// Collects bytes and gives whole packets. Holds what was appended and not yet taken, and nothing else: an
/// owner who takes what there is before it appends more, at most `max_packet_size` at a time, bounds the
/// memory to twice that.
class PacketStream {
  public:
    /// Adds bytes to the end. Ignored once the stream is malformed.
    void append(utils::byte_span bytes);

    /// The next packet; nothing when there is not a whole one, or the stream is malformed. The stream becomes
    /// malformed at a Length below 20 or above 4096.
    std::optional<utils::Bytes> next();

    /// Whether a Length was met that no packet can have. There is no way on: the connection has to be closed.
    bool is_malformed() const { return is_malformed_; }

    /// The bytes that were received and are not yet part of a whole packet.
    utils::byte_span rest() const;

  private:
    utils::Bytes bytes_;
    std::size_t taken_ = 0;  // bytes at the front that were given out already
    bool is_malformed_ = false;
};

}  // namespace quarn::client
