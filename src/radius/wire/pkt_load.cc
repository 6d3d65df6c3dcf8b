#include "quarn/radius/pkt_load.h"

#include <algorithm>
#include <deque>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "dictionary/dictionary_tables.h"
#include "quarn/net/buffer_reader.h"
#include "quarn/radius/hiding.h"
#include "quarn/radius/path_shape.h"
#include "quarn/radius/wire_format.h"
#include "wire/container_format.h"

namespace quarn::subscriber::radius {

using net::BufferView;

namespace {

/// Bytes that an attribute mostly takes at least: what the packet makes room by.
constexpr std::size_t short_attribute_size = 8;

}  // namespace

/// Walks the attributes of one datagram. Three kinds of value are put together from several attributes: a
/// vendor's with continuation and a long-extended one, which say themselves whether more follows and may be
/// interleaved with others; and one that the dictionary marks as `concat`, which ends at the first top-level
/// attribute that adds nothing to it.
// Not in the unnamed namespace: a packet lets it use what is private.
class __attribute__((visibility("hidden"))) PacketDecoder {
  public:
    PacketDecoder(RadiusPacket& packet, std::string_view secret)
        : packet_(packet), tables_(DictionaryTables::of(*packet.dictionary)), secret_(secret) {}

    std::vector<ParseIssue> decode(byte_span datagram) {
        Bytes raw(datagram.begin(), datagram.end());  // a copy: the datagram may be the packet's old `raw`
        BufferView reader(raw);
        const std::size_t packet_length = read_header(reader);
        packet_.attribute_order.clear();
        packet_.attribute_map.clear();
        const std::size_t expected_attributes = packet_length / short_attribute_size;
        packet_.attribute_order.reserve(expected_attributes);
        packet_.attribute_map.reserve(expected_attributes);
        while (reader.position() < packet_length) {
            decode_attribute(reader, packet_length);
        }
        finish_joined_value();
        report_open_fragments();
        for (RadiusAttribute& attribute : namesakes_) {
            packet_.add_attribute(std::move(attribute));
        }
        packet_.raw = std::move(raw);
        return std::move(issues_);
    }

  private:
    /// The attribute or vendor inside of which a problem is reported.
    struct Place {
        bool is_vendor;        ///< of a Vendor-Specific attribute
        std::uint32_t number;  ///< the vendor's, or the top-level type

        std::string text() const { return (is_vendor ? "Vendor-" : "") + std::to_string(number); }
    };

    /// A value whose attributes follow each other directly in the packet (`AttributeMetadata::concat`).
    struct JoinedValue {
        CodePath path;
        Bytes bytes;
        Place place;
    };

    std::size_t read_header(BufferView& reader) {
        const std::size_t datagram_size = reader.remaining();
        packet_.code = reader.read_u8();
        packet_.identifier = reader.read_u8();
        const std::size_t packet_length = reader.read_u16();
        if (packet_length < header_size || packet_length > datagram_size) {
            throw std::runtime_error("pkt_load: invalid packet length");
        }
        const byte_span authenticator = reader.read_bytes(authenticator_size);
        std::copy(authenticator.begin(), authenticator.end(), packet_.authenticator.begin());
        return packet_length;
    }

    void decode_attribute(BufferView& reader, std::size_t packet_length) {
        if (reader.remaining() < attribute_header_size) {
            throw std::runtime_error("pkt_load: malformed attribute");
        }
        const std::size_t start = reader.position();
        const std::uint32_t type = reader.read_u8();
        const std::size_t length = reader.read_u8();
        if (length < attribute_header_size || length > packet_length - start) {
            throw std::runtime_error("pkt_load: invalid attribute length");
        }
        const byte_span value = reader.read_bytes(length - attribute_header_size);

        joined_by_this_attribute_ = false;
        const AttributeMetadata& record = tables_.top_level_attribute(type);
        switch (top_level_container(record, type)) {
            case ContainerKind::Vsa:
                decode_vendor_specific(type, value);
                break;
            case ContainerKind::Extended:
                decode_extended(type, value, false);
                break;
            case ContainerKind::LongExtended:
                decode_extended(type, value, true);
                break;
            case ContainerKind::None:
            case ContainerKind::Tlv:
            case ContainerKind::Evs:
            case ContainerKind::Struct:
                complete_value(record, {type}, value, {false, type});
                break;
        }
        if (!joined_by_this_attribute_) {
            finish_joined_value();
        }
    }

