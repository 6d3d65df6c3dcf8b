// The built program at work, and what it is expected to write.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "quarn/utils/bytes.h"
#include "testing/process.h"
#include "testing/udp_peer.h"

namespace quarn::test {

inline constexpr char shared_secret[] = "testing123";

/// The command that runs the program with these arguments.
Command authprobe(std::vector<std::string> arguments);

/// The variables that load a library into the program before its own: `STOPPED_AT_END`, or `FAILING_CALLS`
/// with what it is to do.
std::map<std::string, std::optional<std::string>> preloading(const std::string& library,
                                                             const std::string& failing_calls = "");

/// What every run begins with.
std::string banner();

/// The listing of a request of User-Name bob with --password hello, from 127.0.0.1.
std::string listing_of_bob();

/// The listing of a request with no options, from 127.0.0.1.
std::string bare_listing();

/// The line that lists a packet's Message-Authenticator.
std::string message_authenticator_line(utils::byte_span packet);

/// What a run says on standard error that gets no reply.
std::string no_response_from(const std::string& server);

/// One run against a scripted peer.
struct Conversation {
    ProcessResult client;
    std::vector<Datagram> requests;  ///< what the peer received
    std::uint16_t port;              ///< the peer's

    /// "127.0.0.1:" and the peer's port.
    std::string server() const { return "127.0.0.1:" + std::to_string(port); }

    /// The Identifier of the request, in decimal.
    std::string identifier() const;

    /// The first datagram that the peer received.
    const utils::Bytes& request() const { return requests.at(0).bytes; }

    /// The line that announces the request.
    std::string sent() const;

    /// The line that announces a reply to it.
    std::string received(const std::string& code_name, utils::byte_span reply) const;

    /// The line about an attempt that failed.
    std::string no_reply() const;
};

/// How a conversation differs from: User-Name bob, password hello, the shipped dictionary, the right secret,
/// and both streams read through pipes.
struct Setting {
    std::vector<std::string> options = {"--username", "bob", "--password", "hello"};
    std::string dictionary = {};  ///< a path; empty for the shipped one
    std::string secret = shared_secret;
    std::map<std::string, std::optional<std::string>> environment = {};
    bool closed_input = false;
    Stream output = Stream::Pipe;
    Stream errors = Stream::Pipe;
};

/// Runs the program against a peer that answers by the script.
Conversation converse(std::vector<UdpPeer::Answer> script, const Setting& setting = {});

/// The same against a peer that answers the first request.
Conversation converse_with(std::function<utils::Bytes(const utils::Bytes& request)> make_reply,
                           const Setting& setting = {});

}  // namespace quarn::test
