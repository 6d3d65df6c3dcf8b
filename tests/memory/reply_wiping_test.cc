// Values that a reply revealed do not stay behind in memory that is given back.
#include <gtest/gtest.h>

#include <string_view>
#include <utility>

#include "quarn/client/reply.h"
#include "quarn/client/request.h"
#include "quarn/radius/hiding.h"
#include "testing/dictionaries.h"
#include "testing/packets.h"
#include "testing/watched_memory.h"
#include "testing/wire.h"

namespace quarn::test {
namespace {

using client::decode_reply;
using client::DecodedReply;
using client::EncodedRequest;
using utils::Bytes;

constexpr char secret[] = "testing123";

// In read-only memory, so that searching for it finds no copy of the test's own.
constexpr std::string_view marker = "a marker which is longer than any string that is stored in itself";

/// A reply with the marker in a User-Password and in a Tunnel-Password.
class ReplyWiping : public testing::Test {
  protected:
    ReplyWiping() : dictionary_(shipped_dictionary()), request_(datagram(1, "")) {
        const Bytes password = hidden_password(marker, secret, request_.authenticator());
        Bytes tunnel = subscriber::radius::encrypt_tunnel_password(utils::as_bytes(marker), secret,
                                                                   request_.authenticator());
        tunnel.insert(tunnel.begin(), 1);  // the tag
        datagram_ =
            reply_to(request_.datagram(),
                     {.code = 2, .attributes = joined({attribute(2, password), attribute(69, tunnel)})});
    }

    DecodedReply decoded() const { return decode_reply(datagram_, request_, secret, dictionary_); }

    SharedDictionary dictionary_;
    EncodedRequest request_;
    Bytes datagram_;
};

/// Whether both values are there, in clear.
bool is_revealed(const DecodedReply& reply) {
    const auto* const packet = reply.verified();
    return packet != nullptr && packet->find_attribute("User-Password")->values[0].as_string() == marker &&
           packet->find_attribute("Tunnel-Password")->values[0].as_string() == marker;
}

TEST_F(ReplyWiping, IsDoneAtTheEnd) {
    bool revealed = false;
    const FreedMemorySearch search(marker);
    {
        const DecodedReply reply = decoded();
        revealed = is_revealed(reply);
    }
    EXPECT_EQ(search.findings(), 0U);
    EXPECT_TRUE(revealed);
}

TEST_F(ReplyWiping, IsDoneWhenAnotherReplyTakesThePlace) {
    const FreedMemorySearch search(marker);
    DecodedReply reply = decoded();
    const bool revealed = is_revealed(reply);
    reply = decode_reply(Bytes(), request_, secret, dictionary_);
    EXPECT_EQ(search.findings(), 0U);
    EXPECT_TRUE(revealed);
}

TEST_F(ReplyWiping, IsDoneWhereverTheReplyWasMoved) {
    const FreedMemorySearch search(marker);
    {
        DecodedReply first = decoded();
        const DecodedReply second = std::move(first);
        EXPECT_TRUE(is_revealed(second));
    }
    EXPECT_EQ(search.findings(), 0U);
}

TEST_F(ReplyWiping, IsLeftToWhoeverTakesThePacket) {
    const FreedMemorySearch search(marker);
    { const auto packet = decoded().take_unverified_packet(); }
    EXPECT_EQ(search.findings(), 2U);
}

}  // namespace
}  // namespace quarn::test