    void decode_vendor_specific(std::uint32_t type, byte_span value) {
        if (value.size() < vendor_id_size) {
            report("vendor-specific attribute too short", {false, type}, "");
            return;
        }
        BufferView reader(value);
        const std::uint32_t vendor_id = reader.read_uint(vendor_id_size);
        const VendorInfo& vendor = vendor_format(packet_.dictionary.get(), vendor_id);
        const Place place{true, vendor_id};

        // Fewer bytes than a sub-attribute's header are passed over without an issue.
        const std::size_t sub_header_size = vendor.type_size + vendor.length_size;
        while (reader.remaining() >= sub_header_size) {
            const std::uint32_t vendor_type = reader.read_uint(vendor.type_size);
            const std::size_t length = reader.read_uint(vendor.length_size);
            if (length < sub_header_size || length - sub_header_size > reader.remaining()) {
                report("malformed vendor attribute length", place, std::to_string(vendor_type));
                return;
            }
            const byte_span data = reader.read_bytes(length - sub_header_size);
            if (vendor.continuation) {
                decode_vendor_fragment(vendor_id, vendor_type, data, place);
            } else {
                complete_value({VSA_TYPE, vendor_id, vendor_type}, data, place);
            }
        }
    }

    /// A sub-attribute that begins with a continuation byte.
    void decode_vendor_fragment(std::uint32_t vendor_id, std::uint32_t vendor_type, byte_span fragment,
                                Place place) {
        if (fragment.empty()) {
            report("vendor continuation byte missing", place, std::to_string(vendor_type));
            return;
        }
        const bool more = (fragment.front() & more_flag) != 0;
        const std::pair key(vendor_id, vendor_type);
        append(vendor_fragments_[key], fragment.subspan(1));
        if (!more) {
            const Bytes value = std::move(vendor_fragments_.extract(key).mapped());
            complete_delimited_value({VSA_TYPE, vendor_id, vendor_type}, value, place);
        }
    }

    void decode_extended(std::uint32_t type, byte_span value, bool long_form) {
        const Place place{false, type};
        if (value.empty()) {
            report("extended attribute too short", place, "");
            return;
        }
        if (long_form && value.size() < 2) {
            report("long-extended attribute too short", place, "");
            return;
        }
        BufferView reader(value);
        CodePath path = {type, reader.read_u8()};
        const bool more = long_form && (reader.read_u8() & more_flag) != 0;
        if (path.back() == VSA_TYPE) {
            if (reader.remaining() < vendor_id_size + extended_vendor_type_size) {
                report("extended-vendor-specific header too short", place, "");
                return;
            }
            path.push_back(reader.read_uint(vendor_id_size));
            path.push_back(reader.read_uint(extended_vendor_type_size));
        }
        if (!long_form) {
            complete_value(path, reader.read_rest(), place);
            return;
        }
        append(long_extended_fragments_[path], reader.read_rest());
        if (!more) {
            const Bytes joined = std::move(long_extended_fragments_.extract(path).mapped());
            complete_delimited_value(path, joined, place);
        }
    }

    /// Takes the value of a container that marks itself where a fragmented value ends.
    void complete_delimited_value(CodePath path, byte_span bytes, Place place) {
        finish_joined_value();
        decode_leaf(packet_.dictionary->attribute_by_code(path), path, bytes, place);
    }

    void complete_value(CodePath path, byte_span bytes, Place place) {
        const AttributeMetadata& record = packet_.dictionary->attribute_by_code(path);
        complete_value(record, std::move(path), bytes, place);
    }

    /// Takes a value that, if the dictionary says so, may continue in the next attribute.
    void complete_value(const AttributeMetadata& record, CodePath path, byte_span bytes, Place place) {
        if (!record.concat) {
            finish_joined_value();
            decode_leaf(record, path, bytes, place);
            return;
        }
        if (joined_value_ && joined_value_->path != path) {
            finish_joined_value();
        }
        if (!joined_value_) {
            joined_value_ = JoinedValue{std::move(path), {}, place};
        }
        append(joined_value_->bytes, bytes);
        joined_by_this_attribute_ = true;
    }

    void finish_joined_value() {
        if (joined_value_) {
            JoinedValue joined = *std::exchange(joined_value_, std::nullopt);
            decode_leaf(packet_.dictionary->attribute_by_code(joined.path), joined.path, joined.bytes,
                        joined.place);
        }
    }

