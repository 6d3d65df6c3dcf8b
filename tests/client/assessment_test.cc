#include "assessment.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "testing/dictionaries.h"
#include "testing/packets.h"
#include "testing/wire.h"

namespace quarn::client {
namespace {

using test::Reply;
using utils::Bytes;

const net::Address server = net::Address::ipv4({192, 0, 2, 1}, 1812);
const net::Address elsewhere = net::Address::ipv4({192, 0, 2, 66}, 1812);

Assessed assessed(const Bytes& bytes, const net::Address& source = server,
                  RequireMessageAuthenticator requirement = RequireMessageAuthenticator::Warn) {
    const Ask ask{.request = EncodedRequest(test::datagram(1, ""))};
    return assess({bytes, source}, server, ask, Duration(1), "testing123", test::shipped_dictionary(),
                  requirement);
}

Bytes reply(const Reply& wanted) {
    return test::reply_to(test::datagram(1, ""), wanted);
}

TEST(Assess, TrustsAnAuthenticReplyOfTheServer) {
    EXPECT_TRUE(assessed(reply({.code = 2})).is_trusted());
    EXPECT_TRUE(assessed(reply({.code = 3})).is_trusted());
    EXPECT_FALSE(assessed(reply({.code = 2, .secret = "another"})).is_trusted());
}

TEST(Assess, NeverTrustsWhatCameFromElsewhere) {
    const Assessed authentic = assessed(reply({.code = 2}), elsewhere);
    EXPECT_FALSE(authentic.is_trusted());
    EXPECT_EQ(authentic.refusal_text(),
              "A packet from 192.0.2.66:1812 was not accepted, wrong-source: from 192.0.2.66:1812 instead of "
              "192.0.2.1:1812; it is authentic otherwise.");
    const Assessed bytes = assessed({1}, elsewhere);
    EXPECT_EQ(bytes.rank, 0);
    EXPECT_EQ(bytes.judgement.offset, std::nullopt) << "where foreign bytes are malformed does not matter";
}

// What comes later here tells more of the server than what comes before.
TEST(Assess, RanksWhatTellsMoreHigher) {
    const Bytes missing = reply({.code = 2, .message_authenticator = false});
    struct Row {
        Verdict verdict;
        Assessed assessed;
    };
    const Row rising[] = {
        {Verdict::WrongSource, assessed({1}, elsewhere)},
        {Verdict::Malformed, assessed({1})},
        {Verdict::WrongIdentifier, assessed(reply({.code = 2, .identifier_offset = 1}))},
        {Verdict::WrongSecret, assessed(reply({.code = 2, .secret = "another"}))},
        {Verdict::NotAuthentic, assessed(reply({.code = 2, .spoil_message_authenticator = true}))},
        {Verdict::UnexpectedCode, assessed(reply({.code = 5}))},
        {Verdict::WrongSource, assessed(reply({.code = 2}), elsewhere)},
        {Verdict::MessageAuthenticatorMissing, assessed(reply({.code = 2, .message_authenticator = false}),
                                                        server, RequireMessageAuthenticator::Yes)},
    };
    int rank = 0;
    for (const Row& row : rising) {
        EXPECT_EQ(row.assessed.judgement.verdict, row.verdict) << rank;
        EXPECT_EQ(row.assessed.rank, rank++);
    }
}

}  // namespace
}  // namespace quarn::client
