#include "quarn_radius/send/send_command.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <string>
#include <utility>

#include "quarn/client/network.h"
#include "quarn_radius/send/send_options.h"
#include "quarn_radius/send/send_run.h"

namespace quarn::quarn_radius {

namespace {

constexpr const char* send_help = R"(Send requests to a server and say what came of them.

SERVER is a name or an address, with or without a port, and with udp:// or
tcp:// in front if need be: radius.example.net, [::1]:1812, tcp://10.0.0.1.
NAME=VALUE is an attribute, NAME:TAG=VALUE one with a tag, and 26.9.1=0x...
one by number.)";

constexpr const char* send_examples = R"(Examples:
  quarn-radius send --secret-file s --username bob --password-file p SERVER
  quarn-radius send --secret-file s --code status SERVER
  quarn-radius send --secret-file s --code accounting SERVER User-Name=bob
  quarn-radius send --secret-file s --code disconnect SERVER User-Name=bob
  quarn-radius send --secret-file s -f requests.txt --parallel 4 SERVER
  quarn-radius send --profile lab --username bob
  quarn-radius send --profile lab --expect Tunnel-Private-Group-ID=42

Exit status:
  0  accepted, or as expected
  1  rejected, challenged, or not as expected
  2  the command line, a request file or a profile is wrong
  3  a file cannot be read
  4  no answer
  5  the server cannot be resolved or reached, refuses or closes the connection
  6  what came cannot be trusted or read
  7  kept for TLS and EAP)";

}  // namespace

Command add_send_command(CLI::App& parent, ArgumentSecrets secrets) {
    const auto options = std::make_shared<SendOptions>();
    options->taken = std::move(secrets);
    CLI::App* const command = parent.add_subcommand("send", send_help);
    add_send_options(*command, *options);
    command->footer(send_examples);
    return {command, [options, command](Streams streams) {
                if (!options->profile.empty()) {
                    apply_profile(*command, read_profile(profile_path(options->profile)), *options);
                }
                client::SystemNetwork network;
                return run_send(*options, network, streams);
            }};
}

}  // namespace quarn::quarn_radius
