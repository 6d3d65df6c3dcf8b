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

/// What the Authenticator field holds while the attributes are written. Hidden values are hidden with it.
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

void build_plain(BufferWriter& out, std::uint32_t type, byte_span bytes, bool may_split,
                 const std::string& name, Issues& issues) {
    for_each_fragment(fit(bytes, max_value_size, may_split, name, issues), max_value_size,
                      [&](byte_span piece, bool) {
                          append_attribute_header(out, type, piece.size());
                          out.append_bytes(piece);
                      });
}

void build_vsa(BufferWriter& out, const CodePath& path, byte_span bytes, const VendorInfo& vendor,
               const std::string& name, Issues& issues) {
    constexpr std::size_t nesting_start = 3;
    BufferWriter wrapped;
    const byte_span value = wrap_nested_tlv(wrapped, path, bytes, nesting_start);

    const std::size_t sub_header_size = vendor.type_size + vendor.length_size + (vendor.continuation ? 1 : 0);
    const std::size_t room = max_value_size - vendor_id_size - sub_header_size;
    const bool may_split = vendor.continuation || path.size() == nesting_start;
    for_each_fragment(fit(value, room, may_split, name, issues), room, [&](byte_span piece, bool more) {
        const std::size_t sub_size = sub_header_size + piece.size();
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

void build_extended(BufferWriter& out, const CodePath& path, byte_span bytes, bool long_form,
                    const std::string& name, Issues& issues) {
    const bool vendor_specific = path[1] == VSA_TYPE && path.size() >= 4;
    const std::size_t nesting_start = vendor_specific ? 4 : 2;
    BufferWriter wrapped;
    const byte_span value = wrap_nested_tlv(wrapped, path, bytes, nesting_start);

    const std::size_t sub_header_size =
        1 + (long_form ? 1 : 0) + (vendor_specific ? vendor_id_size + extended_vendor_type_size : 0);
    const std::size_t room = max_value_size - sub_header_size;
    const bool may_split = long_form || path.size() == nesting_start;
    for_each_fragment(fit(value, room, may_split, name, issues), room, [&](byte_span piece, bool more) {
        append_attribute_header(out, path[0], sub_header_size + piece.size());
        out.append_u8(static_cast<std::uint8_t>(path[1]));
        if (long_form) {
            out.append_u8(more ? more_flag : 0);
        }
        if (vendor_specific) {
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
        if (!hidden && record.fixed_size > 1 && bytes.size() == record.fixed_size) {
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
        const RadiusDictionary* const dictionary = packet_.dictionary.get();
        const std::string& name = attribute.display_name();
        const std::uint32_t type = path.empty() ? 0 : path.front();
        const ContainerKind container = top_level_container(dictionary, type);

        if (container == ContainerKind::Vsa && path.size() >= 3) {
            build_vsa(out_, path, bytes, vendor_format(dictionary, path[1]), name, issues_);
        } else if ((container == ContainerKind::Extended || container == ContainerKind::LongExtended) &&
                   path.size() >= 2) {
            build_extended(out_, path, bytes, container == ContainerKind::LongExtended, name, issues_);
        } else {
            // A plain attribute may be a list of TLVs, as IPv6-6rd-Configuration is (RFC 6930, section 4). It
            // is the whole list that is split and joined then, not the TLV inside.
            const bool is_tlv = container == ContainerKind::Tlv && path.size() > 1;  // so a dictionary says
            const AttributeMetadata& record =
                is_tlv ? dictionary->top_level_attribute(type) : *attribute.metadata;
            const bool may_split = dictionary != nullptr && (record.concat || record.continuation);
            BufferWriter wrapped;
            const byte_span value = wrap_nested_tlv(wrapped, path, bytes, is_tlv ? 1 : path.size());
            build_plain(out_, type, value, may_split, name, issues_);
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
