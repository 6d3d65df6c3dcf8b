#include "reply.h"

#include <stdexcept>
#include <string>
#include <vector>

#include "credential.h"
#include "quarn/radius/packet_code.h"
#include "quarn/radius/pkt_dump.h"
#include "quarn/radius/pkt_load.h"

namespace responder {

namespace {

using namespace quarn::subscriber::radius;
using quarn::utils::as_text;
using quarn::utils::Bytes;

const User* find_user(const Users& users, const std::string& name) {
    const auto entry = users.by_name.find(name);
    return entry == users.by_name.end() ? nullptr : &entry->second;
}

std::string user_name_of(const RadiusPacket& request) {
    const RadiusAttribute* const attribute = request.find_attribute("User-Name");
    return attribute == nullptr ? "" : attribute->values.front().as_string();
}

/// Adds "Name" or "Name:tag".
void add_reply_attribute(RadiusPacket& reply, const std::string& name_and_tag, const std::string& value) {
    const std::size_t colon = name_and_tag.find(':');
    const std::string name = name_and_tag.substr(0, colon);
    const RadiusAttribute* const before = reply.find_attribute(name);
    const std::size_t had = before == nullptr ? 0 : before->values.size();
    reply.add_attribute(name, value);
    auto& values = reply.attribute_map.at(name).values;
    if (values.size() == had) {  // the library leaves out a malformed number without a word
        throw std::invalid_argument("invalid value \"" + value + "\" of " + name);
    }
    if (colon != std::string::npos) {
        values.back().tag = static_cast<std::uint8_t>(std::stoi(name_and_tag.substr(colon + 1)));
    }
}

void add_reply_attributes(RadiusPacket& reply, const User& user) {
    for (const auto& [name, value] : user.reply) {
        add_reply_attribute(reply, name, value);
    }
}

}  // namespace

void check_replies(const Users& users, const std::shared_ptr<const RadiusDictionary>& dictionary) {
    for (const auto& [name, user] : users.by_name) {
        RadiusPacket reply(dictionary);
        add_reply_attributes(reply, user);
    }
}

std::optional<Bytes> reply_to(quarn::utils::byte_span datagram, const Users& users,
                              const std::shared_ptr<const RadiusDictionary>& dictionary) {
    RadiusPacket request(dictionary);
    pkt_load(request, datagram.data(), datagram.size(), users.secret);
    if (request.code != ACCESS_REQUEST || request.validate(users.secret).error != ValidationError::None) {
        return std::nullopt;
    }

    RadiusPacket reply(dictionary);
    reply.identifier = request.identifier;
    reply.request_authenticator = request.authenticator;
    reply.add_attribute("Message-Authenticator", as_text(ZERO16));  // the encoder fills it in

    const std::string user_name = user_name_of(request);
    const User* const user = find_user(users, user_name);
    if (user == nullptr || !credential_matches(request, user_name, user->password)) {
        reply.code = ACCESS_REJECT;
        reply.add_attribute("Reply-Message", "Unknown user or wrong password");
    } else {
        reply.code = user->challenged ? ACCESS_CHALLENGE : ACCESS_ACCEPT;
        add_reply_attributes(reply, *user);
    }
    std::vector<ParseIssue> unreported;
    return pkt_dump(reply, users.secret, unreported);
}

}  // namespace responder
