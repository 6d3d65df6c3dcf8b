#include "testing/packet_forge.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

#include "crypto/digest.h"
#include "quarn/radius/packet_code.h"
#include "quarn/radius/wire_format.h"
#include "testing/every_kind.h"

namespace quarn::fuzz {

namespace {

using subscriber::radius::Authenticator;
using subscriber::radius::ZERO16;
namespace radius = subscriber::radius;

constexpr std::array<std::uint8_t, 15> packet_codes = {1, 2, 3, 4, 5, 11, 12, 40, 41, 42, 43, 44, 45, 6, 255};

void append(Bytes& bytes, byte_span more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

void write_length(Bytes& packet) {
    packet[radius::length_offset] = static_cast<std::uint8_t>(packet.size() >> 8);
    packet[radius::length_offset + 1] = static_cast<std::uint8_t>(packet.size());
}

}  // namespace

void PacketForge::append_number(Bytes& bytes, std::uint64_t number, std::size_t size) {
    for (std::size_t i = size; i > 0; --i) {
        bytes.push_back(static_cast<std::uint8_t>(number >> 8 * (i - 1)));
    }
}

/// What to write where `right` belongs, in a field of `size` bytes.
std::uint32_t PacketForge::length(std::size_t right, std::size_t size) {
    const auto number = static_cast<std::uint32_t>(right);
    switch (below(40)) {
        case 0:
            return number + 1;
        case 1:
            return number - 1;
        case 2:
            return 0;
        case 3:
            return static_cast<std::uint32_t>(~std::uint64_t{0} >> (64 - 8 * size));
        default:
            return number;
    }
}

std::uint32_t PacketForge::code() {
    switch (below(8)) {
        case 0:
            return byte();
        case 1:
        case 2:
            return tlv + static_cast<std::uint32_t>(below(3));
        case 3:
        case 4:
            return hidden_as_user_password_text + static_cast<std::uint32_t>(below(9));
        case 5:
            return first_tagged_type + static_cast<std::uint32_t>(below(type_names.size()));
        default:
            return first_type + static_cast<std::uint32_t>(below(type_names.size()));
    }
}

/// Bytes of a size that means something to some type, or of any size.
Bytes PacketForge::value(std::size_t room) {
    constexpr std::array<std::size_t, 16> sizes = {0, 1, 2, 3, 4, 5, 6, 8, 9, 16, 17, 18, 19, 32, 34, 35};
    const std::size_t size = one_in(12) ? room : one_in(6) ? below(room + 1) : any_of(sizes);
    Bytes bytes(std::min(size, room));
    const bool printable = one_in(3);
    for (std::uint8_t& octet : bytes) {
        octet = printable   ? static_cast<std::uint8_t>(' ' + below(95))
                : one_in(3) ? std::uint8_t{0}
                : one_in(4) ? std::uint8_t{0xff}
                            : byte();
    }
    return bytes;
}

// NOLINTNEXTLINE(misc-no-recursion): as deep as its caller asks for
Bytes PacketForge::tlv_list(std::size_t room, std::size_t depth) {
    Bytes list;
    for (std::size_t i = 1 + below(4); i > 0 && list.size() + radius::attribute_header_size <= room; --i) {
        const std::size_t inside = std::min(room - list.size(), radius::max_attribute_size) - 2;
        const std::uint32_t type = depth > 0 && one_in(3) ? std::uint32_t{tlv} : code();
        const Bytes content = type == tlv && depth > 0 ? tlv_list(inside, depth - 1) : value(inside);
        list.push_back(static_cast<std::uint8_t>(type));
        append_number(list, length(content.size() + 2, 1), 1);
        append(list, content);
    }
    if (one_in(16) && list.size() < room) {
        list.push_back(byte());  // a byte that no TLV claims
    }
    return list;
}

/// TLVs of code 1 inside each other, until there is no room.
Bytes PacketForge::bottomless(std::size_t room) {
    const std::size_t levels = std::min(one_in(2) ? room / 2 : below(room / 2 + 1), tlv_levels);
    Bytes nested;
    for (std::size_t level = 0; level < levels; ++level) {
        nested.push_back(1);
        append_number(nested, length(2 * (levels - level), 1), 1);
    }
    return nested;
}

/// What suits an attribute of this code.
Bytes PacketForge::leaf(std::uint32_t code, std::size_t room) {
    switch (code) {
        case tlv:
        case concat_tlv:
            return tlv_list(room, below(4));
        case bottomless_tlv:
            return bottomless(std::min<std::size_t>(room, 2 * tlv_levels));
        default:
            return value(room);
    }
}

/// One attribute; a value that is too long for it goes into several.
void PacketForge::append_header(std::vector<Bytes>& attributes, std::uint32_t type, Bytes value) {
    for (byte_span rest = value;;) {
        const byte_span piece = rest.first(std::min(rest.size(), radius::max_value_size));
        rest = rest.subspan(piece.size());
        Bytes attribute = {static_cast<std::uint8_t>(type)};
        // A wrong length here ends the packet for its reader: that is to be rare.
        append_number(attribute, one_in(16) ? length(piece.size() + 2, 1) : piece.size() + 2, 1);
        append(attribute, piece);
        attributes.push_back(std::move(attribute));
        if (rest.empty()) {
            return;
        }
    }
}

void PacketForge::append_plain(std::vector<Bytes>& attributes) {
    constexpr std::array<std::uint8_t, 14> well_known = {1, 2, 4, 5, 6, 18, 24, 25, 64, 69, 79, 79, 80, 243};
    const std::uint32_t type = one_in(3) ? any_of(well_known) : code();
    if (type == radius::message_authenticator_type) {
        append_header(attributes, type, Bytes(one_in(8) ? below(20) : 16));
        return;
    }
    append_header(attributes, type, leaf(type, one_in(4) ? 600 : radius::max_value_size));
}

void PacketForge::append_vendor_specific(std::vector<Bytes>& attributes) {
    Vendor vendor = one_in(8) ? Vendor{unknown_vendor, 1, 1, false} : any_of(vendors);
    if (one_in(16)) {
        vendor.continuation = !vendor.continuation;  // as a vendor whose format one has wrong
    }
    const std::size_t header = vendor.type_size + vendor.length_size + (vendor.continuation ? 1U : 0U);
    const std::size_t room = radius::max_value_size - radius::vendor_id_size - header;
    const std::uint32_t type = code();
    const Bytes whole = leaf(type, vendor.continuation && one_in(2) ? 700 : room);

    Bytes content;
    append_number(content, vendor.id, radius::vendor_id_size);
    for (byte_span rest = whole;;) {
        // Fragments of any size: full ones, and small ones of which several share an attribute.
        const std::size_t size = std::min(rest.size(), one_in(3) ? 1 + below(room) : room);
        const byte_span piece = rest.first(size);
        rest = rest.subspan(size);
        if (content.size() + header + size > radius::max_value_size) {
            append_header(attributes, radius::VSA_TYPE, std::exchange(content, {}));
            append_number(content, vendor.id, radius::vendor_id_size);
        }
        append_number(content, type, vendor.type_size);
        append_number(content, length(header + size, vendor.length_size), vendor.length_size);
        if (vendor.continuation) {
            const bool more = one_in(16) ? one_in(2) : !rest.empty();
            content.push_back(
                static_cast<std::uint8_t>((more ? radius::more_flag : 0) | (one_in(8) ? 1 : 0)));
        }
        append(content, piece);
        if (rest.empty()) {
            break;
        }
    }
    if (one_in(16)) {
        content.resize(below(content.size() + 1));
    }
    append_header(attributes, radius::VSA_TYPE, std::move(content));
}

void PacketForge::append_extended(std::vector<Bytes>& attributes) {
    const std::uint8_t type = any_of(extended_types);
    const bool long_form = type == 245 || (type == 246 && one_in(2));
    const bool of_vendor = one_in(3);
    const std::uint32_t extended_code = code();
    const std::size_t header = 1U + (long_form ? 1U : 0U) + (of_vendor ? 5U : 0U);
    const std::size_t room = radius::max_value_size - header;
    const Bytes whole = leaf(extended_code, long_form && one_in(2) ? 700 : room);
    for (byte_span rest = whole;;) {
        const std::size_t size = std::min(rest.size(), one_in(3) ? 1 + below(room) : room);
        const byte_span piece = rest.first(size);
        rest = rest.subspan(size);
        Bytes content = {of_vendor ? std::uint8_t{radius::VSA_TYPE}
                                   : static_cast<std::uint8_t>(extended_code)};
        if (long_form) {
            const bool more = one_in(16) ? one_in(2) : !rest.empty();
            content.push_back(
                static_cast<std::uint8_t>((more ? radius::more_flag : 0) | (one_in(8) ? 1 : 0)));
        }
        if (of_vendor) {
            append_number(content, one_in(4) ? unknown_vendor : extended_vendor, radius::vendor_id_size);
            content.push_back(static_cast<std::uint8_t>(extended_code));
        }
        append(content, piece);
        if (one_in(32)) {
            content.resize(below(header + 1));
        }
        append_header(attributes, type, std::move(content));
        if (rest.empty()) {
            return;
        }
    }
}

std::vector<Bytes> PacketForge::some_attributes() {
    std::vector<Bytes> attributes;
    switch (below(3)) {
        case 0:
            append_plain(attributes);
            break;
        case 1:
            append_vendor_specific(attributes);
            break;
        default:
            append_extended(attributes);
    }
    return attributes;
}

Bytes PacketForge::header() {
    Bytes bytes = {any_of(packet_codes), byte(), 0, 0};
    const bool zero = one_in(8);
    for (std::size_t i = 0; i < radius::authenticator_size; ++i) {
        bytes.push_back(zero ? std::uint8_t{0} : byte());
    }
    return bytes;
}

Bytes PacketForge::packet(std::size_t limit) {
    Parts parts;
    parts.header = header();
    for (std::size_t i = below(one_in(8) ? 60 : 8); i > 0; --i) {
        std::vector<Bytes> more = some_attributes();
        std::move(more.begin(), more.end(), std::back_inserter(parts.attributes));
    }
    return put_together(parts, limit);
}

PacketForge::Parts PacketForge::take_apart(byte_span packet) {
    Parts parts;
    const std::size_t header = std::min(packet.size(), radius::header_size);
    parts.header.assign(packet.begin(), packet.begin() + static_cast<std::ptrdiff_t>(header));
    parts.header.resize(radius::header_size);
    byte_span rest = packet.subspan(header);
    while (rest.size() >= 2 && rest[1] >= 2 && rest[1] <= rest.size()) {
        parts.attributes.emplace_back(rest.begin(), rest.begin() + rest[1]);
        rest = rest.subspan(rest[1]);
    }
    parts.rest.assign(rest.begin(), rest.end());
    return parts;
}

Bytes PacketForge::put_together(const Parts& parts, std::size_t limit) {
    Bytes bytes = parts.header;
    for (const Bytes& attribute : parts.attributes) {
        if (bytes.size() + attribute.size() <= limit) {
            append(bytes, attribute);
        }
    }
    if (bytes.size() + parts.rest.size() <= limit) {
        append(bytes, parts.rest);
    }
    bytes.resize(std::min(bytes.size(), limit));
    if (bytes.size() >= radius::header_size) {
        write_length(bytes);
        if (one_in(3)) {
            sign(bytes);
        } else if (one_in(16)) {
            bytes[radius::length_offset + below(2)] = one_in(2) ? byte() : std::uint8_t{0};
        }
    }
    return bytes;
}

Bytes PacketForge::mutated(byte_span packet, std::size_t limit) {
    Parts parts = take_apart(packet);
    for (std::size_t i = 1 + below(4); i > 0; --i) {
        change(parts);
    }
    return put_together(parts, limit);
}

Bytes PacketForge::crossed(byte_span first, byte_span second, std::size_t limit) {
    Parts parts = take_apart(first);
    const Parts others = take_apart(second);
    std::vector<Bytes> mixed;
    auto mine = parts.attributes.begin();
    auto other = others.attributes.begin();
    while (mine != parts.attributes.end() || other != others.attributes.end()) {
        const bool take_mine =
            other == others.attributes.end() || (mine != parts.attributes.end() && one_in(2));
        mixed.push_back(take_mine ? *mine++ : *other++);
        if (one_in(4)) {
            mixed.pop_back();
        }
    }
    parts.attributes = std::move(mixed);
    return put_together(parts, limit);
}

void PacketForge::change(Parts& parts) {
    std::vector<Bytes>& attributes = parts.attributes;
    const auto place = [&](std::size_t limit) { return static_cast<std::ptrdiff_t>(below(limit)); };
    if (attributes.empty() || one_in(4)) {
        std::vector<Bytes> more = some_attributes();
        attributes.insert(attributes.begin() + place(attributes.size() + 1), more.begin(), more.end());
        return;
    }
    const std::size_t count = attributes.size();
    switch (below(8)) {
        case 0:
            attributes.erase(attributes.begin() + place(count));
            break;
        case 1: {
            const Bytes copy = attributes[below(count)];
            attributes.insert(attributes.begin() + place(count + 1), copy);
            break;
        }
        case 2:
            std::swap(attributes[below(count)], attributes[below(count)]);
            break;
        case 3:
            change_header(parts.header);
            break;
        case 4:
            parts.rest = one_in(2) ? Bytes() : value(8);
            break;
        default:
            change_attribute(attributes[below(count)]);
    }
}

void PacketForge::change_header(Bytes& header) {
    switch (below(4)) {
        case 0:
            header[1] = byte();
            break;
        case 1:
            std::fill(header.begin() + radius::authenticator_offset, header.end(), std::uint8_t{0});
            break;
        default:
            header[0] = any_of(packet_codes);
    }
}

void PacketForge::change_attribute(Bytes& attribute) {
    constexpr std::size_t header = radius::attribute_header_size;
    Bytes content(attribute.begin() + header, attribute.end());
    switch (below(7)) {
        case 0:  // wrapped in a TLV
            content.insert(content.begin(),
                           {static_cast<std::uint8_t>(one_in(2) ? std::uint32_t{tlv} : code()),
                            static_cast<std::uint8_t>(length(content.size() + 2, 1))});
            break;
        case 1:  // the end cut off
            content.resize(below(content.size() + 1));
            break;
        case 2:
            append(content, value(radius::max_value_size));
            break;
        case 3:  // another type
            attribute[0] = static_cast<std::uint8_t>(code());
            break;
        case 4:  // more to follow, or no more
            if (content.size() > 1) {
                content[below(std::min<std::size_t>(content.size(), 10))] ^= radius::more_flag;
            }
            break;
        default:  // a length or a code inside, most likely one of the first bytes
            if (!content.empty()) {
                const std::size_t place =
                    below(one_in(2) ? content.size() : std::min<std::size_t>(12, content.size()));
                content[place] = static_cast<std::uint8_t>(one_in(2) ? length(content.size() - place, 1)
                                                                     : length(content[place], 1));
            }
    }
    content.resize(std::min(content.size(), radius::max_value_size));
    const auto right = content.size() + header;
    attribute.resize(header);
    attribute[1] = static_cast<std::uint8_t>(one_in(8) ? length(right, 1) : right);
    append(attribute, content);
}

void sign(Bytes& packet) {
    if (packet.size() < radius::header_size) {
        return;
    }
    const std::uint8_t code = packet[0];
    const bool zero = radius::is_zero_authenticator_code(code);
    const bool is_signed = zero || radius::is_response_code(code);
    const Authenticator& signed_with = zero ? ZERO16 : request_authenticator;
    const auto authenticator = packet.begin() + radius::authenticator_offset;
    if (is_signed) {
        std::copy(signed_with.begin(), signed_with.end(), authenticator);
    }
    for (std::size_t at = radius::header_size;
         at + 2 <= packet.size() && packet[at + 1] >= 2 && packet[at + 1] <= packet.size() - at;
         at += packet[at + 1]) {
        if (packet[at] == radius::message_authenticator_type &&
            packet[at + 1] == radius::message_authenticator_size) {
            const auto digest_place = packet.begin() + static_cast<std::ptrdiff_t>(at + 2);
            std::fill_n(digest_place, ZERO16.size(), std::uint8_t{0});
            const Authenticator digest = radius::hmac_md5_spans(shared_secret, {packet});
            std::copy(digest.begin(), digest.end(), digest_place);
            break;
        }
    }
    if (is_signed) {
        const Authenticator digest = radius::md5_spans({packet, utils::as_bytes(shared_secret)});
        std::copy(digest.begin(), digest.end(), authenticator);
    }
}

}  // namespace quarn::fuzz
