#include "authprobe/access_request.h"

#include <unistd.h>

#include <exception>
#include <utility>

#include "authprobe/client_error.h"
#include "authprobe/leading_number.h"
#include "authprobe/user_password.h"
#include "common/default_paths.h"
#include "quarn/radius/packet_code.h"
#include "quarn/radius/random.h"

namespace quarn::authprobe {

namespace {

using subscriber::radius::RadiusDictionary;
using subscriber::radius::RadiusPacket;

namespace radius = subscriber::radius;

/// Sets Framed-Protocol by the name of one of its values or by number, which the dictionary's type for it has
/// to be able to hold.
void add_framed_protocol(RadiusPacket& packet, const std::string& protocol) {
    const auto unknown = [&protocol] {
        return ClientError("authprobe: unknown framed-protocol \"" + protocol + "\"\n");
    };
    const auto named = packet.dictionary->enum_value("Framed-Protocol", protocol);
    const auto number = named ? std::optional<std::uint64_t>(*named) : leading_unsigned(protocol);
    if (!number) {
        throw unknown();
    }
    try {
        packet.set_attribute("Framed-Protocol", static_cast<std::uint32_t>(*number));
    } catch (const std::exception&) {
        throw unknown();
    }
    if (packet.find_attribute("Framed-Protocol")->values.empty()) {
        throw unknown();
    }
}

void add_attributes(RadiusPacket& packet, const Probe& probe, const std::string& local_address_text) {
    const ClientSettings& settings = probe.settings;
    if (!settings.username.empty()) {
        packet.set_attribute("User-Name", settings.username);
    }
    if (probe.method != nullptr) {
        probe.method->add_credential(packet, settings);
    }
    packet.set_attribute("NAS-IP-Address",
                         settings.nas_ip_address.empty() ? local_address_text : settings.nas_ip_address);
    if (probe.nas_port) {
        packet.set_attribute("NAS-Port", *probe.nas_port);
    }
    if (!settings.framed_protocol.empty()) {
        add_framed_protocol(packet, settings.framed_protocol);
    }
    if (!settings.calling_station_id.empty()) {
        packet.set_attribute("Calling-Station-Id", settings.calling_station_id);
    }
    if (!settings.no_message_auth) {
        packet.add_attribute("Message-Authenticator", utils::as_text(radius::ZERO16));
    }
}

}  // namespace

std::shared_ptr<const RadiusDictionary> load_dictionary(const ClientSettings& settings) {
    const std::string path =
        settings.dictionary_path.empty() ? tools::default_dictionary_path : settings.dictionary_path;
    auto dictionary = std::make_shared<RadiusDictionary>();
    try {
        dictionary->load(path);
    } catch (const std::exception& error) {
        throw ClientError("authprobe: failed to load dictionary \"" + path + "\": " + error.what() + "\n");
    }
    return dictionary;
}

AccessRequest build_access_request(const Probe& probe, const std::string& local_address_text,
                                   std::shared_ptr<const RadiusDictionary> dictionary) {
    try {
        RadiusPacket packet(std::move(dictionary));
        const WipedUserPassword wiped_password(packet);
        packet.code = radius::ACCESS_REQUEST;
        packet.identifier = static_cast<std::uint8_t>(getpid());
        packet.authenticator = radius::random_authenticator();
        add_attributes(packet, probe, local_address_text);
        client::EncodedRequest encoded = client::encode_request(packet, probe.settings.secret);
        return {std::move(packet), std::move(encoded)};
    } catch (const ClientError&) {
        throw;
    } catch (const std::exception& error) {
        throw ClientError(std::string("authprobe: failed to build request: ") + error.what() + "\n");
    }
}

}  // namespace quarn::authprobe
