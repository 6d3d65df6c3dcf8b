#include "quarn/radius/packet_validation.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "quarn/radius/packet_code.h"
#include "testing/codec_dictionary.h"
#include "testing/dictionaries.h"
#include "testing/no_algorithms.h"
#include "testing/wire.h"

// The packets of these tests are signed by the formulas of the RFCs with OpenSSL's own digests, not by the
// encoder, so that an error common to encoder and validator cannot hide.

namespace quarn::subscriber::radius {
namespace {

using test::codec_dictionary;
using test::datagram;
using test::hex;
using test::repeat;

constexpr std::string_view secret = "xyzzy5461";
const Authenticator request_authenticator = test::authenticator_from("0f403f9473978057bd83d5cb98f4227a");
const std::string message_authenticator = "50 12" + repeat("00", 16);  // to be filled in

const RadiusPacketValRes passed;
const RadiusPacketValRes dictionary_required(ValidationError::DictionaryRequired,
                                             "RadiusPacket: dictionary required");
const RadiusPacketValRes unsupported_type(ValidationError::UnsupportedPacketType,
                                          "RadiusPacket: unsupported packet type");
const RadiusPacketValRes too_large(ValidationError::PacketTooLarge, "RadiusPacket: packet too large");
const RadiusPacketValRes malformed(ValidationError::InvalidMessageAuthenticator,
                                   "RadiusPacket: malformed Message-Authenticator");
const RadiusPacketValRes mismatch(ValidationError::InvalidMessageAuthenticator,
                                  "RadiusPacket: Message-Authenticator mismatch");
const RadiusPacketValRes request_authenticator_required(ValidationError::InvalidAuthenticator,
                                                        "RadiusPacket: request authenticator required");
const RadiusPacketValRes invalid_response(ValidationError::InvalidAuthenticator,
                                          "RadiusPacket: invalid Response Authenticator");
const RadiusPacketValRes invalid_request(ValidationError::InvalidAuthenticator,
                                         "RadiusPacket: invalid Request Authenticator");

constexpr PacketCode all_codes[] = {ACCESS_REQUEST,
                                    ACCESS_ACCEPT,
                                    ACCESS_REJECT,
                                    ACCOUNTING_REQUEST,
                                    ACCOUNTING_RESPONSE,
                                    ACCESS_CHALLENGE,
                                    STATUS_SERVER,
                                    DISCONNECT_REQUEST,
                                    DISCONNECT_ACK,
                                    DISCONNECT_NAK,
                                    COA_REQUEST,
                                    COA_ACK,
                                    COA_NAK};
constexpr PacketCode responses[] = {ACCESS_ACCEPT,    ACCESS_REJECT,  ACCOUNTING_RESPONSE,
                                    ACCESS_CHALLENGE, DISCONNECT_ACK, DISCONNECT_NAK,
                                    COA_ACK,          COA_NAK};
constexpr PacketCode digest_requests[] = {ACCOUNTING_REQUEST, DISCONNECT_REQUEST, COA_REQUEST};
constexpr PacketCode random_requests[] = {ACCESS_REQUEST, STATUS_SERVER};

void put(Bytes& bytes, std::size_t offset, const Authenticator& digest) {
    std::copy(digest.begin(), digest.end(), bytes.begin() + static_cast<std::ptrdiff_t>(offset));
}

/// Puts into the 16 bytes at `offset` what a Message-Authenticator of a packet of this code has to be.
Bytes with_message_authenticator(Bytes raw, std::size_t offset, std::string_view key = secret) {
    Bytes covered = raw;
    if (is_response_code(raw[0])) {
        put(covered, 4, request_authenticator);
    } else if (is_zero_authenticator_code(raw[0])) {
        put(covered, 4, ZERO16);
    }
    put(covered, offset, ZERO16);
    put(raw, offset, test::hmac_md5(key, covered));
    return raw;
}

/// Puts into the header what the Authenticator of a packet of this code has to be, where it is computed.
Bytes with_authenticator(Bytes raw, std::string_view key = secret) {
    if (!is_response_code(raw[0]) && !is_zero_authenticator_code(raw[0])) {
        return raw;
    }
    put(raw, 4, is_response_code(raw[0]) ? request_authenticator : ZERO16);
    put(raw, 4, test::md5(test::joined({raw, utils::to_bytes(key)})));
    return raw;
}

/// A packet without a Message-Authenticator, signed.
Bytes plain_packet(std::uint8_t code) {
    return with_authenticator(datagram(code, "12 03 61  19 04 62 63"));
}

constexpr std::size_t digest_offset = 20 + 3 + 2;  // in the packets of `full_packet`

/// A packet with a Message-Authenticator between two other attributes, signed.
Bytes full_packet(std::uint8_t code) {
    return with_authenticator(with_message_authenticator(
        datagram(code, "12 03 61" + message_authenticator + "19 04 62 63"), digest_offset));
}

RadiusPacket received(const Bytes& raw) {
    RadiusPacket packet = test::decode(codec_dictionary(), raw).packet;
    packet.request_authenticator = request_authenticator;
    return packet;
}

RadiusPacketValRes result_of(const Bytes& raw, std::string_view key = secret) {
    return received(raw).validate(key);
}

Bytes flipped(Bytes bytes, std::size_t position, std::uint8_t bits = 1) {
    bytes[position] ^= bits;
    return bytes;
}

// ----------------------------------------------------------------------------------------------- the result

TEST(ValidationError, NumbersArePartOfTheInterface) {
    EXPECT_EQ(static_cast<std::uint32_t>(ValidationError::None), 0U);
    EXPECT_EQ(static_cast<std::uint32_t>(ValidationError::PacketTooLarge), 2U);
    EXPECT_EQ(static_cast<std::uint32_t>(ValidationError::InvalidAuthenticator), 3U);
    EXPECT_EQ(static_cast<std::uint32_t>(ValidationError::InvalidMessageAuthenticator), 4U);
    EXPECT_EQ(static_cast<std::uint32_t>(ValidationError::DictionaryRequired), 5U);
    EXPECT_EQ(static_cast<std::uint32_t>(ValidationError::UnsupportedPacketType), 6U);
}

TEST(ValidationResult, IsSuccessWithoutATextByDefault) {
    EXPECT_EQ(passed.error, ValidationError::None);
    EXPECT_EQ(passed.message, "");
}

// ------------------------------------------------------------------------------------------ before any
// digest

TEST(Validate, NeedsADictionaryWhateverTheCode) {
    for (int code = 0; code <= 255; ++code) {
        RadiusPacket packet;
        packet.code = static_cast<std::uint8_t>(code);
        EXPECT_EQ(packet.validate(secret), dictionary_required) << code;
        EXPECT_EQ(packet.validate(""), dictionary_required) << code;
    }
}

TEST(Validate, RefusesEveryUnsupportedCodeEvenWithoutASecret) {
    for (int number = 0; number <= 255; ++number) {
        const auto code = static_cast<std::uint8_t>(number);
        if (!is_supported_code(code)) {
            EXPECT_EQ(result_of(datagram(code, ""), ""), unsupported_type) << number;
            EXPECT_EQ(test::new_packet(codec_dictionary(), code).validate(secret), unsupported_type)
                << number;
        }
    }
}

TEST(Validate, AcceptsEverySupportedCodeWithoutASecret) {
    for (const PacketCode code : all_codes) {
        EXPECT_EQ(result_of(datagram(code, ""), ""), passed) << code;
    }
}

/// A packet in memory with one value of this size.
RadiusPacket packet_with_value(std::string_view name, std::size_t size) {
    RadiusPacket packet = test::new_packet(codec_dictionary(), ACCESS_ACCEPT);
    test::add_value(packet, name, Bytes(size));
    return packet;
}

TEST(Validate, RefusesMoreThan65535BytesEvenWithoutASecret) {
    // 20 bytes of header, 2 of the attribute.
    EXPECT_EQ(packet_with_value("Class", 65535 - 22).validate(""), passed);
    EXPECT_EQ(packet_with_value("Class", 65535 - 21).validate(""), too_large);
    EXPECT_EQ(packet_with_value("Class", 65535 - 21).validate(secret), too_large);
}

TEST(Validate, CountsAByteForATag) {
    EXPECT_EQ(packet_with_value("Tunnel-Client-Endpoint", 65535 - 23).validate(""), passed);
    EXPECT_EQ(packet_with_value("Tunnel-Client-Endpoint", 65535 - 22).validate(""), too_large);
}

TEST(Validate, CountsTagsForAllValuesOfAnAttributeOrNoneAsTheFirstOneSays) {
    const auto packet_with_pair = [](bool first_tagged, std::size_t size) {
        RadiusPacket packet = test::new_packet(codec_dictionary(), ACCESS_ACCEPT);
        const AttributeMetadata& record = packet.dictionary->attribute_by_name("Tunnel-Client-Endpoint");
        RadiusAttribute attribute(record, record.code, "");
        attribute.values.emplace_back("text", Bytes(), std::uint8_t{0}, first_tagged);
        attribute.values.emplace_back("text", Bytes(size), std::uint8_t{0}, !first_tagged);
        packet.add_attribute(std::move(attribute));
        return packet;
    };
    EXPECT_EQ(packet_with_pair(false, 65535 - 24).validate(""), passed);
    EXPECT_EQ(packet_with_pair(false, 65535 - 23).validate(""), too_large);
    EXPECT_EQ(packet_with_pair(true, 65535 - 26).validate(""), passed);
    EXPECT_EQ(packet_with_pair(true, 65535 - 25).validate(""), too_large);
}

TEST(Validate, CountsEveryValueOfEveryAttribute) {
    RadiusPacket packet = packet_with_value("Class", 65535 - 20 - 4 * 2 - 2 - 3);
    test::add_value(packet, "Class", {});
    test::add_value(packet, "NAS-Port-Id", Bytes(2));
    test::add_value(packet, "User-Name", Bytes(3));
    EXPECT_EQ(packet.validate(""), passed);
    test::add_value(packet, "User-Name", {});
    EXPECT_EQ(packet.validate(""), too_large);
}

TEST(Validate, LeavesTheHeadersOfVendorAttributesOutOfItsCount) {
    EXPECT_EQ(packet_with_value("One-Text", 65535 - 22).validate(""), passed);
}

TEST(Validate, ChecksTheCodeBeforeTheSize) {
    RadiusPacket packet = packet_with_value("Class", 70000);
    packet.code = 6;
    EXPECT_EQ(packet.validate(secret), unsupported_type);
}

TEST(Validate, ChecksTheSizeBeforeAnyDigest) {
    RadiusPacket packet = received(flipped(full_packet(ACCESS_ACCEPT), digest_offset));
    test::add_value(packet, "Class", Bytes(65535));
    EXPECT_EQ(packet.validate(secret), too_large);
}

TEST(Validate, ChecksNoDigestWithoutASecret) {
    for (const PacketCode code : all_codes) {
        EXPECT_EQ(result_of(flipped(plain_packet(code), 4), ""), passed) << code;
        EXPECT_EQ(result_of(flipped(full_packet(code), digest_offset), ""), passed) << code;
    }
    EXPECT_EQ(result_of(datagram(ACCESS_ACCEPT, "50 03 61  50 03 62"), ""), passed);
}

TEST(Validate, ChecksNoDigestOfAPacketBuiltInMemory) {
    for (const PacketCode code : all_codes) {
        RadiusPacket packet = test::new_packet(codec_dictionary(), code);
        test::add_value(packet, "Message-Authenticator", hex("61"));
        EXPECT_EQ(packet.validate(secret), passed) << code;
    }
}

// ------------------------------------------------------------------------------------------- signed packets

TEST(Validate, PassesCorrectlySignedPacketsOfEveryCode) {
    for (const PacketCode code : all_codes) {
        EXPECT_EQ(result_of(plain_packet(code)), passed) << code;
        EXPECT_EQ(result_of(full_packet(code)), passed) << code;
    }
}

TEST(Validate, PassesRepliesOfAKnownServer) {
    // Access-Accept to the request with the Authenticator 0f403f94..., Message-Authenticator first.
    EXPECT_EQ(result_of(hex("02 07 002a 4e96cc56abf2f114a42600d7c24beb38  50 12 "
                            "2e487381fe11839b2f36121800c1c919  12 04 6869")),
              passed);
}

TEST(Validate, PassesPacketsWithoutAttributes) {
    for (const PacketCode code : all_codes) {
        EXPECT_EQ(result_of(with_authenticator(datagram(code, ""))), passed) << code;
    }
}

TEST(Validate, RefusesAWrongSecretWhereverAnythingIsSigned) {
    for (const PacketCode code : responses) {
        EXPECT_EQ(result_of(plain_packet(code), "another"), invalid_response) << code;
        EXPECT_EQ(result_of(full_packet(code), "another"), mismatch) << code;
    }
    for (const PacketCode code : digest_requests) {
        EXPECT_EQ(result_of(plain_packet(code), "another"), invalid_request) << code;
    }
    EXPECT_EQ(result_of(full_packet(ACCOUNTING_REQUEST), "another"), invalid_request);
    EXPECT_EQ(result_of(full_packet(DISCONNECT_REQUEST), "another"), mismatch);
    EXPECT_EQ(result_of(full_packet(COA_REQUEST), "another"), mismatch);
    for (const PacketCode code : random_requests) {
        EXPECT_EQ(result_of(plain_packet(code), "another"), passed) << code;
        EXPECT_EQ(result_of(full_packet(code), "another"), mismatch) << code;
    }
}

TEST(Validate, TakesSecretsOfAnyBytesWhole) {
    const std::string_view with_zero("ab\0c", 4);
    const Bytes raw = with_authenticator(
        with_message_authenticator(datagram(ACCESS_ACCEPT, message_authenticator), 22, with_zero), with_zero);
    EXPECT_EQ(result_of(raw, with_zero), passed);
    EXPECT_EQ(result_of(raw, "ab"), mismatch);
}

TEST(Validate, RefusesAnAcceptWithAnyOneBitFlipped) {
    for (const Bytes& raw : {plain_packet(ACCESS_ACCEPT), full_packet(ACCESS_ACCEPT)}) {
        ASSERT_EQ(result_of(raw), passed);
        for (std::size_t bit = 0; bit < 8 * raw.size(); ++bit) {
            const Bytes changed = flipped(raw, bit / 8, static_cast<std::uint8_t>(1U << bit % 8));
            try {
                EXPECT_NE(result_of(changed).error, ValidationError::None) << "bit " << bit;
            } catch (const std::runtime_error&) {
                // A length that cannot be: the packet does not get as far as validation.
                EXPECT_TRUE(bit / 8 == 2 || bit / 8 == 3 || bit / 8 >= 20) << "bit " << bit;
            }
        }
    }
}

TEST(Validate, RefusesAnAcceptCutAnywhere) {
    const Bytes raw = full_packet(ACCESS_ACCEPT);
    for (std::size_t size = 0; size < raw.size(); ++size) {
        RadiusPacket packet = received(raw);
        packet.raw.resize(size);
        EXPECT_EQ(packet.validate(secret).error == ValidationError::None, size == 0) << size;
    }
}

// ------------------------------------------------------------------------------------ Message-Authenticator

TEST(ValidateMessageAuthenticator, WithAWrongBitIsRefusedForEveryCodeButAccountingRequest) {
    for (const PacketCode code : all_codes) {
        // The Authenticator is computed over the wrong bytes, and so is right itself.
        const Bytes raw = with_authenticator(flipped(full_packet(code), digest_offset + 15, 0x80));
        EXPECT_EQ(result_of(raw), code == ACCOUNTING_REQUEST ? passed : mismatch) << code;
    }
}

TEST(ValidateMessageAuthenticator, MayBeTheFirstOrTheLastAttribute) {
    for (const PacketCode code : all_codes) {
        const Bytes first = datagram(code, message_authenticator + "12 03 61");
        EXPECT_EQ(result_of(with_authenticator(with_message_authenticator(first, 22))), passed) << code;
        const Bytes last = datagram(code, "12 03 61" + message_authenticator);
        EXPECT_EQ(result_of(with_authenticator(with_message_authenticator(last, 25))), passed) << code;
    }
}

TEST(ValidateMessageAuthenticator, CoversTheAuthenticatorOfRequestsThatChooseTheirs) {
    for (const PacketCode code : random_requests) {
        EXPECT_EQ(result_of(flipped(full_packet(code), 4)), mismatch) << code;
        EXPECT_EQ(result_of(with_message_authenticator(flipped(full_packet(code), 4), digest_offset)), passed)
            << code;
    }
}

TEST(ValidateMessageAuthenticator, OfAReplyCoversTheRequestsAuthenticatorAndNotItsOwn) {
    for (const PacketCode code : responses) {
        RadiusPacket packet = received(full_packet(code));
        (*packet.request_authenticator)[0] ^= 1;
        EXPECT_EQ(packet.validate(secret), mismatch) << code;
        EXPECT_EQ(result_of(flipped(full_packet(code), 4)), invalid_response) << code;
    }
}

TEST(ValidateMessageAuthenticator, OfDisconnectAndCoaRequestsCoversZeroBytes) {
    for (const PacketCode code : {DISCONNECT_REQUEST, COA_REQUEST}) {
        EXPECT_EQ(result_of(flipped(full_packet(code), 4)), invalid_request) << code;
    }
}

TEST(ValidateMessageAuthenticator, IsMalformedUnlessItIsOneValueOf16Bytes) {
    for (const PacketCode code : all_codes) {
        for (const std::string& attributes :
             {"50 11" + repeat("00", 15), "50 13" + repeat("00", 17), std::string("50 02"),
              message_authenticator + message_authenticator, message_authenticator + "50 03 00"}) {
            const Bytes raw = with_authenticator(datagram(code, attributes));
            EXPECT_EQ(result_of(raw), code == ACCOUNTING_REQUEST ? passed : malformed) << code << attributes;
        }
    }
}

TEST(ValidateMessageAuthenticator, IsMalformedWithoutAValue) {
    RadiusPacket packet = received(full_packet(ACCESS_ACCEPT));
    packet.attribute_map.at("Message-Authenticator").values.clear();
    EXPECT_EQ(packet.validate(secret), malformed);
}

TEST(ValidateMessageAuthenticator, IsSeenToBeMalformedBeforeTheRequestsAuthenticatorIsMissed) {
    RadiusPacket packet = received(datagram(ACCESS_ACCEPT, "50 11" + repeat("00", 15)));
    packet.request_authenticator.reset();
    EXPECT_EQ(packet.validate(secret), malformed);
}

TEST(ValidateMessageAuthenticator, OfAReplyNeedsTheRequestsAuthenticator) {
    for (const PacketCode code : responses) {
        RadiusPacket packet = received(full_packet(code));
        packet.request_authenticator.reset();
        EXPECT_EQ(packet.validate(secret), request_authenticator_required) << code;
    }
}

TEST(ValidateMessageAuthenticator, OfARequestNeedsNoRequestsAuthenticator) {
    for (const PacketCode code : {ACCESS_REQUEST, STATUS_SERVER, DISCONNECT_REQUEST, COA_REQUEST}) {
        RadiusPacket packet = received(full_packet(code));
        packet.request_authenticator.reset();
        EXPECT_EQ(packet.validate(secret), passed) << code;
    }
}

/// A packet that has a Message-Authenticator, with other bytes in place of those it was decoded from.
RadiusPacket with_raw(std::uint8_t code, Bytes raw) {
    RadiusPacket packet = received(full_packet(code));
    packet.raw = std::move(raw);
    return packet;
}

TEST(ValidateMessageAuthenticator, DoesNotMatchWhereFewerThan20BytesWereReceived) {
    for (const PacketCode code : all_codes) {
        Bytes raw = full_packet(code);
        raw.resize(19);
        EXPECT_EQ(with_raw(code, raw).validate(secret),
                  code == ACCOUNTING_REQUEST ? invalid_request : mismatch)
            << code;
        raw.resize(1);
        EXPECT_EQ(with_raw(code, raw).validate(secret),
                  code == ACCOUNTING_REQUEST ? invalid_request : mismatch)
            << code;
    }
}

TEST(ValidateMessageAuthenticator, OfAReplyMissesTheRequestsAuthenticatorBeforeThe20Bytes) {
    RadiusPacket packet = with_raw(ACCESS_ACCEPT, Bytes(19));
    packet.request_authenticator.reset();
    EXPECT_EQ(packet.validate(secret), request_authenticator_required);
}

TEST(ValidateMessageAuthenticator, IsNotCheckedWhereTheBytesHoldNone) {
    for (const PacketCode code : all_codes) {
        EXPECT_EQ(with_raw(code, plain_packet(code)).validate(secret), passed) << code;
        EXPECT_EQ(with_raw(code, with_authenticator(datagram(code, ""))).validate(secret), passed) << code;
    }
}

TEST(ValidateMessageAuthenticator, IsNotCheckedWhereTheBytesHoldOneOfAnotherLength) {
    for (const PacketCode code : all_codes) {
        for (const std::string& attributes : {"50 11" + repeat("00", 15), "50 13" + repeat("00", 17)}) {
            EXPECT_EQ(with_raw(code, with_authenticator(datagram(code, attributes))).validate(secret), passed)
                << code;
        }
    }
    // What follows is still checked.
    EXPECT_EQ(with_raw(ACCESS_ACCEPT, datagram(ACCESS_ACCEPT, "50 11" + repeat("00", 15))).validate(secret),
              invalid_response);
}

TEST(ValidateMessageAuthenticator, IsTheFirstOneOf18Bytes) {
    const std::string attributes = "50 03 61" + message_authenticator + message_authenticator;
    const Bytes raw = with_authenticator(with_message_authenticator(datagram(ACCESS_ACCEPT, attributes), 25));
    EXPECT_EQ(with_raw(ACCESS_ACCEPT, raw).validate(secret), passed);
    const Bytes second =
        with_authenticator(with_message_authenticator(datagram(ACCESS_ACCEPT, attributes), 43));
    EXPECT_EQ(with_raw(ACCESS_ACCEPT, second).validate(secret), mismatch);
}

TEST(ValidateMessageAuthenticator, IsNotLookedForBehindAMalformedAttribute) {
    for (const std::string& before : {std::string("12 01"), std::string("12 00"), std::string("12 ff")}) {
        const Bytes raw = with_authenticator(datagram(ACCESS_ACCEPT, before + message_authenticator));
        EXPECT_EQ(with_raw(ACCESS_ACCEPT, raw).validate(secret), passed) << before;
    }
}

TEST(ValidateMessageAuthenticator, IsNotLookedForInsideOtherAttributes) {
    const Bytes raw = with_authenticator(datagram(ACCESS_ACCEPT, "1a 18 00000065" + message_authenticator));
    EXPECT_EQ(with_raw(ACCESS_ACCEPT, raw).validate(secret), passed);
}

TEST(ValidateMessageAuthenticator, MayNotBeCutShortByTheEnd) {
    Bytes raw = datagram(ACCESS_ACCEPT, "12 03 61" + message_authenticator);
    raw.pop_back();
    EXPECT_EQ(with_raw(ACCESS_ACCEPT, with_authenticator(raw)).validate(secret), passed);
}

TEST(ValidateMessageAuthenticator, IsFoundByItsNameInTheDictionary) {
    const Bytes wrong = flipped(full_packet(ACCESS_REQUEST), digest_offset);
    ASSERT_EQ(result_of(wrong), mismatch);
    const auto nameless = std::make_shared<RadiusDictionary>();
    EXPECT_EQ(test::decode(nameless, wrong).packet.validate(secret), passed);
}

// ------------------------------------------------------------------------------------------ the
// Authenticator

TEST(ValidateAuthenticator, OfAReplyWithAWrongBitIsRefused) {
    for (const PacketCode code : responses) {
        for (std::size_t position = 4; position < 20; ++position) {
            EXPECT_EQ(result_of(flipped(plain_packet(code), position)), invalid_response) << code;
            EXPECT_EQ(result_of(flipped(full_packet(code), position)), invalid_response) << code;
        }
    }
}

TEST(ValidateAuthenticator, OfAReplyToAnotherRequestIsRefused) {
    for (const PacketCode code : responses) {
        RadiusPacket packet = received(plain_packet(code));
        packet.request_authenticator = ZERO16;
        EXPECT_EQ(packet.validate(secret), invalid_response) << code;
    }
}

TEST(ValidateAuthenticator, OfAReplyNeedsTheRequestsAuthenticator) {
    for (const PacketCode code : responses) {
        EXPECT_EQ(test::decode(codec_dictionary(), plain_packet(code)).packet.validate(secret),
                  request_authenticator_required)
            << code;
    }
}

TEST(ValidateAuthenticator, OfAccountingDisconnectAndCoaRequestsWithAWrongBitIsRefused) {
    for (const PacketCode code : digest_requests) {
        for (std::size_t position = 4; position < 20; ++position) {
            EXPECT_EQ(result_of(flipped(plain_packet(code), position)), invalid_request) << code;
        }
    }
}

TEST(ValidateAuthenticator, OfAccountingDisconnectAndCoaRequestsNeedsNoRequestsAuthenticator) {
    for (const PacketCode code : digest_requests) {
        EXPECT_EQ(test::decode(codec_dictionary(), plain_packet(code)).packet.validate(secret), passed)
            << code;
    }
}

TEST(ValidateAuthenticator, OfRequestsThatChooseTheirsIsNeverChecked) {
    for (const PacketCode code : random_requests) {
        EXPECT_EQ(result_of(flipped(plain_packet(code), 4)), passed) << code;
        EXPECT_EQ(test::decode(codec_dictionary(), plain_packet(code)).packet.validate(secret), passed)
            << code;
    }
}

TEST(ValidateAuthenticator, CoversEveryOtherByte) {
    for (const PacketCode code : {ACCESS_ACCEPT, ACCOUNTING_REQUEST}) {
        const RadiusPacketValRes refused = code == ACCESS_ACCEPT ? invalid_response : invalid_request;
        const Bytes raw = plain_packet(code);
        for (std::size_t position = 0; position < raw.size(); ++position) {
            RadiusPacket packet = received(raw);
            packet.raw[position] ^= 1;
            EXPECT_EQ(packet.validate(secret), refused) << code << " byte " << position;
        }
    }
}

TEST(ValidateAuthenticator, OfFewerThan20BytesIsRefused) {
    for (const PacketCode code : all_codes) {
        RadiusPacket packet = received(plain_packet(code));
        packet.raw.resize(19);
        const RadiusPacketValRes expected = is_response_code(code)             ? invalid_response
                                            : is_zero_authenticator_code(code) ? invalid_request
                                                                               : passed;
        EXPECT_EQ(packet.validate(secret), expected) << code;
    }
}

TEST(ValidateAuthenticator, OfAReplyMissesTheRequestsAuthenticatorBeforeThe20Bytes) {
    RadiusPacket packet = test::decode(codec_dictionary(), plain_packet(ACCESS_ACCEPT)).packet;
    packet.raw.resize(19);
    EXPECT_EQ(packet.validate(secret), request_authenticator_required);
}

// --------------------------------------------------------------- the bytes received, not the Length in them

Bytes with_trailing_bytes(Bytes raw) {
    raw.insert(raw.end(), {0xde, 0xad});
    return raw;
}

TEST(Validate, CoversWhatFollowsTheLengthFieldToo) {
    for (const PacketCode code : all_codes) {
        const Bytes longer = with_trailing_bytes(datagram(code, message_authenticator));
        EXPECT_EQ(result_of(with_authenticator(with_message_authenticator(longer, 22))), passed) << code;
    }
    EXPECT_EQ(result_of(with_trailing_bytes(full_packet(ACCESS_ACCEPT))), mismatch);
    EXPECT_EQ(result_of(with_trailing_bytes(plain_packet(ACCESS_ACCEPT))), invalid_response);
    EXPECT_EQ(result_of(with_trailing_bytes(plain_packet(ACCOUNTING_REQUEST))), invalid_request);
    EXPECT_EQ(result_of(with_trailing_bytes(full_packet(ACCESS_REQUEST))), mismatch);
}

TEST(Validate, FindsAMessageAuthenticatorBehindTheLengthField) {
    Bytes raw = datagram(ACCESS_REQUEST, message_authenticator);
    raw[3] = 20;
    EXPECT_EQ(with_raw(ACCESS_REQUEST, with_message_authenticator(raw, 22)).validate(secret), passed);
    EXPECT_EQ(with_raw(ACCESS_REQUEST, raw).validate(secret), mismatch);
}

// ------------------------------------------------------------------------------------------ without OpenSSL

TEST(Validate, AcceptsNoDigestThatCannotBeComputed) {
    // Sixteen zero bytes are what such a digest yields.
    const RadiusPacket accept = received(datagram(ACCESS_ACCEPT, "", ZERO16));
    const RadiusPacket accounting = received(datagram(ACCOUNTING_REQUEST, "", ZERO16));
    const RadiusPacket request = received(datagram(ACCESS_REQUEST, message_authenticator));
    std::vector<RadiusPacketValRes> results;
    test::without_algorithms([&] {
        for (const RadiusPacket* const packet : {&accept, &accounting, &request}) {
            results.push_back(packet->validate(secret));
        }
    });
    EXPECT_EQ(results, (std::vector{invalid_response, invalid_request, mismatch}));
    // Elsewhere OpenSSL works on.
    EXPECT_EQ(result_of(full_packet(ACCESS_ACCEPT)), passed);
}

}  // namespace
}  // namespace quarn::subscriber::radius
