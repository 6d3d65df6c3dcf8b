// OpenSSL without memory, at every place where it asks for some: a digest is right, or sixteen zero bytes,
// and nobody is believed who is not authentic.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "crypto/digest.h"
#include "memory/shortages.h"
#include "quarn/radius/auth.h"
#include "quarn/radius/packet_code.h"
#include "quarn/radius/random.h"
#include "testing/dictionaries.h"
#include "testing/packets.h"
#include "testing/wire.h"

namespace quarn::test {
namespace {

using subscriber::radius::Authenticator;
using subscriber::radius::RadiusPacket;
using subscriber::radius::ZERO16;
using utils::as_bytes;
using utils::Bytes;

namespace radius = subscriber::radius;

constexpr char secret[] = "testing123";

class OpenSslShortage : public testing::TestWithParam<Shortage> {
  protected:
    OpenSslShortage() {
        // What OpenSSL makes once, and keeps for the life of the process, is made now.
        radius::md5_spans({});
        radius::hmac_md5_spans(secret, {});
        radius::random_authenticator();
        radius::auth::mschap_response(1, "password", {});
    }

    /// Each allocation of the attempt fails in turn; there is one at least.
    template <typename Attempt>
    void for_each_allocation(Attempt attempt) {
        EXPECT_GT(test::for_each_allocation(Allocator::OpenSsl, GetParam(), attempt), 0U);
    }
};

INSTANTIATE_TEST_SUITE_P(For, OpenSslShortage, testing::Values(Shortage::Once, Shortage::Lasts),
                         [](const auto& parameter) {
                             return parameter.param == Shortage::Once ? "OneAllocation" : "AllThatFollow";
                         });

TEST_P(OpenSslShortage, GivesARightDigestOrZeros) {
    const Authenticator right = md5(as_bytes("abc"));
    for_each_allocation([&](const ShortageAt& here) {
        Authenticator digest{};
        const Outcome outcome = here.during([&] { digest = radius::md5_spans({as_bytes("abc")}); });
        EXPECT_EQ(outcome.failure(), "");
        EXPECT_TRUE(digest == right || (outcome.was_short && digest == ZERO16)) << to_hex(digest);
        return outcome;
    });
}

TEST_P(OpenSslShortage, GivesARightHmacOrZeros) {
    const Authenticator right = hmac_md5(secret, as_bytes("abc"));
    for_each_allocation([&](const ShortageAt& here) {
        Authenticator digest{};
        const Outcome outcome =
            here.during([&] { digest = radius::hmac_md5_spans(secret, {as_bytes("abc")}); });
        EXPECT_EQ(outcome.failure(), "");
        EXPECT_TRUE(digest == right || (outcome.was_short && digest == ZERO16)) << to_hex(digest);
        return outcome;
    });
}

TEST_P(OpenSslShortage, SpoilsNoContextThatIsThere) {
    const Authenticator right = hmac_md5(secret, as_bytes("abc"));
    for_each_allocation([&](const ShortageAt& here) {
        radius::md5_spans({as_bytes("another message")});
        radius::hmac_md5_spans(secret, {as_bytes("another message")});
        Authenticator digest{};
        Authenticator hmac{};
        const Outcome outcome = here.during([&] {
            digest = radius::md5_spans({as_bytes("abc")});
            hmac = radius::hmac_md5_spans(secret, {as_bytes("abc")});
        });
        EXPECT_EQ(outcome.failure(), "");
        EXPECT_TRUE(hmac == right || (outcome.was_short && hmac == ZERO16)) << to_hex(hmac);
        // And later, with memory there again.
        EXPECT_EQ(radius::md5_spans({as_bytes("abc")}), md5(as_bytes("abc")));
        EXPECT_EQ(radius::hmac_md5_spans(secret, {as_bytes("abc")}), right);
        return outcome;
    });
}

TEST_P(OpenSslShortage, GivesRandomBytesOrFails) {
    for_each_allocation([&](const ShortageAt& here) {
        Authenticator bytes{};
        const Outcome outcome = here.during([&] { bytes = radius::random_authenticator(); });
        EXPECT_EQ(outcome.failure(),
                  outcome.succeeded() ? "" : "random_authenticator: RAND_bytes failed (CSPRNG unavailable)");
        EXPECT_FALSE(outcome.succeeded() && bytes == Authenticator{});
        return outcome;
    });
}

TEST_P(OpenSslShortage, GivesAChapPasswordOrFails) {
    const std::string right = radius::auth::chap_password(7, "password", "challenge");
    const std::string zeros = "\x07" + std::string(16, '\0');
    for_each_allocation([&](const ShortageAt& here) {
        std::string value;
        const Outcome outcome =
            here.during([&] { value = radius::auth::chap_password(7, "password", "challenge"); });
        if (outcome.succeeded()) {
            EXPECT_TRUE(value == right || (outcome.was_short && value == zeros));
        } else {
            EXPECT_EQ(outcome.failure(), "out of memory");
        }
        return outcome;
    });
}

TEST_P(OpenSslShortage, LeavesBlocksOfAChallengeResponseZeroOrFails) {
    // Of a hash, so that DES alone is looked at. Each third stands for itself.
    const radius::auth::MsChapChallenge challenge = {1, 2, 3, 4, 5, 6, 7, 8};
    const radius::auth::NtPasswordHash hash = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    const auto right = radius::auth::challenge_response(challenge, hash);
    for_each_allocation([&](const ShortageAt& here) {
        radius::auth::ChallengeResponse response{};
        const Outcome outcome =
            here.during([&] { response = radius::auth::challenge_response(challenge, hash); });
        if (!outcome.succeeded()) {
            EXPECT_EQ(outcome.failure(), "out of memory");
            return outcome;
        }
        for (std::size_t start = 0; start < response.size(); start += 8) {
            const std::string block = hex_part(response, start, 8);
            EXPECT_TRUE(block == hex_part(right, start, 8) || (outcome.was_short && block == repeat("00", 8)))
                << block;
        }
        return outcome;
    });
}

RadiusPacket decoded_reply(std::uint8_t code, const std::string& signed_with, bool message_authenticator) {
    const Bytes request = datagram(radius::ACCESS_REQUEST, "");
    const Bytes wire = reply_to(
        request, {.code = code, .message_authenticator = message_authenticator, .secret = signed_with});
    RadiusPacket reply(shipped_dictionary());
    pkt_load(reply, wire.data(), wire.size(), "");
    reply.request_authenticator = test_authenticator;
    return reply;
}

TEST_P(OpenSslShortage, AcceptsNoReplyThatIsNotAuthentic) {
    for (const bool message_authenticator : {true, false}) {
        const RadiusPacket authentic = decoded_reply(radius::ACCESS_ACCEPT, secret, message_authenticator);
        const RadiusPacket forged = decoded_reply(radius::ACCESS_ACCEPT, "another", message_authenticator);
        for_each_allocation([&](const ShortageAt& here) {
            std::string of_authentic;
            std::string of_forged;
            const Outcome outcome = here.during([&] {
                of_forged = forged.validate(secret).message;
                of_authentic = authentic.validate(secret).message;
            });
            const std::string problem = message_authenticator
                                            ? "RadiusPacket: Message-Authenticator mismatch"
                                            : "RadiusPacket: invalid Response Authenticator";
            EXPECT_EQ(outcome.failure(), "");
            EXPECT_EQ(of_forged, problem);
            EXPECT_TRUE(of_authentic.empty() || outcome.was_short) << of_authentic;
            return outcome;
        });
    }
}

TEST_P(OpenSslShortage, AcceptsNoZerosInPlaceOfDigests) {
    // What a forger writes who hopes for the failure.
    Bytes wire = datagram(radius::ACCESS_ACCEPT, "50 12" + repeat("00", 16), ZERO16);
    RadiusPacket reply(shipped_dictionary());
    pkt_load(reply, wire.data(), wire.size(), "");
    reply.request_authenticator = test_authenticator;
    for_each_allocation([&](const ShortageAt& here) {
        auto error = radius::ValidationError::None;
        const Outcome outcome = here.during([&] { error = reply.validate(secret).error; });
        EXPECT_NE(error, radius::ValidationError::None);
        return outcome;
    });
}

}  // namespace
}  // namespace quarn::test
