#include "quarn/radius/pkt_load.h"

#include <algorithm>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "quarn/radius/attribute_reader.h"
#include "quarn/radius/hiding.h"
#include "quarn/radius/path_shape.h"
#include "quarn/radius/wire_format.h"
#include "wire/container_format.h"

namespace quarn::subscriber::radius {

namespace {

/// Bytes that an attribute mostly takes at least: what the packet makes room by.
constexpr std::size_t short_attribute_size = 8;

/// Why a packet is refused that has at least a header.
const char* refusal_of(WireProblem problem) {
    switch (problem) {
        case WireProblem::PacketLengthTooSmall:
        case WireProblem::PacketLengthTooLarge:
            return "pkt_load: invalid packet length";
        case WireProblem::AttributeLengthMissing:
            return "pkt_load: malformed attribute";
        default:
            return "pkt_load: invalid attribute length";
    }
}

/// The issue that an unreadable part is; null for what is passed over in silence.
const char* issue_of(WireProblem problem) {
    switch (problem) {
        case WireProblem::VendorIdIncomplete:
            return "vendor-specific attribute too short";
        case WireProblem::VendorLengthTooSmall:
        case WireProblem::VendorLengthTooLarge:
            return "malformed vendor attribute length";
        case WireProblem::ContinuationMissing:
            return "vendor continuation byte missing";
        case WireProblem::ExtendedTypeMissing:
            return "extended attribute too short";
        case WireProblem::ExtendedFlagsMissing:
            return "long-extended attribute too short";
        case WireProblem::ExtendedVendorIncomplete:
            return "extended-vendor-specific header too short";
        case WireProblem::TlvLengthTooSmall:
        case WireProblem::TlvLengthTooLarge:
            return "malformed nested TLV length";
        default:
            return nullptr;
    }
}

/// Whether the last element of the path is that of the sub-attribute or TLV at fault.
bool has_inner_type(WireProblem problem) {
    switch (problem) {
        case WireProblem::VendorLengthTooSmall:
        case WireProblem::VendorLengthTooLarge:
        case WireProblem::ContinuationMissing:
        case WireProblem::TlvLengthTooSmall:
        case WireProblem::TlvLengthTooLarge:
            return true;
        default:
            return false;
    }
}

/// The attribute or vendor inside of which a problem is reported.
struct Place {
    bool is_vendor;        ///< of a Vendor-Specific attribute
    std::uint32_t number;  ///< the vendor's, or the top-level type

    std::string text() const { return (is_vendor ? "Vendor-" : "") + std::to_string(number); }
};

/// Fills a packet with the attributes of one datagram. Three kinds of value are put together from several
/// attributes: a vendor's with continuation and a long-extended one, which say themselves whether more
/// follows and may be interleaved with others; and one that the dictionary marks as `concat`, which ends at
/// the first top-level attribute that adds nothing to it.
class PacketDecoder {
  public:
    PacketDecoder(RadiusPacket& packet, std::string_view secret) : packet_(packet), secret_(secret) {}

    std::vector<ParseIssue> decode(byte_span datagram) {
        Bytes raw(datagram.begin(), datagram.end());  // a copy: the datagram may be the packet's old `raw`
        AttributeReader attributes(raw);
        read_header(attributes);
        while (const auto attribute = attributes.next()) {
            decode_attribute(*attribute);
        }
        // Where the packet ends behind a Type, the next byte, which is no part of it, was taken for a Length.
        const bool is_followed = attributes.packet().size() < raw.size();
        if (attributes.fault() && is_followed) {
            throw std::runtime_error(refusal_of(WireProblem::AttributeLengthTooLarge));
        }
        refuse(attributes.fault());
        finish_joined_value();
        report_open_pieces();
        for (RadiusAttribute& attribute : namesakes_) {
            packet_.add_attribute(std::move(attribute));
        }
        packet_.raw = std::move(raw);
        return std::move(issues_);
    }

  private:
    /// The pieces so far of values that have not come to their end, by code path.
    using OpenPieces = std::map<CodePath, Bytes>;

    /// Pieces of a value, and where they came from.
    struct JoinedValue {
        CodePath path;
        const AttributeMetadata* record;
        Bytes bytes;
        Place place;
    };

    static void refuse(const std::optional<WireFault>& fault) {
        if (fault) {
            throw std::runtime_error(refusal_of(fault->problem));
        }
    }

    void read_header(const AttributeReader& attributes) {
        const byte_span packet = attributes.packet();
        packet_.code = packet[0];
        packet_.identifier = packet[identifier_offset];
        refuse(attributes.fault());
        const byte_span authenticator = packet.subspan(authenticator_offset, authenticator_size);
        std::copy(authenticator.begin(), authenticator.end(), packet_.authenticator.begin());

        packet_.attribute_order.clear();
        packet_.attribute_map.clear();
        const std::size_t expected_attributes = packet.size() / short_attribute_size;
        packet_.attribute_order.reserve(expected_attributes);
        packet_.attribute_map.reserve(expected_attributes);
    }

    void decode_attribute(const WireAttribute& attribute) {
        joined_by_this_attribute_ = false;
        PartReader parts(attribute, *packet_.dictionary);
        while (const auto part = parts.next()) {
            // Every path of a Vendor-Specific attribute begins with its type and the vendor.
            const bool is_vendor = parts.container() == ContainerKind::Vsa && part->path.size() > 1;
            decode_part(*part, {is_vendor, is_vendor ? part->path[1] : attribute.type});
        }
        if (!joined_by_this_attribute_) {
            finish_joined_value();
        }
    }

