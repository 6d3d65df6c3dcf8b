#include "authprobe/user_password.h"

#include <string>

#include "quarn/radius/hiding.h"
#include "quarn/utils/bytes.h"
#include "quarn/utils/secret.h"

namespace quarn::authprobe {

using subscriber::radius::RadiusPacket;
using subscriber::radius::RadiusValue;

void reveal_user_password(RadiusPacket& reply, std::string_view secret) {
    const auto entry = reply.attribute_map.find(std::string_view("User-Password"));
    if (entry == reply.attribute_map.end() || entry->second.values.empty()) {
        return;
    }
    RadiusValue& value = entry->second.values.front();
    if (value.data.empty() || value.data.size() % 16 != 0) {
        return;
    }
    std::string password =
        subscriber::radius::decrypt_user_password(value.data, secret, reply.request_authenticator.value());
    value.data = utils::to_bytes(password);
    utils::wipe(password);
    value.string_cache.reset();
}

void wipe_user_password(RadiusPacket& packet) {
    const auto entry = packet.attribute_map.find(std::string_view("User-Password"));
    if (entry == packet.attribute_map.end()) {
        return;
    }
    for (RadiusValue& value : entry->second.values) {
        utils::wipe(value.data);
        if (value.string_cache) {
            utils::wipe(*value.string_cache);
            value.string_cache.reset();
        }
    }
}

}  // namespace quarn::authprobe
