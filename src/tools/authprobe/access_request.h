// Building the one Access-Request of a run.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "authprobe/client_settings.h"
#include "quarn/radius/dictionary.h"
#include "quarn/radius/packet.h"
#include "quarn/utils/bytes.h"

namespace quarn::authprobe {

struct AccessRequest {
    subscriber::radius::RadiusPacket packet;  ///< as built: the password in clear
    utils::Bytes datagram;                    ///< as sent
};

/// Loads the dictionary that the settings name. Throws `ClientError`.
std::shared_ptr<const subscriber::radius::RadiusDictionary> load_dictionary(const ClientSettings& settings);

/// Builds and encodes the request. The order in which the attributes are added is their order on the wire.
/// Throws `ClientError` when a part of it cannot be built: a name that the dictionary lacks, a malformed
/// value, an unknown Framed-Protocol, no random bytes.
AccessRequest build_access_request(const ClientSettings& settings, std::optional<std::uint32_t> nas_port,
                                   const std::string& local_address_text,
                                   std::shared_ptr<const subscriber::radius::RadiusDictionary> dictionary);

}  // namespace quarn::authprobe
