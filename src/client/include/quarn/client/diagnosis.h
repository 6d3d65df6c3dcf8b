// After silence: further questions to the server, and the likely causes in order.
//
//     if (report.verdict == Verdict::NoAnswer) {
//         const std::vector<Silence> silences = {{&report, &route}};
//         for (const Diagnosis& diagnosis : diagnose(silences, secret, dictionary, options, network)) {
//             for (const Cause& cause : diagnosis.causes) { print(cause.text); }
//         }
//     }
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "quarn/client/conversation.h"
#include "quarn/client/network.h"
#include "quarn/radius/dictionary.h"

namespace quarn::client {

/// Why a server may have stayed silent.
enum class CauseId : std::uint8_t {
    WrongSecret,     ///< the server uses another secret for this client
    UnknownClient,   ///< the server does not know this client's address
    RequestIgnored,  ///< the server answers, but not to this request: a policy, or its back end hangs
    PortClosed,      ///< nobody listens at the port
    Filtered,        ///< a firewall drops packets on the way, or the host is down
    WrongPort,       ///< the server listens at another port
    NoStatusServer,  ///< the server answers no Status-Server: nothing follows from that silence
    TemporaryLoss,   ///< the server answers now: packets were lost, or it was restarting
};

/// One likely cause.
struct Cause {
    CauseId id;
    std::string text;  ///< for people: what speaks for it, then what to look at

    /// Member by member.
    bool operator==(const Cause&) const = default;
};

/// The word of a cause for programs, such as "unknown-client".
std::string_view cause_word(CauseId id);

/// A question that was asked.
enum class ProbeKind : std::uint8_t {
    StatusServer,                 ///< Status-Server (RFC 5997) with the same secret
    WithoutMessageAuthenticator,  ///< the same Access-Request without its Message-Authenticator
};

/// The word of a question for programs, such as "status-server".
std::string_view probe_word(ProbeKind kind);

/// A question and what came of it.
struct Probe {
    ProbeKind kind;
    Report report;
};

/// A request without an answer.
struct Silence {
    const Report* report = nullptr;  ///< never null; its request and address are asked about
    const Route* route = nullptr;    ///< never null
};

/// What was found out.
struct Diagnosis {
    std::vector<Probe> probes;  ///< in the order in which they were made
    std::vector<Cause> causes;  ///< the likeliest first; at least one
};

/// Looks for the causes of silences: a diagnosis each, in order. Asks the addresses that stayed silent: one
/// try of each question, all at once, so that all together take one time-out at most. A request is asked
/// again without its Message-Authenticator only when it is an Access-Request without an EAP-Message. Throws
/// as `converse` does.
std::vector<Diagnosis> diagnose(std::span<const Silence> silences, std::string_view secret,
                                std::shared_ptr<const subscriber::radius::RadiusDictionary> dictionary,
                                const ConversationOptions& options, Network& network);

}  // namespace quarn::client
