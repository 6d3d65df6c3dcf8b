// Any datagram is judged as a reply, and is verified only when a second opinion says so too. The input is the
// datagram; it is also signed as a reply to a known request, so that there is something to verify.
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "quarn/client/judgement.h"
#include "quarn/client/packet_stream.h"
#include "quarn/client/reply.h"
#include "quarn/client/request.h"
#include "testing/check.h"
#include "testing/every_kind.h"
#include "testing/packet_forge.h"
#include "testing/trusted_reply.h"

namespace {

using namespace quarn;
using namespace quarn::fuzz;
using client::DecodedReply;
using client::EncodedRequest;
using client::ReplyStatus;

/// One of each kind, and last one of a kind that takes any reply.
constexpr std::array<std::uint8_t, 6> request_codes = {1, 4, 12, 40, 43, 255};

EncodedRequest request_with(std::uint8_t code, std::uint8_t identifier) {
    Bytes bytes = {code, identifier, 0, 20};
    bytes.insert(bytes.end(), request_authenticator.begin(), request_authenticator.end());
    return EncodedRequest(bytes);
}

void judge(byte_span datagram, const EncodedRequest& request, std::string_view secret) {
    const DecodedReply reply = decode_reply(datagram, request, secret, dictionary_of_every_kind());
    const bool is_malformed = reply.status() == ReplyStatus::Malformed;
    require((reply.verified() != nullptr) == test::is_trustworthy_reply(datagram, request.datagram(), secret),
            "a reply is verified exactly when it is trustworthy");
    require((reply.verified() != nullptr) == (reply.status() == ReplyStatus::Verified),
            "only a verified reply has a verified packet");
    require((reply.unverified_packet() == nullptr) == is_malformed,
            "a packet is there unless it is malformed");
    require(reply.decoder_error().empty() != is_malformed, "the decoder tells why a reply is malformed");
    require(reply.validation().has_value() != is_malformed, "what can be decoded is validated");
    if (reply.verified() != nullptr) {
        require(reply.validation()->message.empty(), "what is verified is valid, too",
                reply.validation()->message);
    }
    if (secret.empty()) {
        require(reply.checks() == client::ReplyChecks(), "nothing is checked without a secret");
    }
    const client::Judgement judgement =
        judge_reply(datagram, request, secret, dictionary_of_every_kind(), {});
    require(!judgement.is_trusted() || judgement.reply->verified() != nullptr,
            "a trusted reply has a verified packet");
    require(judgement.offset.has_value() == (judgement.verdict == client::Verdict::Malformed),
            "a fault has a place");
    require(judgement.offset.value_or(0) <= datagram.size(), "the place is in the datagram");
    const bool is_packet_alone = datagram.size() >= client::min_packet_size &&
                                 datagram.size() <= client::max_packet_size &&
                                 static_cast<std::size_t>(datagram[2] << 8 | datagram[3]) == datagram.size();
    require(reply.verified() == nullptr || !is_packet_alone || judgement.is_trusted(),
            "what is verified is trusted");
}

std::uint8_t identifier_of(byte_span datagram) {
    return datagram.size() > 1 ? datagram[1] : std::uint8_t{0};
}

/// As the reply to a request that takes any reply, and to one whose kind the size chooses: each is costly.
void judge_as_reply(byte_span datagram) {
    const std::uint8_t chosen = request_codes.at(datagram.size() % request_codes.size());
    judge(datagram, request_with(chosen, identifier_of(datagram)), shared_secret);
    judge(datagram, request_with(request_codes.back(), identifier_of(datagram)), shared_secret);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Bytes forged(data, data + size);
    judge_as_reply(forged);
    sign(forged);
    judge_as_reply(forged);
    const std::uint8_t identifier = identifier_of(forged);
    judge(forged, request_with(255, static_cast<std::uint8_t>(identifier ^ 1)), shared_secret);
    judge(forged, request_with(255, identifier), "");
    return 0;
}
