#include "end_to_end/client.h"

#include <utility>

#include "quarn/utils/text.h"
#include "testing/dictionaries.h"
#include "testing/wire.h"

namespace quarn::test {

Command authprobe(std::vector<std::string> arguments) {
    return {.program = AUTHPROBE_PROGRAM, .arguments = std::move(arguments)};
}

std::map<std::string, std::optional<std::string>> preloading(const std::string& library,
                                                             const std::string& failing_calls) {
    return {{"LD_PRELOAD", library},
            {"FAILING_CALLS", failing_calls},
            {"ASAN_OPTIONS", "verify_asan_link_order=0"}};  // the sanitizer would rather be loaded first
}

std::string banner() {
    return "\n Vornhelm Quarn " AUTHPROBE_VERSION "\n     Copyright (C) 2026 Vornhelm\n\n";
}

std::string listing_of_bob() {
    return "     User-Name = \"bob\"\n     User-Password = \"hello\"\n" + bare_listing();
}

std::string bare_listing() {
    return "     NAS-IP-Address = 127.0.0.1\n"
           "     Message-Authenticator = 0x00000000000000000000000000000000\n";
}

std::string message_authenticator_line(utils::byte_span packet) {
    const utils::Bytes value = value_of(packet, 80);
    return "     Message-Authenticator = 0x" + utils::bytes_to_hex(value.data(), value.size()) + "\n";
}

std::string no_response_from(const std::string& server) {
    return "\nauthprobe: no response from " + server + "\nauthprobe: Fail\n\n";
}

std::string Conversation::identifier() const {
    return std::to_string(request().at(1));
}

std::string Conversation::sent() const {
    const Datagram& sent = requests.at(0);
    return " Sent Access-Request Id " + identifier() + " from " + sent.address + ":" +
           std::to_string(sent.port) + " to " + server() + " length " + std::to_string(sent.bytes.size()) +
           "\n";
}

std::string Conversation::received(const std::string& code_name, utils::byte_span reply) const {
    const Datagram& sent = requests.at(0);
    return " Received " + code_name + " Id " + identifier() + " from " + server() + " to " + sent.address +
           ":" + std::to_string(sent.port) + " length " + std::to_string(reply.size()) + "\n";
}

std::string Conversation::no_reply() const {
    return " No reply from server for ID " + identifier() + "\n";
}

Conversation converse(std::vector<UdpPeer::Answer> script, const Setting& setting) {
    UdpPeer peer(std::move(script));
    std::vector<std::string> arguments = {
        "-d", setting.dictionary.empty() ? shipped_dictionary_path() : setting.dictionary};
    arguments.insert(arguments.end(), setting.options.begin(), setting.options.end());
    arguments.insert(arguments.end(), {peer.address(), setting.secret});

    Command command = authprobe(std::move(arguments));
    command.environment = setting.environment;
    command.closed_input = setting.closed_input;
    command.output = setting.output;
    command.errors = setting.errors;
    ProcessResult client = run_process(command);
    return {std::move(client), peer.finish(), peer.port()};
}

Conversation converse_with(std::function<utils::Bytes(const utils::Bytes& request)> make_reply,
                           const Setting& setting) {
    return converse({answer(std::move(make_reply))}, setting);
}

}  // namespace quarn::test
