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

namespace quarn::quarn_radius {

/// A remark of the program's own, beside the client's notes.
struct Remark {
    std::string word;  ///< for programs: lower-case letters and hyphens
    std::string text;  ///< for people
};

/// An expectation and what became of it.
struct CheckedExpectation {
    std::string text;                 ///< as it was written
    std::optional<std::string> came;  ///< what came instead; nothing when the reply is as expected
};

/// What is told of one exchange.
struct Outcome {
    const client::Report* report = nullptr;       ///< never null
    std::optional<client::Verdict> verdict = {};  ///< nothing for a dry run
    bool is_answered = false;                     ///< a challenge that the next exchange answers
    int exit_status = 0;                          ///< of a run with nothing but this exchange
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

/// A name for a code that may be unknown: "Access-Request", "code 99".
std::string code_name(std::uint8_t code);

/// The packet that these bytes of a request hold. Hidden values are in clear when the secret is not empty;
/// with an empty one they are the bytes on the wire. Throws `std::runtime_error` for bytes that are no
/// packet.
subscriber::radius::RadiusPacket packet_of_request(
    utils::byte_span datagram, std::string_view secret,
    const std::shared_ptr<const subscriber::radius::RadiusDictionary>& dictionary);

}  // namespace quarn::quarn_radius
