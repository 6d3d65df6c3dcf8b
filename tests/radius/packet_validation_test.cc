#include "quarn/radius/packet_validation.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "quarn/radius/packet_code.h"
#include "radius/codec_dictionary.h"
#include "support/dictionaries.h"
#include "support/no_algorithms.h"
#include "support/wire.h"

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

TEST(ValidationError, numbers_are_part_of_the_interface) {
    EXPECT_EQ(static_cast<std::uint32_t>(ValidationError::None), 0U);
    EXPECT_EQ(static_cast<std::uint32_t>(ValidationError::PacketTooLarge), 2U);
    EXPECT_EQ(static_cast<std::uint32_t>(ValidationError::InvalidAuthenticator), 3U);
    EXPECT_EQ(static_cast<std::uint32_t>(ValidationError::InvalidMessageAuthenticator), 4U);
    EXPECT_EQ(static_cast<std::uint32_t>(ValidationError::DictionaryRequired), 5U);
    EXPECT_EQ(static_cast<std::uint32_t>(ValidationError::UnsupportedPacketType), 6U);
}

TEST(ValidationResult, is_success_without_a_text_by_default) {
    EXPECT_EQ(passed.error, ValidationError::None);
    EXPECT_EQ(passed.message, "");
}

// ------------------------------------------------------------------------------------------ before any
// digest

TEST(Validate, needs_a_dictionary_whatever_the_code) {
    for (int code = 0; code <= 255; ++code) {
        RadiusPacket packet;
        packet.code = static_cast<std::uint8_t>(code);
        EXPECT_EQ(packet.validate(secret), dictionary_required) << code;
        EXPECT_EQ(packet.validate(""), dictionary_required) << code;
    }
}

TEST(Validate, refuses_every_unsupported_code_even_without_a_secret) {
    for (int number = 0; number <= 255; ++number) {
        const auto code = static_cast<std::uint8_t>(number);
        if (!is_supported_code(code)) {
            EXPECT_EQ(result_of(datagram(code, ""), ""), unsupported_type) << number;
            EXPECT_EQ(test::new_packet(codec_dictionary(), code).validate(secret), unsupported_type)
                << number;
        }
    }
}

