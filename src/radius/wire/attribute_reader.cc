#include "quarn/radius/attribute_reader.h"

#include <stdexcept>

#include "dictionary/dictionary_tables.h"
#include "wire/container_format.h"

namespace quarn::subscriber::radius {

namespace {

std::size_t number_at(byte_span bytes, std::size_t position, std::size_t width) {
    std::size_t number = 0;
    for (const std::uint8_t byte : bytes.subspan(position, width)) {
        number = number << 8 | byte;
    }
    return number;
}

}  // namespace

AttributeReader::AttributeReader(byte_span datagram) : bytes_(datagram), position_(datagram.size()) {
    if (datagram.size() < length_offset + 2) {
        fault_ = WireFault{WireProblem::PacketLengthMissing, datagram.size()};
        return;
    }
    const std::size_t length = number_at(datagram, length_offset, 2);
    if (length < header_size || length > datagram.size()) {
        fault_ = WireFault{
            length < header_size ? WireProblem::PacketLengthTooSmall : WireProblem::PacketLengthTooLarge,
            length_offset, 0, static_cast<std::uint32_t>(length)};
        return;
    }
    bytes_ = datagram.first(length);
    position_ = header_size;
}

AttributeReader AttributeReader::over_attributes(byte_span attributes, std::size_t offset) {
    return {attributes, 0, offset};
}

/// Finds out why there is no attribute at the position.
void AttributeReader::stop() {
    const std::size_t left = bytes_.size() - position_;
    const std::uint32_t type = bytes_[position_];
    if (left < attribute_header_size) {
        fault_ = WireFault{WireProblem::AttributeLengthMissing, base_ + position_, type};
        return;
    }
    const std::uint32_t length = bytes_[position_ + 1];
    fault_ = WireFault{length < attribute_header_size ? WireProblem::AttributeLengthTooSmall
                                                      : WireProblem::AttributeLengthTooLarge,
                       base_ + position_ + 1, type, length};
}

// The arrays are filled as far as they are read.
// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init)
PartReader::PartReader(const WireAttribute& attribute, const RadiusDictionary& dictionary)
    : tables_(DictionaryTables::of(dictionary)),
      bytes_(attribute.value),
      base_(attribute.offset + attribute_header_size),
      record_(&tables_.top_level_attribute(attribute.type)),
      container_(top_level_container(*record_, attribute.type)),
      stage_(Stage::Attribute) {
    push(attribute.type);
}

// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init)
PartReader::PartReader(std::span<const std::uint32_t> path, const AttributeMetadata& definition,
                       byte_span joined, const RadiusDictionary& dictionary)
    : tables_(DictionaryTables::of(dictionary)),
      bytes_(joined),
      base_(0),
      record_(&definition),
      container_(ContainerKind::Tlv),
      stage_(Stage::End) {
    if (path.size() > max_path_of_pieces) {
        throw std::invalid_argument("PartReader: path too long");
    }
    for (const std::uint32_t code : path) {
        push(code);
    }
    open_list(tables_.code_hash(this->path()), joined.size());
}

std::optional<WirePart> PartReader::next() {
    while (open_lists_ > 0) {
        if (auto found = nested_tlv()) {
            return found;
        }
    }
    switch (stage_) {
        case Stage::Attribute:
            stage_ = Stage::End;
            return attribute();
        case Stage::VendorList:
            if (position_ < bytes_.size()) {
                return vendor_attribute();
            }
            break;
        case Stage::End:
            break;
    }
    return std::nullopt;
}

std::optional<WirePart> PartReader::attribute() {
    switch (container_) {
        case ContainerKind::Vsa:
            return vendor_specific();
        case ContainerKind::Extended:
        case ContainerKind::LongExtended:
            return extended();
        case ContainerKind::None:
        case ContainerKind::Tlv:
        case ContainerKind::Evs:
        case ContainerKind::Struct:
            break;
    }
    const std::size_t hash = record_->kind == ContainerKind::Tlv ? tables_.code_hash(path()) : 0;
    return value(*record_, hash, base_ - attribute_header_size, 0, bytes_.size());
}

std::optional<WirePart> PartReader::vendor_specific() {
    if (bytes_.size() < vendor_id_size) {
        return unreadable(WireProblem::VendorIdIncomplete, base_ - attribute_header_size, 0, bytes_.size());
    }
    const std::uint32_t vendor_id = read_number(vendor_id_size);
    vendor_ = &vendor_format(tables_, vendor_id);
    path_[0] = VSA_TYPE;  // whatever the number of the type that the dictionary takes for Vendor-Specific
    push(vendor_id);
    stage_ = Stage::VendorList;
    return vendor_attribute();
}

/// The sub-attribute at the position, or what is there instead. Is called at the end of the bytes only for an
/// attribute that has none.
WirePart PartReader::vendor_attribute() {
    path_size_ = 2;
    const std::size_t start = position_;
    const std::size_t left = bytes_.size() - start;
    const std::size_t header = vendor_->type_size + vendor_->length_size;
    if (left < header) {
        stage_ = Stage::End;
        return unreadable(WireProblem::VendorHeaderIncomplete, base_ + start, start, bytes_.size());
    }
    const std::uint32_t type = read_number(vendor_->type_size);
    push(type);
    const std::size_t length = read_number(vendor_->length_size);
    if (length < header || length > left) {
        stage_ = Stage::End;
        return unreadable(
            length < header ? WireProblem::VendorLengthTooSmall : WireProblem::VendorLengthTooLarge,
            base_ + start, start, bytes_.size());
    }
    const std::size_t end = start + length;
    if (!vendor_->continuation) {
        const std::size_t hash = tables_.code_hash(path());
        position_ = end;
        return value(tables_.attribute_by_code(path(), hash), hash, base_ + start, start + header, end);
    }
    if (position_ == end) {
        return unreadable(WireProblem::ContinuationMissing, base_ + start, end, end);
    }
    const bool more = (read_number(1) & more_flag) != 0;
    const std::size_t value_start = position_;
    position_ = end;
    return part(more ? PartKind::MorePieces : PartKind::LastPiece,
                tables_.attribute_by_code(path(), tables_.code_hash(path())), base_ + start, value_start,
                end);
}

WirePart PartReader::extended() {
    const bool long_form = container_ == ContainerKind::LongExtended;
    const std::size_t offset = base_ - attribute_header_size;
    if (bytes_.empty()) {
        return unreadable(WireProblem::ExtendedTypeMissing, offset, 0, 0);
    }
    if (long_form && bytes_.size() < 2) {
        return unreadable(WireProblem::ExtendedFlagsMissing, offset, 0, bytes_.size());
    }
    push(read_number(1));
    const bool more = long_form && (read_number(1) & more_flag) != 0;
    if (path_[1] == VSA_TYPE) {
        if (bytes_.size() - position_ < vendor_id_size + extended_vendor_type_size) {
            return unreadable(WireProblem::ExtendedVendorIncomplete, offset, position_, bytes_.size());
        }
        push(read_number(vendor_id_size));
        push(read_number(extended_vendor_type_size));
    }
    const std::size_t hash = tables_.code_hash(path());
    const AttributeMetadata& definition = tables_.attribute_by_code(path(), hash);
    if (!long_form) {
        return value(definition, hash, offset, position_, bytes_.size());
    }
    return part(more ? PartKind::MorePieces : PartKind::LastPiece, definition, offset, position_,
                bytes_.size());
}

/// The TLV at the position; nothing at the end of the innermost list, which is closed then.
std::optional<WirePart> PartReader::nested_tlv() {
    const List& list = lists_[open_lists_ - 1];
    path_size_ = list.path_size;
    const std::size_t start = position_;
    const std::size_t left = list.end - start;
    if (left < attribute_header_size) {
        --open_lists_;
        position_ = list.end;
        return left == 0 ? std::nullopt
                         : std::optional(
                               unreadable(WireProblem::TlvHeaderIncomplete, base_ + start, start, list.end));
    }
    push(read_number(1));
    const std::size_t length = read_number(1);
    if (length < attribute_header_size || length > left) {
        --open_lists_;
        position_ = list.end;
        return unreadable(
            length < attribute_header_size ? WireProblem::TlvLengthTooSmall : WireProblem::TlvLengthTooLarge,
            base_ + start, start, list.end);
    }
    const std::size_t hash = DictionaryTables::extended_code_hash(list.hash, path_[path_size_ - 1]);
    return value_or_list(tables_.attribute_by_code(path(), hash), hash, base_ + start, position_,
                         start + length);
}

/// A value that, if the dictionary says so, may continue in the next attribute.
WirePart PartReader::value(const AttributeMetadata& definition, std::size_t hash, std::size_t offset,
                           std::size_t value_start, std::size_t end) {
    if (definition.concat) {
        position_ = end;
        return part(PartKind::Joinable, definition, offset, value_start, end);
    }
    return value_or_list(definition, hash, offset, value_start, end);
}

WirePart PartReader::value_or_list(const AttributeMetadata& definition, std::size_t hash, std::size_t offset,
                                   std::size_t value_start, std::size_t end) {
    const bool is_list = definition.kind == ContainerKind::Tlv;
    position_ = is_list ? value_start : end;
    if (is_list) {
        open_list(hash, end);
    }
    return part(is_list ? PartKind::List : PartKind::Value, definition, offset, value_start, end);
}

WirePart PartReader::unreadable(WireProblem problem, std::size_t offset, std::size_t start,
                                std::size_t end) const {
    WirePart found = part(PartKind::Unreadable, RadiusDictionary::unknown_definition(), offset, start, end);
    found.problem = problem;
    return found;
}

WirePart PartReader::part(PartKind kind, const AttributeMetadata& definition, std::size_t offset,
                          std::size_t value_start, std::size_t end) const {
    return {.kind = kind,
            .problem = {},
            .path = path(),
            .definition = &definition,
            .value = bytes_.subspan(value_start, end - value_start),
            .offset = offset,
            .value_offset = base_ + value_start};
}

void PartReader::open_list(std::size_t hash, std::size_t end) {
    lists_[open_lists_++] = {end, hash, path_size_};
}

std::uint32_t PartReader::read_number(std::size_t width) {
    const auto number = static_cast<std::uint32_t>(number_at(bytes_, position_, width));
    position_ += width;
    return number;
}

}  // namespace quarn::subscriber::radius
