// The attributes of a received packet, read where they are: nothing is copied, nothing is allocated.
//
//     AttributeReader attributes(datagram);
//     while (const auto attribute = attributes.next()) {
//         PartReader parts(*attribute, dictionary);
//         while (const auto part = parts.next()) {
//             if (part->kind == PartKind::Value) {
//                 show(part->definition->name, part->value);   // {26, 9, 1}: Cisco-AVPair
//             }
//         }
//     }
//     if (attributes.fault()) {
//         complain(attributes.fault()->problem, attributes.fault()->offset);
//     }
//
// `AttributeReader` goes over the top-level attributes and needs no dictionary. `PartReader` goes into one of
// them. Values are as they stand on the wire: with their tag, hidden, and in the pieces in which they came.
// `pkt_load` reads with both, and then joins, reveals and keeps.
//
// Caution: neither reader verifies anything. Call `verify_reply` or `verify_request` first.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "quarn/radius/attribute_metadata.h"
#include "quarn/radius/authenticator.h"
#include "quarn/radius/dictionary.h"
#include "quarn/radius/vendor_info.h"
#include "quarn/radius/wire_format.h"

namespace quarn::subscriber::radius {

/// Why bytes cannot be read as what they should be.
enum class WireProblem : std::uint8_t {
    // Of a packet: nothing behind it can be read.
    PacketLengthMissing,      ///< the datagram ends before or in the packet's Length
    PacketLengthTooSmall,     ///< below 20
    PacketLengthTooLarge,     ///< more than the bytes given
    AttributeLengthMissing,   ///< the packet ends behind a Type
    AttributeLengthTooSmall,  ///< below 2
    AttributeLengthTooLarge,  ///< past the end of the packet

    // Of one attribute: the rest of the list at fault is passed over, and what follows the list is read.
    VendorIdIncomplete,        ///< a Vendor-Specific attribute with no room for the Vendor-Id
    VendorHeaderIncomplete,    ///< no room for a vendor's type and length; `pkt_load` does not tell
    VendorLengthTooSmall,      ///< below the size of the vendor's type and length
    VendorLengthTooLarge,      ///< past the end of the Vendor-Specific attribute
    ContinuationMissing,       ///< no room for the vendor's continuation byte; only this one is passed over
    ExtendedTypeMissing,       ///< an extended attribute without a value
    ExtendedFlagsMissing,      ///< a long-extended attribute with one byte
    ExtendedVendorIncomplete,  ///< no room for Vendor-Id and vendor type behind Extended-Type 26
    TlvHeaderIncomplete,       ///< one byte behind the last nested TLV; `pkt_load` does not tell
    TlvLengthTooSmall,         ///< below 2
    TlvLengthTooLarge,         ///< past the end of the list of nested TLVs
};

/// Where reading a packet ended before the packet's end, and why.
struct WireFault {
    WireProblem problem;       ///< one of those of a packet
    std::size_t offset;        ///< of the byte at fault, or where one is missing, from the packet's first one
    std::uint32_t type = 0;    ///< of the attribute at fault, if it is one
    std::uint32_t length = 0;  ///< what the Length at fault says, if there is one

    bool operator==(const WireFault&) const = default;
};

/// One top-level attribute (RFC 2865, section 5).
struct WireAttribute {
    std::uint8_t type;
    byte_span value;     ///< views the datagram
    std::size_t offset;  ///< of the Type, counted from the packet's first byte
};

/// Goes over the top-level attributes of a packet. Views the datagram, which must outlive what it yields.
class AttributeReader {
  public:
    /// A datagram as it was received. Bytes behind the packet's Length are no part of the packet.
    explicit AttributeReader(byte_span datagram);

    /// Attributes without a packet's header. `offset` is what to count the first one's offset from.
    static AttributeReader over_attributes(byte_span attributes, std::size_t offset = 0);

    /// The next attribute; nothing at the end, and at a fault.
    std::optional<WireAttribute> next() {
        if (position_ == bytes_.size() || fault_) {
            return std::nullopt;
        }
        const std::size_t left = bytes_.size() - position_;
        const std::size_t length = left < attribute_header_size ? 0 : bytes_[position_ + 1];
        if (length < attribute_header_size || length > left) {
            stop();
            return std::nullopt;
        }
        const WireAttribute attribute{
            bytes_[position_],
            bytes_.subspan(position_ + attribute_header_size, length - attribute_header_size),
            base_ + position_};
        position_ += length;
        return attribute;
    }

    /// Why `next` ended, or could not begin, before the packet's end; nothing as long as it did not.
    const std::optional<WireFault>& fault() const { return fault_; }

    /// Exactly the bytes that the packet's Length counts; the whole datagram when the header is at fault.
    byte_span packet() const { return bytes_; }

  private:
    AttributeReader(byte_span bytes, std::size_t position, std::size_t base)
        : bytes_(bytes), position_(position), base_(base) {}

    void stop();

