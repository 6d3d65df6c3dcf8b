#include "quarn/client/challenge_answer.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "quarn/radius/random.h"
#include "quarn/utils/secret.h"

namespace quarn::client {

namespace radius = subscriber::radius;

namespace {

/// Whether the code path is one of those by which a password is proved, or EAP is carried.
bool is_credential(const radius::CodePath& path) {
    static const std::array<radius::CodePath, 7> credentials = {{
        {2},            // User-Password
        {3},            // CHAP-Password
        {60},           // CHAP-Challenge
        {79},           // EAP-Message
        {26, 311, 1},   // MS-CHAP-Response
        {26, 311, 11},  // MS-CHAP-Challenge
        {26, 311, 25},  // MS-CHAP2-Response
    }};
    return std::find(credentials.begin(), credentials.end(), path) != credentials.end();
}

bool is_state(const radius::CodePath& path) {
    return path == radius::CodePath{24};
}

/// Removes attributes, and wipes their values: a password may be among them.
template <typename Condition>
void remove_attributes(radius::RadiusPacket& packet, Condition condition) {
    std::vector<std::string> keys;
    for (const auto& [key, attribute] : packet.attribute_map) {
        if (condition(attribute.code_path)) {
            keys.push_back(key);
        }
    }
    for (const std::string& key : keys) {
        const auto entry = packet.attribute_map.find(key);
        for (radius::RadiusValue& value : entry->second.values) {
            utils::wipe(value.data);
        }
        std::erase(packet.attribute_order, &entry->second);
        packet.attribute_map.erase(entry);
    }
}

}  // namespace

void challenge_answer(radius::RadiusPacket& packet, const radius::RadiusPacket& challenge,
                      std::string_view answer) {
    remove_attributes(packet,
                      [](const radius::CodePath& path) { return is_credential(path) || is_state(path); });
    for (const radius::RadiusAttribute* const attribute : challenge.attributes()) {
        if (is_state(attribute->code_path)) {
            packet.add_attribute(radius::RadiusAttribute(*attribute));
        }
    }
    packet.identifier = static_cast<std::uint8_t>((packet.identifier + 1) % 256);
    packet.authenticator = radius::random_authenticator();
    packet.set_attribute("User-Password", answer);  // in clear: the encoder hides it
}

}  // namespace quarn::client
