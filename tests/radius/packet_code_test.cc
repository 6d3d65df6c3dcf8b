#include "quarn/radius/packet_code.h"

#include <gtest/gtest.h>

#include <optional>
#include <set>

namespace quarn::subscriber::radius {
namespace {

/// The codes from 0 to 255 for which a class holds.
template <typename Class>
std::set<int> codes_of(Class holds) {
    std::set<int> codes;
    for (int code = 0; code <= 255; ++code) {
        if (holds(static_cast<std::uint8_t>(code))) {
            codes.insert(code);
        }
    }
    return codes;
}

TEST(PacketCode, NumbersAreThoseOfTheRfcs) {
    EXPECT_EQ(ACCESS_REQUEST, 1);
    EXPECT_EQ(ACCESS_ACCEPT, 2);
    EXPECT_EQ(ACCESS_REJECT, 3);
    EXPECT_EQ(ACCOUNTING_REQUEST, 4);
    EXPECT_EQ(ACCOUNTING_RESPONSE, 5);
    EXPECT_EQ(ACCESS_CHALLENGE, 11);
    EXPECT_EQ(STATUS_SERVER, 12);
    EXPECT_EQ(DISCONNECT_REQUEST, 40);
    EXPECT_EQ(DISCONNECT_ACK, 41);
    EXPECT_EQ(DISCONNECT_NAK, 42);
    EXPECT_EQ(COA_REQUEST, 43);
    EXPECT_EQ(COA_ACK, 44);
    EXPECT_EQ(COA_NAK, 45);
}

TEST(PacketCode, ResponsesAreExactlyTheAnswersToRequests) {
    EXPECT_EQ(codes_of(is_response_code), (std::set<int>{2, 3, 5, 11, 41, 42, 44, 45}));
}

TEST(PacketCode, RequestsWithAComputedAuthenticatorAreExactlyThree) {
    EXPECT_EQ(codes_of(is_zero_authenticator_code), (std::set<int>{4, 40, 43}));
}

TEST(PacketCode, SupportedAreTheseAndTheRequestsWithARandomAuthenticator) {
    EXPECT_EQ(codes_of(is_supported_code), (std::set<int>{1, 2, 3, 4, 5, 11, 12, 40, 41, 42, 43, 44, 45}));
}

TEST(PacketCode, HasANameThatFindsItsNumber) {
    for (const PacketCodeRow& row : packet_codes) {
        EXPECT_EQ(packet_code_name(row.number), row.name);
        EXPECT_EQ(packet_code_number(row.name), row.number) << row.name;
    }
    EXPECT_EQ(packet_code_name(ACCESS_ACCEPT), "Access-Accept");
    EXPECT_EQ(packet_code_name(STATUS_SERVER), "Status-Server");
    EXPECT_EQ(packet_code_name(COA_NAK), "CoA-NAK");
}

TEST(PacketCode, IsFoundByItsNameInEveryCase) {
    EXPECT_EQ(packet_code_number("coa-request"), COA_REQUEST);
    EXPECT_EQ(packet_code_number("DISCONNECT-ACK"), DISCONNECT_ACK);
    EXPECT_EQ(packet_code_number("Access"), std::nullopt);
    EXPECT_EQ(packet_code_number(""), std::nullopt);
}

TEST(PacketCode, HasNoNameWithoutARow) {
    EXPECT_EQ(packet_code_name(0), "");
    EXPECT_EQ(packet_code_name(6), "");
    EXPECT_EQ(packet_code_name(255), "");
}

}  // namespace
}  // namespace quarn::subscriber::radius
