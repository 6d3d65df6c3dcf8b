#include "quarn/radius/pkt_load.h"

#include <algorithm>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>

#include "quarn/net/buffer_reader.h"
#include "quarn/radius/container_format.h"
#include "quarn/radius/hiding.h"
#include "quarn/radius/wire_format.h"

namespace quarn::subscriber::radius {

namespace {

using net::BufferReader;
using net::BufferView;

/// Walks the attributes of one datagram. Three kinds of value are put together from several attributes: a
/// vendor's with continuation and a long-extended one, which say themselves whether more follows and may be
/// interleaved with others; and one that the dictionary marks as `concat`, which ends at the first top-level
/// attribute that adds nothing to it.
class PacketDecoder {
  public:
    PacketDecoder(RadiusPacket& packet, std::string_view secret) : packet_(packet), secret_(secret) {}

    std::vector<ParseIssue> decode(byte_span datagram) {
        BufferReader reader(datagram);
        const std::size_t packet_length = read_header(reader, datagram.size());
        while (reader.position() < packet_length) {
            decode_attribute(reader, packet_length);
        }
        finish_joined_value();
        report_open_fragments();
        packet_.attribute_map.reserve(attributes_.size());
        packet_.attribute_order.reserve(attributes_.size());
        for (RadiusAttribute& attribute : attributes_) {
            packet_.add_attribute(std::move(attribute));
        }
        packet_.raw = Bytes(datagram.begin(), datagram.end());  // the datagram may be the old `raw`
        return std::move(issues_);
    }

  private:
    /// What a problem is reported to be inside of.
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

    /// Orders decoded attributes by code path, and finds them by one.
    struct PathOrder {
        using is_transparent = void;

        static const CodePath& path(const RadiusAttribute* attribute) { return attribute->code_path; }
        static const CodePath& path(const CodePath& code_path) { return code_path; }

        bool operator()(const auto& left, const auto& right) const { return path(left) < path(right); }
    };

    std::size_t read_header(BufferReader& reader, std::size_t datagram_size) {
        packet_.code = reader.read_u8();
        packet_.identifier = reader.read_u8();
        const std::size_t packet_length = reader.read_u16();
        if (packet_length < header_size || packet_length > datagram_size) {
            throw std::runtime_error("pkt_load: invalid packet length");
        }
        const byte_span authenticator = reader.read_bytes(authenticator_size);
        std::copy(authenticator.begin(), authenticator.end(), packet_.authenticator.begin());
        packet_.attribute_order.clear();
        packet_.attribute_map.clear();
        return packet_length;
    }

    void decode_attribute(BufferReader& reader, std::size_t packet_length) {
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
        switch (top_level_container(packet_.dictionary.get(), type)) {
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
                complete_value({type}, value, {false, type});
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

        // What is too short to hold another sub-attribute's header is passed over without a word.
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
            complete_value(std::move(path), reader.read_rest(), place);
            return;
        }
        append(long_extended_fragments_[path], reader.read_rest());
        if (!more) {
            const Bytes joined = std::move(long_extended_fragments_.extract(path).mapped());
            complete_delimited_value(std::move(path), joined, place);
        }
    }

    /// Takes the value of a container that marks itself where a fragmented value ends.
    void complete_delimited_value(CodePath path, byte_span bytes, Place place) {
        finish_joined_value();
        const AttributeMetadata& record = packet_.dictionary->attribute_by_code(path);
        decode_leaf(record, std::move(path), bytes, place);
    }

    /// Takes a value that, if the dictionary says so, may continue in the next attribute.
    void complete_value(CodePath path, byte_span bytes, Place place) {
        const AttributeMetadata& record = packet_.dictionary->attribute_by_code(path);
        if (!record.concat) {
            finish_joined_value();
            decode_leaf(record, std::move(path), bytes, place);
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
            const AttributeMetadata& record = packet_.dictionary->attribute_by_code(joined.path);
            decode_leaf(record, std::move(joined.path), joined.bytes, joined.place);
        }
    }

    void decode_leaf(const AttributeMetadata& record, CodePath path, byte_span bytes, Place place) {
        if (record.kind == ContainerKind::Tlv) {
            decode_nested_tlvs(path, bytes, place);
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
        data = decrypt_leaf(std::move(data), record.encrypt, secret_, packet_.authenticator);
        entry_for(record, std::move(path)).values.emplace_back(record, std::move(data), tag);
    }

    void decode_nested_tlvs(const CodePath& path, byte_span list, Place place) {
        BufferView reader(list);
        while (reader.remaining() >= attribute_header_size) {
            const std::uint32_t type = reader.read_u8();
            const std::size_t length = reader.read_u8();
            if (length < attribute_header_size || length - attribute_header_size > reader.remaining()) {
                report("malformed nested TLV length", place, std::to_string(type));
                return;
            }
            CodePath nested = path;
            nested.push_back(type);
            const AttributeMetadata& record = packet_.dictionary->attribute_by_code(nested);
            decode_leaf(record, std::move(nested), reader.read_bytes(length - attribute_header_size), place);
        }
    }

    RadiusAttribute& entry_for(const AttributeMetadata& record, CodePath path) {
        if (const auto entry = by_path_.find(path); entry != by_path_.end()) {
            return **entry;
        }
        RadiusAttribute& attribute = attributes_.emplace_back(record, std::move(path), std::string());
        by_path_.insert(&attribute);
        return attribute;
    }

    void report_open_fragments() {
        for (const auto& [key, fragments] : vendor_fragments_) {
            report("unterminated continuation value", {true, key.first}, std::to_string(key.second));
        }
        for (const auto& [path, fragments] : long_extended_fragments_) {
            const bool vendor_specific = path.size() > 2;
            report("unterminated long-extended value", {false, path.front()},
                   vendor_specific ? std::to_string(path.back()) : "");
        }
    }

    void report(const char* message, Place place, std::string inner_type) {
        issues_.push_back({message, place.text(), std::move(inner_type)});
    }

    static void append(Bytes& bytes, byte_span more) { bytes.insert(bytes.end(), more.begin(), more.end()); }

    RadiusPacket& packet_;
    std::string_view secret_;
    std::vector<ParseIssue> issues_;

    std::map<std::pair<std::uint32_t, std::uint32_t>, Bytes> vendor_fragments_;  // by vendor and type
    std::map<CodePath, Bytes> long_extended_fragments_;
    std::optional<JoinedValue> joined_value_;
    bool joined_by_this_attribute_ = false;

    std::deque<RadiusAttribute> attributes_;  // one for each code path, in order of first appearance
    std::set<RadiusAttribute*, PathOrder> by_path_;
};

}  // namespace

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
