// Sending the request and waiting for the reply.
#pragma once

#include <optional>

#include "authprobe/access_request.h"
#include "authprobe/options.h"
#include "authprobe/server_connection.h"
#include "quarn/utils/bytes.h"

namespace quarn::authprobe {

/// Announces the request on standard output and lists its attributes.
void announce_request(const AccessRequest& request, const ServerConnection& connection);

/// Sends the request, the same datagram each time, until a reply comes or the attempts are used up. A reply
/// has at least 20 bytes and the request's Identifier; anything else, or nothing within the time-out, fails
/// the attempt and is told on standard error. Throws `SystemCallError` when sending fails.
std::optional<utils::Bytes> exchange(const AccessRequest& request, ServerConnection& connection,
                                     const ClientSettings& settings);

}  // namespace quarn::authprobe
