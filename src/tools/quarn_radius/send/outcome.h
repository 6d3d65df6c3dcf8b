// One exchange with all that is told of it, whatever the form in which it is told.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quarn/client/conversation.h"
#include "quarn/client/diagnosis.h"
#include "quarn/client/verdict.h"
#include "quarn/radius/dictionary.h"
#include "quarn/radius/packet.h"
#include "quarn/utils/bytes.h"
#include "quarn_radius/send/expectation.h"
#include "quarn_radius/send/remark.h"

namespace quarn::quarn_radius {

/// What is told of one exchange.
struct Outcome {
    const client::Report* report = nullptr;       ///< never null
    std::optional<client::Verdict> verdict = {};  ///< nothing for a dry run
    bool is_answered = false;                     ///< a challenge that the next exchange answers
    int exit_status = 0;          ///< of a run with nothing but this exchange; 0 when `is_answered`
    std::string origin = {};      ///< where the request was written, "file:line"; may be empty
    std::string session_id = {};  ///< Acct-Session-Id of an Accounting-Request; else empty
    std::vector<CheckedExpectation> expectations = {};
    std::vector<Remark> remarks = {};
    const client::Diagnosis* diagnosis = nullptr;  ///< null: none was made
};

/// What is shown.
struct ReportStyle {
    bool show_secrets = false;  ///< hidden values in clear
    bool verbose = false;       ///< the bytes, too
    bool quiet = false;         ///< the verdict's line alone
};

/// The verdict's sentence; another one for a challenge that was answered. The outcome has a verdict.
std::string_view sentence_of(const Outcome& outcome);

/// The packet that these bytes of a request hold. Hidden values are in clear when the secret is not empty;
/// with an empty one they are the bytes on the wire. Throws `std::runtime_error` for bytes that are no
/// packet.
subscriber::radius::RadiusPacket packet_of_request(
    utils::byte_span datagram, std::string_view secret,
    const std::shared_ptr<const subscriber::radius::RadiusDictionary>& dictionary);

}  // namespace quarn::quarn_radius