    void decode_part(const WirePart& part, Place place) {
        switch (part.kind) {
            case PartKind::Value:
                finish_joined_value();
                decode_value(part, part.value);
                break;
            case PartKind::List:
                finish_joined_value();
                break;
            case PartKind::Joinable:
                join(part, place);
                break;
            case PartKind::MorePieces:
                append(open_pieces(place)[CodePath(part.path.begin(), part.path.end())], part.value);
                break;
            case PartKind::LastPiece:
                decode_last_piece(part, place);
                break;
            case PartKind::Unreadable:
                report(part, place);
                break;
        }
    }

    void decode_last_piece(const WirePart& part, Place place) {
        Bytes joined;
        byte_span value = part.value;
        if (OpenPieces& pieces = open_pieces(place); !pieces.empty()) {
            const auto open = pieces.find(CodePath(part.path.begin(), part.path.end()));
            if (open != pieces.end()) {
                joined = std::move(pieces.extract(open).mapped());
                append(joined, part.value);
                value = joined;
            }
        }
        finish_joined_value();
        decode_whole(part, value, place);
    }

    /// Keeps a value that, as the dictionary says, may continue in the next attribute.
    void join(const WirePart& part, Place place) {
        if (joined_value_ && !std::ranges::equal(joined_value_->path, part.path)) {
            finish_joined_value();
        }
        if (!joined_value_) {
            joined_value_ =
                JoinedValue{CodePath(part.path.begin(), part.path.end()), part.definition, {}, place};
        }
        append(joined_value_->bytes, part.value);
        joined_by_this_attribute_ = true;
    }

    void finish_joined_value() {
        if (joined_value_) {
            const JoinedValue joined = *std::exchange(joined_value_, std::nullopt);
            WirePart part{};
            part.path = joined.path;
            part.definition = joined.record;
            decode_whole(part, joined.bytes, joined.place);
        }
    }

    /// Takes what was put together from pieces: a value, or a list of TLVs.
    void decode_whole(const WirePart& whole, byte_span bytes, Place place) {
        if (whole.definition->kind != ContainerKind::Tlv) {
            decode_value(whole, bytes);
            return;
        }
        PartReader parts(whole.path, *whole.definition, bytes, *packet_.dictionary);
        while (const auto part = parts.next()) {
            if (part->kind == PartKind::Value) {
                decode_value(*part, part->value);
            } else if (part->kind == PartKind::Unreadable) {
                report(*part, place);
            }
        }
    }

    void decode_value(const WirePart& part, byte_span bytes) {
        const AttributeMetadata& record = *part.definition;
        Bytes data(bytes.begin(), bytes.end());
        std::uint8_t tag = 0;
        if (record.has_tag && !data.empty()) {
            tag = data.front();
            if (tag_replaces_first_byte(record, data.size())) {
                data.front() = 0;  // a tagged number keeps its width (RFC 2868, section 3.1)
            } else {
                data.erase(data.begin());
            }
        }
        if (is_hidden(record.encrypt)) {
            data = decrypt_leaf(std::move(data), record.encrypt, secret_, packet_.authenticator);
        }
        entry_for(record, part.path).values.emplace_back(record, std::move(data), tag);
    }

    RadiusAttribute& entry_for(const AttributeMetadata& record, std::span<const std::uint32_t> wire_path) {
        const CodePath path(wire_path.begin(), wire_path.end());
        RadiusAttribute& entry = packet_.find_or_add(record, path);
        if (entry.code_path == path) {
            return entry;
        }
        const auto [namesake, is_first] = namesake_by_path_.try_emplace(path, namesakes_.size());
        return is_first ? namesakes_.emplace_back(record, path, std::string()) : namesakes_[namesake->second];
    }

    void report_open_pieces() {
        for (const auto& [path, pieces] : vendor_pieces_) {
            issues_.push_back({"unterminated continuation value", Place{true, path[1]}.text(),
                               std::to_string(path.back())});
        }
        for (const auto& [path, pieces] : long_extended_pieces_) {
            const bool vendor_specific = shape_of(path, ContainerKind::LongExtended).vendor_at != 0;
            issues_.push_back({"unterminated long-extended value", Place{false, path.front()}.text(),
                               vendor_specific ? std::to_string(path.back()) : ""});
        }
    }

    OpenPieces& open_pieces(Place place) { return place.is_vendor ? vendor_pieces_ : long_extended_pieces_; }

    void report(const WirePart& part, Place place) {
        if (const char* const message = issue_of(part.problem)) {
            issues_.push_back({message, place.text(),
                               has_inner_type(part.problem) ? std::to_string(part.path.back()) : ""});
        }
    }

    static void append(Bytes& bytes, byte_span more) { bytes.insert(bytes.end(), more.begin(), more.end()); }

    RadiusPacket& packet_;
    std::string_view secret_;
    std::vector<ParseIssue> issues_;

    OpenPieces vendor_pieces_;
    OpenPieces long_extended_pieces_;
    std::optional<JoinedValue> joined_value_;
    bool joined_by_this_attribute_ = false;

    /// Attributes under whose key another code path came first. Their values follow all of that one's.
    std::vector<RadiusAttribute> namesakes_;
    std::map<CodePath, std::size_t> namesake_by_path_;  // where it is in `namesakes_`
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
