// From the bytes of a reply to a verdict. Pure: bytes in, values out.
//
//     const Judgement judgement = judge_reply(datagram, request, "testing123", dictionary, {});
//     judgement.verdict;                 // Verdict::Accepted
//     judgement.reply->verified();       // the packet, hidden values in clear
//
// The source of the datagram is not looked at here; the conversation does that.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quarn/client/credentials.h"
#include "quarn/client/note.h"
#include "quarn/client/reply.h"
#include "quarn/client/request.h"
#include "quarn/client/verdict.h"
#include "quarn/radius/dictionary.h"
#include "quarn/utils/bytes.h"

namespace quarn::client {

/// What to do about an Access reply, otherwise authentic, that has no Message-Authenticator.
enum class RequireMessageAuthenticator : std::uint8_t {
    Yes,   ///< `Verdict::MessageAuthenticatorMissing`
    Warn,  ///< it counts, with a note
    No     ///< it counts
};

/// How a reply is judged.
struct JudgementOptions {
    RequireMessageAuthenticator require_message_authenticator = RequireMessageAuthenticator::Warn;
    std::optional<MsChapV2Proof> mschapv2 = {};  ///< verified in an Access-Accept
};

/// What a reply is.
struct Judgement {
    Verdict verdict = Verdict::Malformed;
    std::optional<DecodedReply> reply = {};  ///< always there
    std::vector<Note> notes = {};
    std::string detail = {};                        ///< beside the verdict's sentence; may be empty
    std::optional<std::size_t> offset = {};         ///< for `Verdict::Malformed`: the octet, from 0 on
    std::optional<std::uint32_t> error_cause = {};  ///< the number in Error-Cause (RFC 5176, section 3.5)

    bool is_trusted() const { return client::is_trusted(verdict); }
};

/// Judges a datagram as the reply to a request. Never throws for bad bytes; `std::invalid_argument` for a
/// null dictionary. Octets after the packet's Length are ignored, with a note.
///
/// A Message-Authenticator of codes 5, 41, 42, 44 and 45 that was computed over sixteen zero octets is
/// accepted with a note. Protocol-Error (code 52, RFC 7930) answers every request. A reply of a code that the
/// library does not know is verified by its Response Authenticator, and noted. An Accounting-Response,
/// Access-Accept or ACK is success; for a request of an unknown code, any authentic reply that is no Reject,
/// NAK, Challenge or Protocol-Error is.
Judgement judge_reply(utils::byte_span datagram, const EncodedRequest& request, std::string_view secret,
                      const std::shared_ptr<const subscriber::radius::RadiusDictionary>& dictionary,
                      const JudgementOptions& options);

}  // namespace quarn::client
