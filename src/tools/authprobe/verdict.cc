#include "authprobe/verdict.h"

#include <cstdlib>
#include <exception>
#include <iostream>
#include <optional>
#include <string>
#include <utility>

#include "authprobe/report.h"
#include "authprobe/user_password.h"
#include "common/colour.h"
#include "quarn/client/reply.h"
#include "quarn/radius/packet_code.h"

namespace quarn::authprobe {

namespace {

using subscriber::radius::RadiusPacket;
using subscriber::radius::RadiusPacketValRes;
using subscriber::radius::ValidationError;

namespace radius = subscriber::radius;

/// The end of every run but the successful one.
int fail(const std::string& reason) {
    std::cerr << status_line(tools::red, reason) << '\n' << status_line(tools::red, "Fail") << "\n\n";
    return EXIT_FAILURE;
}

int fail_to_parse(const std::string& reason) {
    std::cerr << '\n';
    return fail("failed to parse reply: " + reason);
}

void announce_reply(const RadiusPacket& reply, std::size_t length, const ServerConnection& connection) {
    std::cout << tools::colourise(reply.code == radius::ACCESS_ACCEPT ? tools::green : tools::red,
                                  " Received " + code_name(reply.code) + " Id " +
                                      std::to_string(reply.identifier) + " from " +
                                      connection.server().text() + " to " + connection.local().text() +
                                      " length " + std::to_string(length))
              << '\n';
    print_attributes(reply, reply.dictionary.get());
}

int report_invalid_reply(const RadiusPacketValRes& result) {
    std::cerr << '\n';
    if (result.error == ValidationError::InvalidMessageAuthenticator) {
        return fail(
            "ERROR: reply Message-Authenticator is invalid (shared secret is incorrect or the packet was "
            "tampered with): " +
            result.message);
    }
    return fail("ERROR: reply failed validation (shared secret is probably incorrect): " + result.message);
}

}  // namespace

int report_silence(const ServerConnection& connection) {
    std::cerr << '\n';
    return fail("no response from " + connection.server().text());
}

int judge_reply(utils::byte_span datagram, const AccessRequest& request, const ServerConnection& connection,
                const ClientSettings& settings) {
    std::optional<client::DecodedReply> decoded;
    try {
        decoded = client::decode_reply(datagram, request.encoded, settings.secret, request.packet.dictionary,
                                       {.reveal = client::Reveal::Nothing});
    } catch (const std::exception& error) {  // there is no memory left, say
        return fail_to_parse(error.what());
    }
    if (decoded->status() == client::ReplyStatus::Malformed) {
        return fail_to_parse(decoded->decoder_error());
    }
    const RadiusPacketValRes result = decoded->validation().value();
    RadiusPacket reply = std::move(*decoded).take_unverified_packet();
    {
        const WipedUserPassword wiped_password(reply);
        reveal_user_password(reply, settings.secret);
        announce_reply(reply, datagram.size(), connection);
    }

    if (result.error != ValidationError::None) {
        return report_invalid_reply(result);
    }
    std::cout << std::endl;
    if (!settings.no_message_auth && reply.find_attribute("Message-Authenticator") == nullptr) {
        std::cerr << status_line(tools::yellow, "WARNING: reply has no Message-Authenticator attribute")
                  << '\n';
    }
    if (reply.code != radius::ACCESS_ACCEPT) {
        return fail("ERROR: expected Access-Accept, got " + code_name(reply.code));
    }
    std::cout << status_line(tools::green, "Success") << "\n\n";
    return EXIT_SUCCESS;
}

}  // namespace quarn::authprobe
