#include "quarn_radius/send/expectation.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "quarn/radius/packet_code.h"
#include "quarn_radius/send/attribute_text.h"
#include "testing/dictionaries.h"
#include "testing/thrown_text.h"

namespace quarn::quarn_radius {
namespace {

namespace radius = subscriber::radius;

/// A reply with these attributes.
radius::RadiusPacket reply(std::uint8_t code, const std::vector<std::string>& attributes) {
    radius::RadiusPacket packet(test::shipped_dictionary());
    packet.code = code;
    for (const std::string& attribute : attributes) {
        EXPECT_EQ(add_attribute(packet, *split_attribute(attribute)), "");
    }
    return packet;
}

const std::vector<std::string> attributes = {
    "Tunnel-Type:1=VLAN", "Tunnel-Private-Group-ID:1=42",     "Tunnel-Private-Group-ID:2=43",
    "Filter-Id=guests",   "Reply-Message=Welcome, bob",       "Session-Timeout=3600",
    "Class=0x0102",       "Framed-IPv6-Prefix=2001:db8::/32", "Tunnel-Password:1=s3cret",
    "26.32473.7=0x0a",
};

/// What came instead of the expected, or "as expected".
std::string came(const std::string& expected, std::uint8_t code = radius::ACCESS_ACCEPT) {
    const auto difference =
        Expectation::parse(expected, test::shipped_dictionary()).difference(reply(code, attributes));
    return difference.value_or("as expected");
}

std::string problem_of(const std::string& text) {
    return test::thrown_text<std::invalid_argument>(
        [&text] { Expectation::parse(text, test::shipped_dictionary()); });
}

TEST(Expectation, ComparesTheKindOfTheReply) {
    EXPECT_EQ(came("accept"), "as expected");
    EXPECT_EQ(came("reject"), "Access-Accept");
    EXPECT_EQ(came("reject", radius::ACCESS_REJECT), "as expected");
    EXPECT_EQ(came("challenge", radius::ACCESS_CHALLENGE), "as expected");
    EXPECT_EQ(came("ack", radius::COA_ACK), "as expected");
    EXPECT_EQ(came("ack", radius::DISCONNECT_ACK), "as expected");
    EXPECT_EQ(came("ack", radius::ACCOUNTING_RESPONSE), "as expected");
    EXPECT_EQ(came("nak", radius::COA_NAK), "as expected");
    EXPECT_EQ(came("nak", radius::DISCONNECT_NAK), "as expected");
    EXPECT_EQ(came("ack", radius::COA_NAK), "CoA-NAK");
    EXPECT_EQ(came("accept", 99), "code 99");
}

TEST(Expectation, TellsWhetherItNamesAKind) {
    EXPECT_EQ(Expectation::parse("nak", test::shipped_dictionary()).kind(), ReplyKind::Nak);
    EXPECT_EQ(Expectation::parse("Class", test::shipped_dictionary()).kind(), std::nullopt);
}

TEST(Expectation, LooksForPresenceAndAbsence) {
    EXPECT_EQ(came("Filter-Id"), "as expected");
    EXPECT_EQ(came("filter-id"), "as expected");
    EXPECT_EQ(came("Idle-Timeout"), "it is not there");
    EXPECT_EQ(came("no:Idle-Timeout"), "as expected");
    EXPECT_EQ(came("no:Filter-Id"), "\"guests\"");
    EXPECT_EQ(came("no:Tunnel-Private-Group-ID"), "\"42\", \"43\"");
    EXPECT_EQ(came("no:Tunnel-Private-Group-ID:3"), "as expected");
    EXPECT_EQ(came("26.32473.7"), "as expected");
    EXPECT_EQ(came("26.32473.8"), "it is not there");
}

TEST(Expectation, ComparesValuesAsTheDictionaryTypesThem) {
    EXPECT_EQ(came("Filter-Id=guests"), "as expected");
    EXPECT_EQ(came("Filter-Id=Guests"), "\"guests\"");
    EXPECT_EQ(came("Session-Timeout=3600"), "as expected");
    EXPECT_EQ(came("Session-Timeout=0xe10"), "as expected");
    EXPECT_EQ(came("Session-Timeout=60"), "3600");
    EXPECT_EQ(came("Class=0x0102"), "as expected");
    EXPECT_EQ(came("Tunnel-Type=vlan"), "as expected");
    EXPECT_EQ(came("Tunnel-Type=13"), "as expected");
    EXPECT_EQ(came("Framed-IPv6-Prefix=2001:db8::/32"), "as expected");
    EXPECT_EQ(came("Framed-IPv6-Prefix=2001:db8::/48"), "2001:db8::/32");
    EXPECT_EQ(came("26.32473.7=0x0a"), "as expected");
    EXPECT_EQ(came("26.32473.7=0x0b"), "0x0a");
    EXPECT_EQ(came("Idle-Timeout=1"), "it is not there");
}

TEST(Expectation, MatchesAnyTagUnlessOneIsGiven) {
    EXPECT_EQ(came("Tunnel-Private-Group-ID=42"), "as expected");
    EXPECT_EQ(came("Tunnel-Private-Group-ID=43"), "as expected");
    EXPECT_EQ(came("Tunnel-Private-Group-ID:1=42"), "as expected");
    EXPECT_EQ(came("Tunnel-Private-Group-ID:1=43"), "\"42\"");
    EXPECT_EQ(came("Tunnel-Private-Group-ID:3=42"), "it is not there");
    EXPECT_EQ(came("Tunnel-Type:1"), "as expected");
    EXPECT_EQ(came("Tunnel-Type:2"), "it is not there");
    EXPECT_EQ(came("Tunnel-Private-Group-ID=44"), "\"42\", \"43\"");
    EXPECT_EQ(came("64=0x0100000d"), "as expected");
    EXPECT_EQ(came("64=0x0200000d"), "it is not there");
}

TEST(Expectation, MatchesAPartOfTheTextInItsCase) {
    EXPECT_EQ(came("Reply-Message~^Welcome"), "as expected");
    EXPECT_EQ(came("Reply-Message~b.b$"), "as expected");
    EXPECT_EQ(came("Reply-Message~welcome"), "\"Welcome, bob\"");
    EXPECT_EQ(came("Session-Timeout~^36"), "as expected");
    EXPECT_EQ(came("Tunnel-Type~VL|X"), "as expected");
    EXPECT_EQ(came("Class~^0x01"), "as expected");
}

TEST(Expectation, ComparesNumbers) {
    EXPECT_EQ(came("Session-Timeout>3599"), "as expected");
    EXPECT_EQ(came("Session-Timeout>3600"), "3600");
    EXPECT_EQ(came("Session-Timeout<3601"), "as expected");
    EXPECT_EQ(came("Session-Timeout<3600"), "3600");
    EXPECT_EQ(came("Idle-Timeout>0"), "it is not there");
}

TEST(Expectation, ComparesSignedAndWideNumbers) {
    const auto dictionary = test::dictionary_from(
        "attributes: {Level: {code: 1, type: signed}, Octets: {code: 2, type: integer64}}");
    const auto difference = [&](const std::string& expected, const std::string& sent) {
        radius::RadiusPacket packet(dictionary);
        EXPECT_EQ(add_attribute(packet, *split_attribute(sent)), "");
        return Expectation::parse(expected, dictionary).difference(packet).value_or("as expected");
    };
    EXPECT_EQ(difference("Level<0", "Level=-5"), "as expected");
    EXPECT_EQ(difference("Level>-6", "Level=-5"), "as expected");
    EXPECT_EQ(difference("Level>-5", "Level=-5"), "-5");
    EXPECT_EQ(difference("Octets>18446744073709551614", "Octets=18446744073709551615"), "as expected");
    EXPECT_EQ(difference("Octets<1", "Octets=18446744073709551615"), "18446744073709551615");
}

TEST(Expectation, TellsNoHiddenValue) {
    EXPECT_EQ(came("Tunnel-Password=s3cret"), "as expected");
    EXPECT_EQ(came("Tunnel-Password=other"), "another value, which is hidden");
}

TEST(Expectation, RefusesWhatItCannotMean) {
    const std::string kinds = "; it is neither accept, reject, challenge, ack nor nak";
    EXPECT_EQ(problem_of("acept"), "--expect acept: unknown attribute \"acept\"" + kinds);
    EXPECT_EQ(problem_of("Filter-If=x"),
              "--expect Filter-If=x: unknown attribute \"Filter-If\", did you mean \"Filter-Id\"?" + kinds);
    EXPECT_EQ(problem_of(""), "--expect : unknown attribute \"\"" + kinds);
    EXPECT_EQ(problem_of("Tunnel-Type=VLAM"),
              "--expect Tunnel-Type=VLAM: Tunnel-Type: unknown value \"VLAM\", did you mean \"VLAN\"?");
    EXPECT_EQ(problem_of("Filter-Id>3"), "--expect Filter-Id>3: Filter-Id is no number");
    EXPECT_EQ(problem_of("Session-Timeout>x"), "--expect Session-Timeout>x: \"x\" is no number");
    EXPECT_EQ(problem_of("Session-Timeout>-1"), "--expect Session-Timeout>-1: \"-1\" is no number");
    EXPECT_EQ(problem_of("Filter-Id:1=x"), "--expect Filter-Id:1=x: Filter-Id takes no tag");
    EXPECT_EQ(problem_of("Reply-Message~("),
              "--expect Reply-Message~(: invalid regular expression /(/: Unmatched ( or \\(");
    EXPECT_EQ(problem_of("26.32473.7=x"),
              "--expect 26.32473.7=x: 26.32473.7: an attribute by number takes 0x and an even number of "
              "hexadecimal digits");
}

// A text may hold any byte: what follows a zero byte counts as well.
TEST(Expectation, MatchesBeyondAZeroByte) {
    radius::RadiusPacket packet(test::shipped_dictionary());
    ASSERT_EQ(add_attribute(packet, *split_attribute("18=0x610062")), "");
    EXPECT_EQ(Expectation::parse("Reply-Message~b$", test::shipped_dictionary()).difference(packet),
              std::nullopt);
}

CheckedReply checked(const std::vector<std::string>& expected, client::Verdict verdict, std::uint8_t code) {
    std::vector<Expectation> expectations;
    for (const std::string& text : expected) {
        expectations.push_back(Expectation::parse(text, test::shipped_dictionary()));
    }
    const radius::RadiusPacket packet = reply(code, attributes);
    return check_expectations(expectations, verdict, &packet);
}

TEST(CheckExpectations, EndsWith0WhenAllHoldWhateverTheWord) {
    const CheckedReply reply =
        checked({"reject", "Filter-Id"}, client::Verdict::Rejected, radius::ACCESS_REJECT);
    EXPECT_EQ(reply.verdict, client::Verdict::Rejected);
    EXPECT_EQ(reply.exit_status, 0);
    EXPECT_EQ(reply.expectations,
              (std::vector<CheckedExpectation>{{"reject", std::nullopt}, {"Filter-Id", std::nullopt}}));
}

TEST(CheckExpectations, FailsWhenOneDoes) {
    const CheckedReply reply =
        checked({"accept", "Filter-Id=x"}, client::Verdict::Accepted, radius::ACCESS_ACCEPT);
    EXPECT_EQ(reply.verdict, client::Verdict::ExpectationFailed);
    EXPECT_EQ(reply.exit_status, 1);
    EXPECT_EQ(reply.expectations,
              (std::vector<CheckedExpectation>{{"accept", std::nullopt}, {"Filter-Id=x", "\"guests\""}}));
}

TEST(CheckExpectations, WithoutAKindWantsSuccess) {
    EXPECT_EQ(checked({"Filter-Id"}, client::Verdict::Accepted, radius::ACCESS_ACCEPT).exit_status, 0);
    const CheckedReply reply = checked({"Filter-Id"}, client::Verdict::Rejected, radius::ACCESS_REJECT);
    EXPECT_EQ(reply.verdict, client::Verdict::Rejected);
    EXPECT_EQ(reply.exit_status, 1);
    EXPECT_EQ(reply.expectations.size(), 1U);
}

TEST(CheckExpectations, LooksAtNothingThatIsNotTrusted) {
    const CheckedReply reply = checked({"accept"}, client::Verdict::WrongSecret, radius::ACCESS_ACCEPT);
    EXPECT_EQ(reply.verdict, client::Verdict::WrongSecret);
    EXPECT_EQ(reply.exit_status, 6);
    EXPECT_TRUE(reply.expectations.empty());
    const std::vector<Expectation> one = {Expectation::parse("accept", test::shipped_dictionary())};
    EXPECT_EQ(check_expectations(one, client::Verdict::NoAnswer, nullptr).exit_status, 4);
    EXPECT_TRUE(checked({}, client::Verdict::Accepted, radius::ACCESS_ACCEPT).expectations.empty());
}

TEST(Expectation, TellsATagThatIsNone) {
    EXPECT_EQ(
        problem_of("Tunnel-Private-Group-ID:33=42"),
        "--expect Tunnel-Private-Group-ID:33=42: Tunnel-Private-Group-ID: \"33\" is not a tag from 0 to "
        "31; it is neither accept, reject, challenge, ack nor nak");
    EXPECT_EQ(problem_of("Tunnel-Type:33=VLAN"),
              "--expect Tunnel-Type:33=VLAN: Tunnel-Type: \"33\" is not a tag from 0 to 31; it is neither "
              "accept, reject, challenge, ack nor nak");
}

}  // namespace
}  // namespace quarn::quarn_radius
