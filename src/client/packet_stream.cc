#include "quarn/client/packet_stream.h"

#include "quarn/client/request.h"
#include "quarn/net/buffer_reader.h"

namespace quarn::client {

namespace {

constexpr std::size_t end_of_length = 4;  // Code, Identifier, and Length of two bytes

}  // namespace

void PacketStream::append(utils::byte_span bytes) {
    if (is_malformed_) {
        return;
    }
    bytes_.erase(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(taken_));
    taken_ = 0;
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
}

std::optional<utils::Bytes> PacketStream::next() {
    if (is_malformed_ || rest().size() < end_of_length) {
        return std::nullopt;
    }
    net::BufferView reader(rest());
    reader.read_u16();  // Code and Identifier
    const std::size_t length = reader.read_u16();
    if (length < min_packet_size || length > max_packet_size) {
        is_malformed_ = true;
        return std::nullopt;
    }
    if (rest().size() < length) {
        return std::nullopt;
    }
    const utils::byte_span packet = rest().first(length);
    taken_ += length;
    return utils::Bytes(packet.begin(), packet.end());
}

utils::byte_span PacketStream::rest() const {
    return utils::byte_span(bytes_).subspan(taken_);
}

}  // namespace quarn::client
