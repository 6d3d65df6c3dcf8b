// From servers and encoded requests to verdicts.
//
//     SystemNetwork network;
//     Job job;
//     job.routes.push_back({.server = *parse_server("radius.example.net")});
//     job.asks.push_back({.request = encode_request(packet, secret)});
//     for (const Conversation& conversation : converse(job, secret, dictionary, {}, network)) {
//         print(verdict_row(conversation.last().verdict).word);
//     }
//
// Each request goes to one server: the addresses of the server's name are tried in order until one answers.
// An address that is unreachable, refuses or stays silent for all tries gives way to the next one. Requests
// to the same server share sockets, one after another, so that a late reply to an earlier one is seen and
// told. Give requests that follow each other different Identifiers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quarn/client/credentials.h"
#include "quarn/client/judgement.h"
#include "quarn/client/network.h"
#include "quarn/client/note.h"
#include "quarn/client/reply.h"
#include "quarn/client/request.h"
#include "quarn/client/server.h"
#include "quarn/client/transport.h"
#include "quarn/client/verdict.h"
#include "quarn/net/address.h"
#include "quarn/radius/dictionary.h"
#include "quarn/utils/bytes.h"

namespace quarn::client {

/// A way to a server.
struct Route {
    Server server;                            ///< without a port: `default_port` of the request's code
    std::optional<net::Family> family = {};   ///< nothing: both
    std::optional<net::Address> source = {};  ///< decides the family when `family` does not; port 0: any
    std::string interface = {};               ///< empty: any
};

/// One request to make.
struct Ask {
    EncodedRequest request;
    std::size_t route = 0;                       ///< which of the job's routes
    std::optional<MsChapV2Proof> mschapv2 = {};  ///< what the server owes for an MS-CHAPv2 response
};

/// What to do.
struct Job {
    std::vector<Route> routes;
    std::vector<Ask> asks;
};

/// How it is done.
struct ConversationOptions {
    int tries = 3;                                   ///< how often a request is sent to an address over UDP
    Duration timeout = std::chrono::seconds(3);      ///< of one try; the first one includes resolving
    Duration grace = std::chrono::milliseconds(50);  ///< after a packet that cannot be accepted
    bool wait_full_time = false;                     ///< discard such packets, as RFC 2865, section 3 wants
    std::size_t parallel = 1;                        ///< requests under way at the same time, at least 1
    int max_rounds = 10;                             ///< requests in one conversation, challenges answered
    RequireMessageAuthenticator require_message_authenticator = RequireMessageAuthenticator::Warn;
};

/// One exchange and how it ended: everything that can be told of it.
struct Report {
    std::string server;  ///< as it was typed
    TransportKind transport = TransportKind::Udp;
    std::optional<net::Address> address = {};        ///< that answered, or else the last one tried
    std::optional<net::Address> local_address = {};  ///< this end; nothing when it is not known
    utils::Bytes request = {};                       ///< the bytes that were, or would have been, sent
    std::optional<utils::Bytes> reply = {};          ///< the packet that the verdict is about
    std::optional<net::Address> reply_source = {};   ///< and where it came from
    std::optional<DecodedReply> decoded = {};        ///< the same, decoded; there when `reply` is
    bool was_connected = false;                      ///< of a silent server: whether a connection was made
    int tries = 0;                                   ///< how often the request was sent to `address`
    std::optional<Duration> round_trip = {};         ///< since it was last sent; there when `reply` is
    Verdict verdict = Verdict::NoAnswer;
    std::string detail = {};                        ///< beside the verdict's sentence; may be empty
    std::optional<std::size_t> offset = {};         ///< for `Verdict::Malformed`: the octet, from 0 on
    std::optional<std::uint32_t> error_cause = {};  ///< the number in Error-Cause
    int error_number = 0;                           ///< errno value behind the verdict, or 0
    std::optional<IcmpReport> icmp = {};            ///< the ICMP message behind the verdict
    std::vector<Note> notes = {};
};

/// A request and, when challenges were answered, those that followed.
struct Conversation {
    std::vector<Report> rounds;  ///< at least one; the last one has the verdict

    const Report& last() const { return rounds.back(); }
    Report& last() { return rounds.back(); }
};

/// Answers a challenge: the next request, or nothing to end with `Verdict::Challenge`. Called with the number
/// of the ask and the rounds so far, the challenge last. `challenge_answer` (challenge_answer.h) makes the
/// packet to be encoded.
using ChallengeHandler = std::function<std::optional<Ask>(std::size_t ask, const Conversation& so_far)>;

/// Called once for each ask, in their order, as soon as the verdicts of this ask and of all before it are
/// known. May take the conversation's contents.
using ConversationObserver = std::function<void(std::size_t ask, Conversation& conversation)>;

/// What a conversation asks its owner.
struct ConversationHooks {
    ChallengeHandler on_challenge = {};  ///< none: a challenge is the end
    ConversationObserver on_result = {};
};

/// Makes the requests and waits for their replies. Returns one conversation an ask, in order. Ends when time
/// goes on: after tries x timeout an address and round at the latest, plus what the hooks take; requests that
/// are under way together wait together. Over TCP a request is sent once. Throws what hooks throw,
/// `std::invalid_argument` for a null dictionary, and `std::out_of_range` for a route that is not there.
std::vector<Conversation> converse(Job job, std::string_view secret,
                                   std::shared_ptr<const subscriber::radius::RadiusDictionary> dictionary,
                                   const ConversationOptions& options, Network& network,
                                   const ConversationHooks& hooks = {});

}  // namespace quarn::client
