// A stream is cut in the same way however it arrives: whole, or in pieces as the input says. Nothing but
// whole packets of a possible size comes out, and every byte comes out once.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "quarn/client/packet_stream.h"
#include "testing/check.h"

namespace {

using namespace quarn;
using client::PacketStream;
using fuzz::require;
using utils::byte_span;
using utils::Bytes;

struct Cut {
    std::vector<Bytes> packets;
    Bytes rest;
    bool is_malformed = false;

    bool operator==(const Cut&) const = default;
};

/// The stream, appended in pieces of these sizes over and over; a size of 0 stands for all that is left.
Cut cut(byte_span stream, const std::vector<std::size_t>& sizes) {
    PacketStream packets;
    Cut result;
    for (std::size_t piece = 0; !stream.empty() && !packets.is_malformed(); ++piece) {
        const std::size_t wanted = sizes[piece % sizes.size()];
        const std::size_t size = wanted == 0 ? stream.size() : std::min(wanted, stream.size());
        packets.append(stream.first(size));
        stream = stream.subspan(size);
        while (auto packet = packets.next()) {
            require(packet->size() >= 20 && packet->size() <= client::max_packet_size,
                    "a packet has a possible size");
            require(static_cast<std::size_t>((*packet)[2] << 8 | (*packet)[3]) == packet->size(),
                    "a packet has the size that its Length says");
            result.packets.push_back(*std::move(packet));
        }
        require(packets.is_malformed() || packets.rest().size() < client::max_packet_size,
                "less than a packet is kept");
    }
    result.is_malformed = packets.is_malformed();
    result.rest.assign(packets.rest().begin(), packets.rest().end());
    return result;
}

Bytes joined(const Cut& result) {
    Bytes bytes;
    for (const Bytes& packet : result.packets) {
        bytes.insert(bytes.end(), packet.begin(), packet.end());
    }
    bytes.insert(bytes.end(), result.rest.begin(), result.rest.end());
    return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // The first four bytes are the sizes of the pieces, the others the stream.
    const std::size_t sizes = std::min<std::size_t>(size, 4);
    const byte_span stream(data + sizes, size - sizes);
    const Cut whole = cut(stream, {0});
    require(std::ranges::equal(joined(whole), stream), "every byte comes out once");
    if (sizes > 0) {
        const Cut pieces = cut(stream, {data, data + sizes});
        require(pieces.packets == whole.packets, "pieces make no difference");
        require(pieces.is_malformed == whole.is_malformed, "nor does a fault");
        if (!whole.is_malformed) {
            require(pieces.rest == whole.rest, "nor does what is left");
        }
    }
    return 0;
}
