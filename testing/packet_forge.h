// Datagrams as an attacker who knows the format would build them: nested TLVs, vendors' sub-attributes,
// fragments and continuation bytes, with lengths that are right, off by one, zero and as large as can be.
//
//     PacketForge forge(seed);
//     Bytes packet = forge.packet(4096);         // the same for the same seed
//     packet = forge.mutated(packet, 4096);
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <string_view>
#include <vector>

#include "quarn/radius/authenticator.h"

namespace quarn::fuzz {

using subscriber::radius::byte_span;
using subscriber::radius::Bytes;

/// A random source and what is made with it, over the codes of `dictionary_of_every_kind`. Nothing else is
/// random: one seed gives the same packets in every build.
class PacketForge {
  public:
    explicit PacketForge(std::uint32_t seed) : random_(seed) {}

    /// A packet of at most `limit` bytes, from 20 on.
    Bytes packet(std::size_t limit);

    /// The packet with one to four changes to its structure, of at most `limit` bytes. Any bytes will do as a
    /// packet: what follows the last whole attribute is kept or dropped as one piece.
    Bytes mutated(byte_span packet, std::size_t limit);

    /// The header of one packet and attributes of both, in their order.
    Bytes crossed(byte_span first, byte_span second, std::size_t limit);

  private:
    /// A datagram as far as its top-level attributes go.
    struct Parts {
        Bytes header;
        std::vector<Bytes> attributes;
        Bytes rest;
    };

    static Parts take_apart(byte_span packet);
    Bytes put_together(const Parts& parts, std::size_t limit);

    std::size_t below(std::size_t limit) { return random_() % limit; }
    bool one_in(std::size_t chances) { return below(chances) == 0; }
    std::uint8_t byte() { return static_cast<std::uint8_t>(random_()); }

    template <typename Table>
    auto any_of(const Table& table) {
        return *(std::begin(table) + below(std::size(table)));
    }

    Bytes value(std::size_t room);
    std::uint32_t code();
    std::uint32_t length(std::size_t right, std::size_t size);
    void append_number(Bytes& bytes, std::uint64_t number, std::size_t size);

    Bytes tlv_list(std::size_t room, std::size_t depth);
    Bytes bottomless(std::size_t room);
    Bytes leaf(std::uint32_t code, std::size_t room);
    void append_header(std::vector<Bytes>& attributes, std::uint32_t type, Bytes value);
    void append_plain(std::vector<Bytes>& attributes);
    void append_vendor_specific(std::vector<Bytes>& attributes);
    void append_extended(std::vector<Bytes>& attributes);
    std::vector<Bytes> some_attributes();

    Bytes header();
    void change(Parts& parts);
    void change_attribute(Bytes& attribute);
    void change_header(Bytes& header);

    std::mt19937 random_;
};

/// Writes the digests that `shared_secret` and `request_authenticator` ask for into a packet of the size that
/// its Length says: its first Message-Authenticator of 16 bytes, and the Authenticator of a reply or of a
/// request whose Authenticator is a digest. Leaves anything else alone.
void sign(Bytes& packet);

}  // namespace quarn::fuzz
