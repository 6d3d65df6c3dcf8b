#include "quarn/radius/pkt_dump.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "crypto/digest.h"
#include "quarn/net/buffer_writer.h"
#include "quarn/radius/hiding.h"
#include "quarn/radius/packet_code.h"
#include "quarn/radius/random.h"
#include "quarn/radius/wire_format.h"
#include "wire/container_format.h"

namespace quarn::subscriber::radius {

namespace {

using net::BufferWriter;

using Issues = std::vector<ParseIssue>;

/// Room for a packet that needs no second allocation.
constexpr std::size_t ordinary_packet_size = 256;

/// The Authenticator field while the attributes are written. Values are hidden with it.
Authenticator initial_authenticator(const RadiusPacket& packet, std::string_view secret) {
    if (secret.empty()) {
        return packet.authenticator;
    }
    if (packet.code == ACCESS_REQUEST && packet.authenticator == ZERO16) {
        return random_authenticator();
    }
    if (is_zero_authenticator_code(packet.code)) {
        return ZERO16;
    }
    if (is_response_code(packet.code)) {
        return packet.request_authenticator.value_or(ZERO16);
    }
    return packet.authenticator;
}

/// As much of a value as can be carried: all of it when it fits or may be split, else its beginning.
byte_span fit(byte_span bytes, std::size_t room, bool may_split, const std::string& name, Issues& issues) {
    if (bytes.size() <= room || may_split) {
        return bytes;
    }
    issues.push_back({"value truncated on the wire", name, ""});
    return bytes.first(room);
}

/// Calls `write(piece, more)` for each piece of at most `room` bytes; once for an empty value.
template <typename Write>
void for_each_fragment(byte_span bytes, std::size_t room, Write write) {
    do {
        const byte_span piece = bytes.first(std::min(room, bytes.size()));
        bytes = bytes.subspan(piece.size());
        write(piece, !bytes.empty());
    } while (!bytes.empty());
}

bool is_message_authenticator(const CodePath& path) {
    return path.size() == 1 && path.front() == message_authenticator_type;
}

void append_attribute_header(BufferWriter& out, std::uint32_t type, std::size_t value_size) {
    out.append_u8(static_cast<std::uint8_t>(type));
    out.append_u8(static_cast<std::uint8_t>(attribute_header_size + value_size));
}

/// Wraps the bytes in a TLV header for each element of the path from `start` on, the last one innermost. Type
/// and length keep their low 8 bits. The result views `wrapped`, or the bytes themselves when there is
/// nothing to wrap them in.
byte_span wrap_nested_tlv(BufferWriter& wrapped, const CodePath& path, byte_span bytes, std::size_t start) {
    if (path.size() <= start) {
        return bytes;
    }
    for (std::size_t i = start; i < path.size(); ++i) {
        const std::size_t headers_inside = path.size() - i - 1;
        append_attribute_header(wrapped, path[i], attribute_header_size * headers_inside + bytes.size());
    }
    wrapped.append_bytes(bytes);
    return wrapped.bytes();
}

void build_plain(BufferWriter& out, std::uint32_t type, byte_span bytes, std::size_t room) {
    for_each_fragment(bytes, room, [&](byte_span piece, bool) {
        append_attribute_header(out, type, piece.size());
        out.append_bytes(piece);
    });
}

void build_vsa(BufferWriter& out, const CodePath& path, byte_span bytes, std::size_t room,
               const VendorInfo& vendor) {
    for_each_fragment(bytes, room, [&](byte_span piece, bool more) {
        const std::size_t sub_size = vendor_header_size(vendor) + piece.size();
        append_attribute_header(out, VSA_TYPE, vendor_id_size + sub_size);
        out.append_uint(path[1], vendor_id_size);
        out.append_uint(path[2], vendor.type_size);
        out.append_uint(static_cast<std::uint32_t>(sub_size), vendor.length_size);
        if (vendor.continuation) {
            out.append_u8(more ? more_flag : 0);
        }
        out.append_bytes(piece);
    });
}

void build_extended(BufferWriter& out, const CodePath& path, byte_span bytes, const Framing& framing) {
    const bool long_form = framing.container == ContainerKind::LongExtended;
    const std::size_t sub_header_size = extended_header_size(long_form, framing.vendor_specific);
    for_each_fragment(bytes, framing.room, [&](byte_span piece, bool more) {
        append_attribute_header(out, path[0], sub_header_size + piece.size());
        out.append_u8(static_cast<std::uint8_t>(path[1]));
        if (long_form) {
            out.append_u8(more ? more_flag : 0);
        }
        if (framing.vendor_specific) {
            out.append_uint(path[2], vendor_id_size);
            out.append_uint(path[3], extended_vendor_type_size);
        }
        out.append_bytes(piece);
    });
}

class PacketEncoder {
  public:
    PacketEncoder(const RadiusPacket& packet, std::string_view secret, Issues& issues)
        : packet_(packet),
          secret_(secret),
          issues_(issues),
          authenticator_(initial_authenticator(packet, secret)) {}