    byte_span bytes_;
    std::size_t position_;
    std::size_t base_ = 0;
    std::optional<WireFault> fault_;
};

/// What a part of an attribute is.
enum class PartKind : std::uint8_t {
    Value,       ///< a whole value
    List,        ///< a list of nested TLVs (RFC 6929, section 2.3); its parts come next
    MorePieces,  ///< a piece of a value; a later attribute of the same path has the next
    LastPiece,   ///< the last piece of such a value, or its only one. It may be a list of TLVs
    Joinable,    ///< a value that continues in the next attribute of its path, if that one follows at once
                 ///< (`AttributeMetadata::concat`). It may be a list of TLVs
    Unreadable,  ///< bytes that are passed over, because of `problem`
};

/// One part of an attribute. The path is valid until its reader is used again, the value for as long as the
/// datagram is.
struct WirePart {
    PartKind kind;
    WireProblem problem;                  ///< counts for `Unreadable` only
    std::span<const std::uint32_t> path;  ///< the code path; of `Unreadable` as far as it could be read
    const AttributeMetadata* definition;  ///< of the path: the dictionary's or the unknown record, never null
    byte_span value;     ///< without header, flags and continuation byte; the bytes that are passed over
    std::size_t offset;  ///< of the part's first byte: its type, or the attribute's own Type
    std::size_t value_offset;  ///< of the value's first byte
};

/// Goes into one attribute: over a vendor's sub-attributes (RFC 2865, section 5.26), into the header of an
/// extended one (RFC 6929, section 2), and through nested TLVs. Every byte of the attribute's value belongs
/// to a header or to a part that it yields: what cannot be read is yielded as `Unreadable`.
class PartReader {
  public:
    /// The parts of an attribute. The dictionary must outlive the reader.
    PartReader(const WireAttribute& attribute, const RadiusDictionary& dictionary);

    /// The nested TLVs of a value that was put together from pieces: `path` and `definition` are the pieces',
    /// and offsets are counted from the first byte of `joined`. Throws `std::invalid_argument` "PartReader:
    /// path too long" for more elements than the path of a piece can have, which is four.
    PartReader(std::span<const std::uint32_t> path, const AttributeMetadata& definition, byte_span joined,
               const RadiusDictionary& dictionary);

    PartReader(const PartReader&) = delete;
    PartReader& operator=(const PartReader&) = delete;
    PartReader(PartReader&&) = delete;
    PartReader& operator=(PartReader&&) = delete;
    ~PartReader() = default;

    /// The next part; nothing at the attribute's end.
    std::optional<WirePart> next();

    /// How the attribute is framed: as the dictionary says or, without a definition, by its type.
    ContainerKind container() const { return container_; }

  private:
    /// Where in the attribute the next part is looked for, when no list of TLVs is open.
    enum class Stage : std::uint8_t { Attribute, VendorList, End };

    /// A list of TLVs that is being read.
    struct List {
        std::size_t end;        // position behind it
        std::size_t hash;       // of the list's path
        std::size_t path_size;  // its number of elements
    };

    // The Length of a nested TLV is one byte, so that each has at least two bytes less inside than the one
    // around it: 127 are the most.
    static constexpr std::size_t max_nested_tlvs = max_attribute_size / attribute_header_size;
    static constexpr std::size_t max_path_of_pieces = 4;
    static constexpr std::size_t max_path = max_path_of_pieces + max_nested_tlvs;

    std::optional<WirePart> attribute();
    std::optional<WirePart> vendor_specific();
    WirePart extended();
    WirePart vendor_attribute();
    std::optional<WirePart> nested_tlv();

    WirePart value(const AttributeMetadata& definition, std::size_t hash, std::size_t offset,
                   std::size_t value_start, std::size_t end);
    WirePart value_or_list(const AttributeMetadata& definition, std::size_t hash, std::size_t offset,
                           std::size_t value_start, std::size_t end);
    WirePart unreadable(WireProblem problem, std::size_t offset, std::size_t start, std::size_t end) const;
    WirePart part(PartKind kind, const AttributeMetadata& definition, std::size_t offset,
                  std::size_t value_start, std::size_t end) const;
    void open_list(std::size_t hash, std::size_t end);
    void push(std::uint32_t code) { path_[path_size_++] = code; }
    std::span<const std::uint32_t> path() const { return {path_.data(), path_size_}; }
    std::uint32_t read_number(std::size_t width);

    const DictionaryTables& tables_;
    byte_span bytes_;                     // the attribute's value, or a joined one
    std::size_t base_;                    // offset of its first byte
    std::size_t position_ = 0;            // of the next byte to read in it
    const AttributeMetadata* record_;     // of the attribute
    const VendorInfo* vendor_ = nullptr;  // in a Vendor-Specific attribute
    ContainerKind container_;
    Stage stage_;
    std::size_t path_size_ = 0;
    std::size_t open_lists_ = 0;
    // Not initialised: only what the sizes above count is ever read.
    std::array<std::uint32_t, max_path> path_;
    std::array<List, max_nested_tlvs + 1> lists_;
};

}  // namespace quarn::subscriber::radius
