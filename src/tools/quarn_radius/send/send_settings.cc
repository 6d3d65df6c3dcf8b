#include "quarn_radius/send/send_settings.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "quarn/client/server.h"
#include "quarn/net/endpoint.h"

namespace quarn::quarn_radius {

namespace {

/// Reads an option's value; in front of what is wrong with it stands its place in the profile, if it is from
/// there.
template <typename Read>
auto read_option(const SendOptions& options, const std::string& name, std::size_t index, const Read& read) {
    try {
        return read();
    } catch (const std::invalid_argument& error) {
        throw std::invalid_argument(place_prefix(options, name, index) + error.what());
    }
}

client::Duration duration_of(std::chrono::duration<double> seconds) {
    return std::chrono::duration_cast<client::Duration>(seconds);
}

client::RequireMessageAuthenticator parse_requirement(const std::string& text) {
    if (text == "yes") {
        return client::RequireMessageAuthenticator::Yes;
    }
    if (text == "warn") {
        return client::RequireMessageAuthenticator::Warn;
    }
    if (text == "no") {
        return client::RequireMessageAuthenticator::No;
    }
    throw std::invalid_argument("--require-message-authenticator: \"" + text +
                                "\" is neither yes, warn nor no");
}

client::CredentialMethod parse_method(const std::string& text) {
    const auto method = client::credential_method_from_word(text);
    if (!method) {
        throw std::invalid_argument("--method: \"" + text + "\" is neither pap, chap, mschap nor mschapv2");
    }
    return *method;
}

std::uint8_t parse_code(const std::string& text) {
    const auto code = parse_request_code(text);
    if (!code) {
        throw std::invalid_argument("--code: \"" + text +
                                    "\" is neither access, accounting, coa, disconnect, status nor a number "
                                    "from 1 to 255");
    }
    return *code;
}

std::string parse_mac_address(const std::string& text) {
    if (!text.empty() && !calling_station_id(text)) {
        throw std::invalid_argument("--mac: \"" + text + "\" is no MAC address");
    }
    return text;
}

std::optional<net::Address> parse_source(const std::string& text) {
    if (text.empty()) {
        return std::nullopt;
    }
    const auto endpoint = net::parse_endpoint(text);
    const auto address =
        endpoint ? net::Address::parse(endpoint->host, endpoint->port.value_or(0)) : std::nullopt;
    if (!address) {
        throw std::invalid_argument("--source: \"" + text + "\" is no address of this machine");
    }
    return address;
}

client::Server parse_server(const std::string& text) {
    const auto server = client::parse_server(text);
    if (!server) {
        throw std::invalid_argument("\"" + text + "\" is no server: " + server.error().message);
    }
    return *server;
}

std::optional<net::Family> family_of(const SendOptions& options) {
    if (options.ipv4 && options.ipv6) {
        const std::string place = place_prefix(options, "ipv4", 0);
        throw std::invalid_argument((place.empty() ? place_prefix(options, "ipv6", 0) : place) +
                                    "-4 and -6 leave no address to ask");
    }
    if (!options.ipv4 && !options.ipv6) {
        return std::nullopt;
    }
    return options.ipv4 ? net::Family::IPv4 : net::Family::IPv6;
}

std::optional<GivenSecret> read_one_secret(const SendOptions& options, const SecretSource& source,
                                           const std::string& name) {
    return read_option(options, name + "-env", 0, [&] { return read_secret(source, name); });
}

}  // namespace

std::vector<client::Route> make_routes(const SendOptions& options) {
    std::vector<std::string> texts = options.servers;
    std::copy_if(options.operands.begin(), options.operands.end(), std::back_inserter(texts),
                 is_server_operand);
    client::Route pattern;
    pattern.family = family_of(options);
    pattern.interface = options.interface;
    pattern.source = read_option(options, "source", 0, [&] { return parse_source(options.source); });
    std::vector<client::Route> routes;
    for (const std::string& text : texts) {
        pattern.server =
            read_option(options, "server", routes.size(), [&text] { return parse_server(text); });
        routes.push_back(pattern);
    }
    return routes;
}

client::ConversationOptions make_conversation_options(const SendOptions& options) {
    return {
        .tries = options.tries,
        .timeout = duration_of(std::chrono::duration<double>(options.timeout)),
        .grace = duration_of(std::chrono::duration<double, std::milli>(options.grace)),
        .wait_full_time = options.wait,
        .parallel = static_cast<std::size_t>(options.parallel),
        .require_message_authenticator =
            read_option(options, "require-message-authenticator", 0,
                        [&] { return parse_requirement(options.require_message_authenticator); }),
    };
}

DraftSettings make_draft_settings(const SendOptions& options) {
    DraftSettings settings;
    settings.code = read_option(options, "code", 0, [&] { return parse_code(options.code); });
    settings.bare = options.bare;
    settings.method = read_option(options, "method", 0, [&] { return parse_method(options.method); });
    settings.username = options.username;
    settings.mac_address =
        read_option(options, "mac", 0, [&] { return parse_mac_address(options.mac_address); });
    settings.session_id = options.session_id;
    return settings;
}

std::vector<Expectation> make_expectations(
    const SendOptions& options,
    const std::shared_ptr<const subscriber::radius::RadiusDictionary>& dictionary) {
    std::vector<Expectation> expectations;
    for (const std::string& text : options.expectations) {
        expectations.push_back(read_option(options, "expect", expectations.size(),
                                           [&] { return Expectation::parse(text, dictionary); }));
    }
    return expectations;
}

GivenSecrets read_given_secrets(const SendOptions& options) {
    GivenSecrets given;
    given.secret = read_one_secret(
        options,
        {.text = options.taken.secret, .file = options.secret_file, .variable = options.secret_variable},
        "secret");
    given.password = read_one_secret(options,
                                     {.text = options.taken.password,
                                      .file = options.password_file,
                                      .variable = options.password_variable},
                                     "password");
    if (given.secret && given.secret->text.empty()) {
        // It would sign nothing, and passwords would be sent in clear.
        throw std::invalid_argument("the shared secret is empty");
    }
    return given;
}

}  // namespace quarn::quarn_radius