    // A nested TLV's length is one byte: there are at most 127 inside one another.
    // NOLINTBEGIN(misc-no-recursion)
    void decode_leaf(const AttributeMetadata& record, CodePath& path, byte_span bytes, Place place) {
        if (record.kind == ContainerKind::Tlv) {
            decode_nested_tlvs(path, tables_.code_hash(path), bytes, place);
            return;
        }
        Bytes data(bytes.begin(), bytes.end());
        std::uint8_t tag = 0;
        if (record.has_tag && !data.empty()) {
            tag = data.front();
            if (record.fixed_size > 1 && data.size() == record.fixed_size) {
                data.front() = 0;  // a tagged number keeps its width (RFC 2868, section 3.1)
            } else {
                data.erase(data.begin());
            }
        }
        if (is_hidden(record.encrypt)) {
            data = decrypt_leaf(std::move(data), record.encrypt, secret_, packet_.authenticator);
        }
        entry_for(record, path).values.emplace_back(record, std::move(data), tag);
    }

    /// Each TLV's type is at the end of the path for as long as it is read: a path of its own for each level,
    /// or its hash worked out anew, would cost the square of the depth.
    void decode_nested_tlvs(CodePath& path, std::size_t path_hash, byte_span list, Place place) {
        BufferView reader(list);
        while (reader.remaining() >= attribute_header_size) {
            const std::uint32_t type = reader.read_u8();
            const std::size_t length = reader.read_u8();
            if (length < attribute_header_size || length - attribute_header_size > reader.remaining()) {
                report("malformed nested TLV length", place, std::to_string(type));
                return;
            }
            const byte_span value = reader.read_bytes(length - attribute_header_size);
            path.push_back(type);
            const std::size_t hash = DictionaryTables::extended_code_hash(path_hash, type);
            const AttributeMetadata& record = tables_.attribute_by_code(path, hash);
            if (record.kind == ContainerKind::Tlv) {
                decode_nested_tlvs(path, hash, value, place);
            } else {
                decode_leaf(record, path, value, place);
            }
            path.pop_back();
        }
    }
    // NOLINTEND(misc-no-recursion)

    RadiusAttribute& entry_for(const AttributeMetadata& record, const CodePath& path) {
        std::string key = packet_._key_for_path(path, record.known ? record.name : "");
        const auto [entry, is_new] =
            packet_._find_or_insert_entry(std::move(key), record, path, std::string());
        if (is_new || entry.code_path == path) {
            return entry;
        }
        const auto [namesake, is_first] = namesake_by_path_.try_emplace(path, namesakes_.size());
        return is_first ? namesakes_.emplace_back(record, path, std::string()) : namesakes_[namesake->second];
    }

    void report_open_fragments() {
        for (const auto& [key, fragments] : vendor_fragments_) {
            report("unterminated continuation value", {true, key.first}, std::to_string(key.second));
        }
        for (const auto& [path, fragments] : long_extended_fragments_) {
            const bool vendor_specific = shape_of(path, ContainerKind::LongExtended).vendor_at != 0;
            report("unterminated long-extended value", {false, path.front()},
                   vendor_specific ? std::to_string(path.back()) : "");
        }
    }

    void report(const char* message, Place place, std::string inner_type) {
        issues_.push_back({message, place.text(), std::move(inner_type)});
    }

    static void append(Bytes& bytes, byte_span more) { bytes.insert(bytes.end(), more.begin(), more.end()); }

    RadiusPacket& packet_;
    const DictionaryTables& tables_;  // the dictionary's own
    std::string_view secret_;
    std::vector<ParseIssue> issues_;

    std::map<std::pair<std::uint32_t, std::uint32_t>, Bytes> vendor_fragments_;  // by vendor and type
    std::map<CodePath, Bytes> long_extended_fragments_;
    std::optional<JoinedValue> joined_value_;
    bool joined_by_this_attribute_ = false;

    /// Attributes under whose key another code path came first. Their values follow all of that one's.
    std::deque<RadiusAttribute> namesakes_;
    std::map<CodePath, std::size_t> namesake_by_path_;  // where it is in `namesakes_`
};

std::vector<ParseIssue> pkt_load(RadiusPacket& packet, const std::uint8_t* data, std::size_t length,
                                 std::string_view secret) {
    if (!packet.dictionary) {
        throw std::runtime_error("pkt_load: dictionary required");
    }
    if (length < header_size) {
        throw std::runtime_error("pkt_load: malformed packet");
    }
    return PacketDecoder(packet, secret).decode({data, length});
}

}  // namespace quarn::subscriber::radius