    Bytes encode() {
        write_header();
        for (const RadiusAttribute* const attribute : packet_.attribute_order) {
            for (const RadiusValue& value : attribute->values) {
                write_value(*attribute, value);
            }
        }
        out_.overwrite_u16(length_offset, static_cast<std::uint16_t>(out_.size()));
        if (!secret_.empty()) {
            fill_in_digests();
        }
        return out_.take();
    }

  private:
    void write_header() {
        out_.append_u8(packet_.code);
        out_.append_u8(packet_.identifier);
        out_.append_u16(0);  // Length, known at the end
        out_.append_bytes(authenticator_);
    }

    void write_value(const RadiusAttribute& attribute, const RadiusValue& value) {
        if (is_message_authenticator(attribute.code_path)) {
            write_message_authenticator();
            return;
        }
        // An attribute is tagged as a whole: its first value decides for all.
        const bool tagged = attribute.values.front().has_tag;
        const AttributeMetadata& record = *attribute.metadata;
        const bool hidden = !secret_.empty() && is_hidden(record.encrypt);
        const Bytes cipher = hidden ? hide(record.encrypt, value.data) : Bytes();
        byte_span bytes = hidden ? cipher : value.data;
        if (!tagged) {
            write_framed(attribute, bytes);
            return;
        }
        // The tag takes the place of a number's top byte (RFC 2868, section 3.1).
        if (!hidden && tag_replaces_first_byte(record, bytes.size())) {
            bytes = bytes.subspan(1);
        }
        BufferWriter tagged_bytes(1 + bytes.size());
        tagged_bytes.append_u8(value.tag);
        tagged_bytes.append_bytes(bytes);
        write_framed(attribute, tagged_bytes.bytes());
    }

    Bytes hide(std::uint32_t encrypt, byte_span data) const {
        return encrypt == hidden_as_user_password ? encrypt_user_password(data, secret_, authenticator_)
                                                  : encrypt_tunnel_password(data, secret_, authenticator_);
    }

    void write_framed(const RadiusAttribute& attribute, byte_span bytes) {
        const CodePath& path = attribute.code_path;
        const Framing framing = framing_of(packet_.dictionary.get(), *attribute.metadata, path);
        BufferWriter wrapped;
        const byte_span whole = wrap_nested_tlv(wrapped, path, bytes, framing.nesting_start);
        const byte_span value =
            fit(whole, framing.room, framing.may_split, attribute.display_name(), issues_);

        if (framing.container == ContainerKind::Vsa) {
            build_vsa(out_, path, value, framing.room, *framing.vendor);
        } else if (framing.container == ContainerKind::None) {
            build_plain(out_, path.empty() ? 0 : path.front(), value, framing.room);
        } else {
            build_extended(out_, path, value, framing);
        }
    }

    /// Writes zero bytes in the digest's place and remembers the place; the last one counts. The packet's own
    /// value is of no consequence: the digest is computed over zero bytes (RFC 3579, section 3.2).
    void write_message_authenticator() {
        append_attribute_header(out_, message_authenticator_type, ZERO16.size());
        message_authenticator_position_ = out_.size();
        out_.append_bytes(ZERO16);
    }

    void fill_in_digests() {
        if (message_authenticator_position_) {
            out_.overwrite_bytes(*message_authenticator_position_, hmac_md5_spans(secret_, {out_.bytes()}));
        }
        if (is_zero_authenticator_code(packet_.code) || is_response_code(packet_.code)) {
            out_.overwrite_bytes(authenticator_offset, md5_spans({out_.bytes(), utils::as_bytes(secret_)}));
        }
    }

    const RadiusPacket& packet_;
    std::string_view secret_;
    Issues& issues_;
    Authenticator authenticator_;
    BufferWriter out_{ordinary_packet_size};
    std::optional<std::size_t> message_authenticator_position_;
};

}  // namespace

Bytes pkt_dump(const RadiusPacket& packet, std::string_view secret, std::vector<ParseIssue>& issues) {
    return PacketEncoder(packet, secret, issues).encode();
}

}  // namespace quarn::subscriber::radius
