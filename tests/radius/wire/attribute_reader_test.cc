#include "quarn/radius/attribute_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "testing/every_kind.h"
#include "testing/packet_forge.h"
#include "testing/packets.h"
#include "testing/reader_agreement.h"
#include "testing/thrown_text.h"

namespace quarn::subscriber::radius {
namespace {

using test::datagram;
using test::hex;
using test::Lines;
using test::to_hex;

std::string_view name_of(WireProblem problem) {
    switch (problem) {
        case WireProblem::PacketLengthMissing:
            return "PacketLengthMissing";
        case WireProblem::PacketLengthTooSmall:
            return "PacketLengthTooSmall";
        case WireProblem::PacketLengthTooLarge:
            return "PacketLengthTooLarge";
        case WireProblem::AttributeLengthMissing:
            return "AttributeLengthMissing";
        case WireProblem::AttributeLengthTooSmall:
            return "AttributeLengthTooSmall";
        case WireProblem::AttributeLengthTooLarge:
            return "AttributeLengthTooLarge";
        case WireProblem::VendorIdIncomplete:
            return "VendorIdIncomplete";
        case WireProblem::VendorHeaderIncomplete:
            return "VendorHeaderIncomplete";
        case WireProblem::VendorLengthTooSmall:
            return "VendorLengthTooSmall";
        case WireProblem::VendorLengthTooLarge:
            return "VendorLengthTooLarge";
        case WireProblem::ContinuationMissing:
            return "ContinuationMissing";
        case WireProblem::ExtendedTypeMissing:
            return "ExtendedTypeMissing";
        case WireProblem::ExtendedFlagsMissing:
            return "ExtendedFlagsMissing";
        case WireProblem::ExtendedVendorIncomplete:
            return "ExtendedVendorIncomplete";
        case WireProblem::TlvHeaderIncomplete:
            return "TlvHeaderIncomplete";
        case WireProblem::TlvLengthTooSmall:
            return "TlvLengthTooSmall";
        case WireProblem::TlvLengthTooLarge:
            return "TlvLengthTooLarge";
    }
    return "no problem";
}

std::string_view name_of(PartKind kind) {
    switch (kind) {
        case PartKind::Value:
            return "Value";
        case PartKind::List:
            return "List";
        case PartKind::MorePieces:
            return "MorePieces";
        case PartKind::LastPiece:
            return "LastPiece";
        case PartKind::Joinable:
            return "Joinable";
        case PartKind::Unreadable:
            return "Unreadable";
    }
    return "no kind";
}

/// "TYPE at OFFSET: digits" a line, then what stopped the reader, if something did.
Lines attributes_of(byte_span bytes) {
    Lines lines;
    AttributeReader attributes(bytes);
    while (const auto attribute = attributes.next()) {
        lines.push_back(std::to_string(attribute->type) + " at " + std::to_string(attribute->offset) + ": " +
                        to_hex(attribute->value));
    }
    if (const auto& fault = attributes.fault()) {
        lines.push_back(std::string(name_of(fault->problem)) + " at " + std::to_string(fault->offset) +
                        ", type " + std::to_string(fault->type) + ", length " +
                        std::to_string(fault->length));
    }
    EXPECT_FALSE(attributes.next()) << "the end stays the end";
    return lines;
}

/// "KIND PATH at OFFSET, VALUE_OFFSET: digits" a line, with the problem for the kind of what is unreadable.
void append_parts(PartReader& parts, Lines& lines) {
    while (const auto part = parts.next()) {
        lines.push_back(
            std::string(part->kind == PartKind::Unreadable ? name_of(part->problem) : name_of(part->kind)) +
            " " + radius_code_path_to_string(CodePath(part->path.begin(), part->path.end())) + " at " +
            std::to_string(part->offset) + ", " + std::to_string(part->value_offset) + ": " +
            to_hex(part->value));
    }
    EXPECT_FALSE(parts.next()) << "the end stays the end";
}

Lines parts_of(std::string_view attribute_digits) {
    const Bytes bytes = datagram(1, attribute_digits);
    Lines lines;
    AttributeReader attributes(bytes);
    while (const auto attribute = attributes.next()) {
        PartReader parts(*attribute, *fuzz::dictionary_of_every_kind());
        append_parts(parts, lines);
    }
    EXPECT_FALSE(attributes.fault());
    return lines;
}

TEST(AttributeReader, GoesFromAttributeToAttribute) {
    EXPECT_EQ(attributes_of(datagram(1, "0105626f62 1202 0403 61")),
              (Lines{"1 at 20: 626f62", "18 at 25: ", "4 at 27: 61"}));
    EXPECT_EQ(attributes_of(datagram(1, "")), Lines());
}

TEST(AttributeReader, StopsWhereAnAttributeIsNone) {
    EXPECT_EQ(attributes_of(datagram(1, "120361 01")),
              (Lines{"18 at 20: 61", "AttributeLengthMissing at 23, type 1, length 0"}));
    EXPECT_EQ(attributes_of(datagram(1, "0101")), Lines{"AttributeLengthTooSmall at 21, type 1, length 1"});
    EXPECT_EQ(attributes_of(datagram(1, "010461")), Lines{"AttributeLengthTooLarge at 21, type 1, length 4"});
}

TEST(AttributeReader, ReadsNothingBehindAFaultyHeader) {
    Bytes bytes = datagram(1, "120361");
    EXPECT_EQ(attributes_of(byte_span(bytes).first(3)), Lines{"PacketLengthMissing at 3, type 0, length 0"});
    EXPECT_EQ(attributes_of(byte_span(bytes).first(22)),
              Lines{"PacketLengthTooLarge at 2, type 0, length 23"});
    bytes[3] = 19;
    EXPECT_EQ(attributes_of(bytes), Lines{"PacketLengthTooSmall at 2, type 0, length 19"});
    EXPECT_EQ(AttributeReader(bytes).packet().size(), bytes.size());
}

TEST(AttributeReader, LeavesOutWhatFollowsThePacket) {
    Bytes bytes = datagram(1, "120361");
    bytes.push_back(1);
    EXPECT_EQ(attributes_of(bytes), Lines{"18 at 20: 61"});
    EXPECT_EQ(AttributeReader(bytes).packet().size(), 23U);
}

TEST(AttributeReader, GoesOverAttributesWithoutAHeader) {
    const Bytes bytes = hex("120361 0402");
    auto attributes = AttributeReader::over_attributes(bytes, 100);
    EXPECT_EQ(attributes.next()->offset, 100U);
    EXPECT_EQ(attributes.next()->offset, 103U);
    EXPECT_FALSE(attributes.next());
    EXPECT_FALSE(attributes.fault());
}

TEST(PartReader, YieldsAPlainAttributeAsItIs) {
    EXPECT_EQ(parts_of("0105626f62"), Lines{"Value 1 at 20, 22: 626f62"});
    EXPECT_EQ(parts_of("9205626f62"), Lines{"Joinable 146 at 20, 22: 626f62"});
}

TEST(PartReader, GoesOverTheSubAttributesOfAVendor) {
    EXPECT_EQ(parts_of("1a0b 00000456 65036a 6602"),
              (Lines{"Value 26.1110.101 at 26, 28: 6a", "Value 26.1110.102 at 29, 31: "}));
}

TEST(PartReader, TellsWhatIsNoSubAttribute) {
    EXPECT_EQ(parts_of("1a05 000004"), Lines{"VendorIdIncomplete 26 at 20, 22: 000004"});
    EXPECT_EQ(parts_of("1a06 00000456"), Lines{"VendorHeaderIncomplete 26.1110 at 26, 26: "});
    EXPECT_EQ(parts_of("1a07 00000456 65"), Lines{"VendorHeaderIncomplete 26.1110 at 26, 26: 65"});
    EXPECT_EQ(parts_of("1a0a 00000456 65036a 66"),
              (Lines{"Value 26.1110.101 at 26, 28: 6a", "VendorHeaderIncomplete 26.1110 at 29, 29: 66"}));
    EXPECT_EQ(parts_of("1a09 00000456 65016a"), Lines{"VendorLengthTooSmall 26.1110.101 at 26, 26: 65016a"});
    EXPECT_EQ(parts_of("1a09 00000456 65046a"), Lines{"VendorLengthTooLarge 26.1110.101 at 26, 26: 65046a"});
}

TEST(PartReader, TellsPiecesByTheirContinuationByte) {
    EXPECT_EQ(parts_of("1a0a 00000457 65048041 1a0a 00000457 65040042"),
              (Lines{"MorePieces 26.1111.101 at 26, 29: 41", "LastPiece 26.1111.101 at 36, 39: 42"}));
    EXPECT_EQ(parts_of("1a0c 00000457 6502 65040042"),
              (Lines{"ContinuationMissing 26.1111.101 at 26, 28: ", "LastPiece 26.1111.101 at 28, 31: 42"}));
}

TEST(PartReader, LooksBehindTheHeaderOfAnExtendedAttribute) {
    EXPECT_EQ(parts_of("f1046541"), Lines{"Value 241.101 at 20, 23: 41"});
    EXPECT_EQ(parts_of("f1091a000004566541"), Lines{"Value 241.26.1110.101 at 20, 28: 41"});
    EXPECT_EQ(parts_of("f102"), Lines{"ExtendedTypeMissing 241 at 20, 22: "});
    EXPECT_EQ(parts_of("f1051a0000"), Lines{"ExtendedVendorIncomplete 241.26 at 20, 23: 0000"});
}

TEST(PartReader, TellsPiecesByTheirMoreFlag) {
    EXPECT_EQ(parts_of("f505658041 f505650042"),
              (Lines{"MorePieces 245.101 at 20, 24: 41", "LastPiece 245.101 at 25, 29: 42"}));
    EXPECT_EQ(parts_of("f50365"), Lines{"ExtendedFlagsMissing 245 at 20, 22: 65"});
}

TEST(PartReader, GoesIntoNestedTlvs) {
    EXPECT_EQ(parts_of("960a 65036a 9605650341"),
              (Lines{"List 150 at 20, 22: 65036a9605650341", "Value 150.101 at 22, 24: 6a",
                     "List 150.150 at 25, 27: 650341", "Value 150.150.101 at 27, 29: 41"}));
    EXPECT_EQ(parts_of("1a0b 00000456 9605650341"),
              (Lines{"List 26.1110.150 at 26, 28: 650341", "Value 26.1110.150.101 at 28, 30: 41"}));
    EXPECT_EQ(parts_of("9602"), Lines{"List 150 at 20, 22: "});
}

TEST(PartReader, TellsWhatIsNoTlvAndGoesOnBehindItsList) {
    EXPECT_EQ(parts_of("9603 65"),
              (Lines{"List 150 at 20, 22: 65", "TlvHeaderIncomplete 150 at 22, 22: 65"}));
    EXPECT_EQ(parts_of("9608 9604 6501 6602"),
              (Lines{"List 150 at 20, 22: 960465016602", "List 150.150 at 22, 24: 6501",
                     "TlvLengthTooSmall 150.150.101 at 24, 24: 6501", "Value 150.102 at 26, 28: "}));
    EXPECT_EQ(parts_of("9604 6503"),
              (Lines{"List 150 at 20, 22: 6503", "TlvLengthTooLarge 150.101 at 22, 22: 6503"}));
}

TEST(PartReader, GoesDownToTheInnermostTlv) {
    Bytes bytes(20);
    bytes[0] = 1;
    for (std::size_t left = 255; left >= 2; left -= 2) {
        bytes.push_back(left == 255 ? std::uint8_t{fuzz::bottomless_tlv} : std::uint8_t{1});
        bytes.push_back(static_cast<std::uint8_t>(left));
    }
    bytes.push_back(0);
    bytes[2] = static_cast<std::uint8_t>(bytes.size() >> 8);
    bytes[3] = static_cast<std::uint8_t>(bytes.size());
    AttributeReader attributes(bytes);
    PartReader parts(*attributes.next(), *fuzz::dictionary_of_every_kind());
    std::size_t deepest = 0;
    while (const auto part = parts.next()) {
        deepest = std::max(deepest, part->path.size());
    }
    EXPECT_EQ(deepest, 127U);
    fuzz::require_agreement(bytes);
}

TEST(PartReader, GoesOverTheTlvsOfAJoinedValue) {
    const CodePath path = {fuzz::concat_tlv};
    const auto& dictionary = *fuzz::dictionary_of_every_kind();
    const Bytes joined = hex("65036a 66");
    Lines lines;
    PartReader parts(path, dictionary.attribute_by_code(path), joined, dictionary);
    append_parts(parts, lines);
    EXPECT_EQ(lines, (Lines{"Value 151.101 at 0, 2: 6a", "TlvHeaderIncomplete 151 at 3, 3: 66"}));
}

TEST(PartReader, RefusesAPathThatNoPieceHas) {
    const CodePath path = {1, 2, 3, 4, 5};
    const auto& dictionary = *fuzz::dictionary_of_every_kind();
    EXPECT_EQ(test::thrown_text<std::invalid_argument>(
                  [&] { PartReader(path, RadiusDictionary::unknown_definition(), {}, dictionary); }),
              "PartReader: path too long");
}

TEST(PartReader, TellsTheDefinition) {
    const auto& dictionary = *fuzz::dictionary_of_every_kind();
    const Bytes bytes = datagram(1, "1a09 00000456 65036a 1a09 0000270f 65036a");
    AttributeReader attributes(bytes);
    PartReader known(*attributes.next(), dictionary);
    EXPECT_EQ(known.next()->definition, &dictionary.attribute_by_code({26, 1110, 101}));
    PartReader unknown(*attributes.next(), dictionary);
    EXPECT_EQ(unknown.next()->definition, &RadiusDictionary::unknown_definition());
}

TEST(Readers, AgreeWithTheDecoderOnForgedPackets) {
    Bytes before;
    for (std::uint32_t seed = 1; seed <= 1500; ++seed) {
        fuzz::PacketForge forge(seed);
        Bytes packet = seed % 3 == 0 ? forge.packet(4096) : forge.mutated(before, 4096);
        fuzz::require_agreement(packet);
        before = std::move(packet);
    }
}

}  // namespace
}  // namespace quarn::subscriber::radius