TEST(Validate, accepts_every_supported_code_without_a_secret) {
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

TEST(Validate, refuses_more_than_65535_bytes_even_without_a_secret) {
    // 20 bytes of header, 2 of the attribute.
    EXPECT_EQ(packet_with_value("Class", 65535 - 22).validate(""), passed);
    EXPECT_EQ(packet_with_value("Class", 65535 - 21).validate(""), too_large);
    EXPECT_EQ(packet_with_value("Class", 65535 - 21).validate(secret), too_large);
}

TEST(Validate, counts_a_byte_for_a_tag) {
    EXPECT_EQ(packet_with_value("Tunnel-Client-Endpoint", 65535 - 23).validate(""), passed);
    EXPECT_EQ(packet_with_value("Tunnel-Client-Endpoint", 65535 - 22).validate(""), too_large);
}

TEST(Validate, counts_tags_for_all_values_of_an_attribute_or_none_as_the_first_one_says) {
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

TEST(Validate, counts_every_value_of_every_attribute) {
    RadiusPacket packet = packet_with_value("Class", 65535 - 20 - 4 * 2 - 2 - 3);
    test::add_value(packet, "Class", {});
    test::add_value(packet, "NAS-Port-Id", Bytes(2));
    test::add_value(packet, "User-Name", Bytes(3));
    EXPECT_EQ(packet.validate(""), passed);
    test::add_value(packet, "User-Name", {});
    EXPECT_EQ(packet.validate(""), too_large);
}

TEST(Validate, leaves_the_headers_of_vendor_attributes_out_of_its_count) {
    EXPECT_EQ(packet_with_value("One-Text", 65535 - 22).validate(""), passed);
}

TEST(Validate, checks_the_code_before_the_size) {
    RadiusPacket packet = packet_with_value("Class", 70000);
    packet.code = 6;
    EXPECT_EQ(packet.validate(secret), unsupported_type);
}

TEST(Validate, checks_the_size_before_any_digest) {
    RadiusPacket packet = received(flipped(full_packet(ACCESS_ACCEPT), digest_offset));
    test::add_value(packet, "Class", Bytes(65535));
    EXPECT_EQ(packet.validate(secret), too_large);
}

TEST(Validate, checks_no_digest_without_a_secret) {
    for (const PacketCode code : all_codes) {
        EXPECT_EQ(result_of(flipped(plain_packet(code), 4), ""), passed) << code;
        EXPECT_EQ(result_of(flipped(full_packet(code), digest_offset), ""), passed) << code;
    }
    EXPECT_EQ(result_of(datagram(ACCESS_ACCEPT, "50 03 61  50 03 62"), ""), passed);
}

TEST(Validate, checks_no_digest_of_a_packet_built_in_memory) {
    for (const PacketCode code : all_codes) {
        RadiusPacket packet = test::new_packet(codec_dictionary(), code);
        test::add_value(packet, "Message-Authenticator", hex("61"));
        EXPECT_EQ(packet.validate(secret), passed) << code;
    }
}

// ------------------------------------------------------------------------------------------- signed packets

TEST(Validate, passes_correctly_signed_packets_of_every_code) {
    for (const PacketCode code : all_codes) {
        EXPECT_EQ(result_of(plain_packet(code)), passed) << code;
        EXPECT_EQ(result_of(full_packet(code)), passed) << code;
    }
}

TEST(Validate, passes_replies_of_a_known_server) {
    // Access-Accept to the request with the Authenticator 0f403f94..., Message-Authenticator first.
    EXPECT_EQ(result_of(hex("02 07 002a 4e96cc56abf2f114a42600d7c24beb38  50 12 "
                            "2e487381fe11839b2f36121800c1c919  12 04 6869")),
              passed);
}

TEST(Validate, passes_packets_without_attributes) {
    for (const PacketCode code : all_codes) {
        EXPECT_EQ(result_of(with_authenticator(datagram(code, ""))), passed) << code;
    }
}

TEST(Validate, refuses_a_wrong_secret_wherever_anything_is_signed) {
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

TEST(Validate, takes_secrets_of_any_bytes_whole) {
    const std::string_view with_zero("ab\0c", 4);
    const Bytes raw = with_authenticator(
        with_message_authenticator(datagram(ACCESS_ACCEPT, message_authenticator), 22, with_zero), with_zero);
    EXPECT_EQ(result_of(raw, with_zero), passed);
    EXPECT_EQ(result_of(raw, "ab"), mismatch);
}

TEST(Validate, refuses_an_accept_with_any_one_bit_flipped) {
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

TEST(Validate, refuses_an_accept_cut_anywhere) {
    const Bytes raw = full_packet(ACCESS_ACCEPT);
    for (std::size_t size = 0; size < raw.size(); ++size) {
        RadiusPacket packet = received(raw);
        packet.raw.resize(size);
        EXPECT_EQ(packet.validate(secret).error == ValidationError::None, size == 0) << size;
    }
}

// ------------------------------------------------------------------------------------ Message-Authenticator

TEST(ValidateMessageAuthenticator, with_a_wrong_bit_is_refused_for_every_code_but_accounting_request) {
    for (const PacketCode code : all_codes) {
        // The Authenticator is computed over the wrong bytes, and so is right itself.
        const Bytes raw = with_authenticator(flipped(full_packet(code), digest_offset + 15, 0x80));
        EXPECT_EQ(result_of(raw), code == ACCOUNTING_REQUEST ? passed : mismatch) << code;
    }
}

TEST(ValidateMessageAuthenticator, may_be_the_first_or_the_last_attribute) {
    for (const PacketCode code : all_codes) {
        const Bytes first = datagram(code, message_authenticator + "12 03 61");
        EXPECT_EQ(result_of(with_authenticator(with_message_authenticator(first, 22))), passed) << code;
        const Bytes last = datagram(code, "12 03 61" + message_authenticator);
        EXPECT_EQ(result_of(with_authenticator(with_message_authenticator(last, 25))), passed) << code;
    }
}

TEST(ValidateMessageAuthenticator, covers_the_authenticator_of_requests_that_choose_theirs) {
    for (const PacketCode code : random_requests) {
        EXPECT_EQ(result_of(flipped(full_packet(code), 4)), mismatch) << code;
        EXPECT_EQ(result_of(with_message_authenticator(flipped(full_packet(code), 4), digest_offset)), passed)
            << code;
    }
}

TEST(ValidateMessageAuthenticator, of_a_reply_covers_the_request_s_authenticator_and_not_its_own) {
    for (const PacketCode code : responses) {
        RadiusPacket packet = received(full_packet(code));
        (*packet.request_authenticator)[0] ^= 1;
        EXPECT_EQ(packet.validate(secret), mismatch) << code;
        EXPECT_EQ(result_of(flipped(full_packet(code), 4)), invalid_response) << code;
    }
}

TEST(ValidateMessageAuthenticator, of_disconnect_and_coa_requests_covers_zero_bytes) {
    for (const PacketCode code : {DISCONNECT_REQUEST, COA_REQUEST}) {
        EXPECT_EQ(result_of(flipped(full_packet(code), 4)), invalid_request) << code;
    }
}

TEST(ValidateMessageAuthenticator, is_malformed_unless_it_is_one_value_of_16_bytes) {
    for (const PacketCode code : all_codes) {
        for (const std::string& attributes :
             {"50 11" + repeat("00", 15), "50 13" + repeat("00", 17), std::string("50 02"),
              message_authenticator + message_authenticator, message_authenticator + "50 03 00"}) {
            const Bytes raw = with_authenticator(datagram(code, attributes));
            EXPECT_EQ(result_of(raw), code == ACCOUNTING_REQUEST ? passed : malformed) << code << attributes;
        }
    }
}

TEST(ValidateMessageAuthenticator, is_malformed_without_a_value) {
    RadiusPacket packet = received(full_packet(ACCESS_ACCEPT));
    packet.attribute_map.at("Message-Authenticator").values.clear();
    EXPECT_EQ(packet.validate(secret), malformed);
}

TEST(ValidateMessageAuthenticator, is_seen_to_be_malformed_before_the_request_s_authenticator_is_missed) {
    RadiusPacket packet = received(datagram(ACCESS_ACCEPT, "50 11" + repeat("00", 15)));
    packet.request_authenticator.reset();
    EXPECT_EQ(packet.validate(secret), malformed);
}

TEST(ValidateMessageAuthenticator, of_a_reply_needs_the_request_s_authenticator) {
    for (const PacketCode code : responses) {
        RadiusPacket packet = received(full_packet(code));
        packet.request_authenticator.reset();
        EXPECT_EQ(packet.validate(secret), request_authenticator_required) << code;
    }
}

TEST(ValidateMessageAuthenticator, of_a_request_needs_no_request_s_authenticator) {
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

TEST(ValidateMessageAuthenticator, does_not_match_where_fewer_than_20_bytes_were_received) {
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

TEST(ValidateMessageAuthenticator, of_a_reply_misses_the_request_s_authenticator_before_the_20_bytes) {
    RadiusPacket packet = with_raw(ACCESS_ACCEPT, Bytes(19));
    packet.request_authenticator.reset();
    EXPECT_EQ(packet.validate(secret), request_authenticator_required);
}

TEST(ValidateMessageAuthenticator, is_not_checked_where_the_bytes_hold_none) {
    for (const PacketCode code : all_codes) {
        EXPECT_EQ(with_raw(code, plain_packet(code)).validate(secret), passed) << code;
        EXPECT_EQ(with_raw(code, with_authenticator(datagram(code, ""))).validate(secret), passed) << code;
    }
}

TEST(ValidateMessageAuthenticator, is_not_checked_where_the_bytes_hold_one_of_another_length) {
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

TEST(ValidateMessageAuthenticator, is_the_first_one_of_18_bytes) {
    const std::string attributes = "50 03 61" + message_authenticator + message_authenticator;
    const Bytes raw = with_authenticator(with_message_authenticator(datagram(ACCESS_ACCEPT, attributes), 25));
    EXPECT_EQ(with_raw(ACCESS_ACCEPT, raw).validate(secret), passed);
    const Bytes second =
        with_authenticator(with_message_authenticator(datagram(ACCESS_ACCEPT, attributes), 43));
    EXPECT_EQ(with_raw(ACCESS_ACCEPT, second).validate(secret), mismatch);
}

TEST(ValidateMessageAuthenticator, is_not_looked_for_behind_a_malformed_attribute) {
    for (const std::string& before : {std::string("12 01"), std::string("12 00"), std::string("12 ff")}) {
        const Bytes raw = with_authenticator(datagram(ACCESS_ACCEPT, before + message_authenticator));
        EXPECT_EQ(with_raw(ACCESS_ACCEPT, raw).validate(secret), passed) << before;
    }
}

TEST(ValidateMessageAuthenticator, is_not_looked_for_inside_other_attributes) {
    const Bytes raw = with_authenticator(datagram(ACCESS_ACCEPT, "1a 18 00000065" + message_authenticator));
    EXPECT_EQ(with_raw(ACCESS_ACCEPT, raw).validate(secret), passed);
}

TEST(ValidateMessageAuthenticator, may_not_be_cut_short_by_the_end) {
    Bytes raw = datagram(ACCESS_ACCEPT, "12 03 61" + message_authenticator);
    raw.pop_back();
    EXPECT_EQ(with_raw(ACCESS_ACCEPT, with_authenticator(raw)).validate(secret), passed);
}

TEST(ValidateMessageAuthenticator, is_found_by_its_name_in_the_dictionary) {
    const Bytes wrong = flipped(full_packet(ACCESS_REQUEST), digest_offset);
    ASSERT_EQ(result_of(wrong), mismatch);
    const auto nameless = std::make_shared<RadiusDictionary>();
    EXPECT_EQ(test::decode(nameless, wrong).packet.validate(secret), passed);
}

// ------------------------------------------------------------------------------------------ the
// Authenticator

TEST(ValidateAuthenticator, of_a_reply_with_a_wrong_bit_is_refused) {
    for (const PacketCode code : responses) {
        for (std::size_t position = 4; position < 20; ++position) {
            EXPECT_EQ(result_of(flipped(plain_packet(code), position)), invalid_response) << code;
            EXPECT_EQ(result_of(flipped(full_packet(code), position)), invalid_response) << code;
        }
    }
}

TEST(ValidateAuthenticator, of_a_reply_to_another_request_is_refused) {
    for (const PacketCode code : responses) {
        RadiusPacket packet = received(plain_packet(code));
        packet.request_authenticator = ZERO16;
        EXPECT_EQ(packet.validate(secret), invalid_response) << code;
    }
}

TEST(ValidateAuthenticator, of_a_reply_needs_the_request_s_authenticator) {
    for (const PacketCode code : responses) {
        EXPECT_EQ(test::decode(codec_dictionary(), plain_packet(code)).packet.validate(secret),
                  request_authenticator_required)
            << code;
    }
}

TEST(ValidateAuthenticator, of_accounting_disconnect_and_coa_requests_with_a_wrong_bit_is_refused) {
    for (const PacketCode code : digest_requests) {
        for (std::size_t position = 4; position < 20; ++position) {
            EXPECT_EQ(result_of(flipped(plain_packet(code), position)), invalid_request) << code;
        }
    }
}

TEST(ValidateAuthenticator, of_accounting_disconnect_and_coa_requests_needs_no_request_s_authenticator) {
    for (const PacketCode code : digest_requests) {
        EXPECT_EQ(test::decode(codec_dictionary(), plain_packet(code)).packet.validate(secret), passed)
            << code;
    }
}

TEST(ValidateAuthenticator, of_requests_that_choose_theirs_is_never_checked) {
    for (const PacketCode code : random_requests) {
        EXPECT_EQ(result_of(flipped(plain_packet(code), 4)), passed) << code;
        EXPECT_EQ(test::decode(codec_dictionary(), plain_packet(code)).packet.validate(secret), passed)
            << code;
    }
}

TEST(ValidateAuthenticator, covers_every_other_byte) {
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

TEST(ValidateAuthenticator, of_fewer_than_20_bytes_is_refused) {
    for (const PacketCode code : all_codes) {
        RadiusPacket packet = received(plain_packet(code));
        packet.raw.resize(19);
        const RadiusPacketValRes expected = is_response_code(code)             ? invalid_response
                                            : is_zero_authenticator_code(code) ? invalid_request
                                                                               : passed;
        EXPECT_EQ(packet.validate(secret), expected) << code;
    }
}

TEST(ValidateAuthenticator, of_a_reply_misses_the_request_s_authenticator_before_the_20_bytes) {
    RadiusPacket packet = test::decode(codec_dictionary(), plain_packet(ACCESS_ACCEPT)).packet;
    packet.raw.resize(19);
    EXPECT_EQ(packet.validate(secret), request_authenticator_required);
}

// --------------------------------------------------------------- the bytes received, not the Length in them

Bytes with_trailing_bytes(Bytes raw) {
    raw.insert(raw.end(), {0xde, 0xad});
    return raw;
}

TEST(Validate, covers_what_follows_the_length_field_too) {
    for (const PacketCode code : all_codes) {
        const Bytes longer = with_trailing_bytes(datagram(code, message_authenticator));
        EXPECT_EQ(result_of(with_authenticator(with_message_authenticator(longer, 22))), passed) << code;
    }
    EXPECT_EQ(result_of(with_trailing_bytes(full_packet(ACCESS_ACCEPT))), mismatch);
    EXPECT_EQ(result_of(with_trailing_bytes(plain_packet(ACCESS_ACCEPT))), invalid_response);
    EXPECT_EQ(result_of(with_trailing_bytes(plain_packet(ACCOUNTING_REQUEST))), invalid_request);
    EXPECT_EQ(result_of(with_trailing_bytes(full_packet(ACCESS_REQUEST))), mismatch);
}

TEST(Validate, finds_a_message_authenticator_behind_the_length_field) {
    Bytes raw = datagram(ACCESS_REQUEST, message_authenticator);
    raw[3] = 20;
    EXPECT_EQ(with_raw(ACCESS_REQUEST, with_message_authenticator(raw, 22)).validate(secret), passed);
    EXPECT_EQ(with_raw(ACCESS_REQUEST, raw).validate(secret), mismatch);
}

// ------------------------------------------------------------------------------------------ without OpenSSL

TEST(Validate, accepts_no_digest_that_cannot_be_computed) {
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
