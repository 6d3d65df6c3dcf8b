// Building the one Access-Request of a run.
#pragma once

#include <memory>
#include <string>

#include "authprobe/probe.h"
#include "quarn/client/request.h"
#include "quarn/radius/dictionary.h"
#include "quarn/radius/packet.h"

namespace quarn::authprobe {

struct AccessRequest {
    subscriber::radius::RadiusPacket packet;  ///< as built: the password in clear
    client::EncodedRequest encoded;           ///< as sent
};

/// Loads the dictionary that the settings name. Throws `ClientError`.
std::shared_ptr<const subscriber::radius::RadiusDictionary> load_dictionary(const ClientSettings& settings);

/// Builds and encodes the request. The order in which the attributes are added is their order on the wire.
/// Throws `ClientError` when a part of it cannot be built: a name that the dictionary lacks, a malformed
/// value, an unknown Framed-Protocol, no random bytes.
AccessRequest build_access_request(const Probe& probe, const std::string& local_address_text,
                                   std::shared_ptr<const subscriber::radius::RadiusDictionary> dictionary);

}  // namespace quarn::authprobe
