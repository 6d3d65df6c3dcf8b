// Judging what came back.
#pragma once

#include "authprobe/access_request.h"
#include "authprobe/options.h"
#include "authprobe/server_connection.h"
#include "quarn/utils/bytes.h"

namespace quarn::authprobe {

/// Tells on standard error that no reply came. Returns the exit status.
int report_silence(const ServerConnection& connection);

/// Decodes the reply, lists it on standard output, validates it against the request and the secret, and tells
/// the verdict. Returns the exit status: `EXIT_SUCCESS` only for an authentic Access-Accept.
int judge_reply(utils::byte_span datagram, const AccessRequest& request, const ServerConnection& connection,
                const ClientSettings& settings);

}  // namespace quarn::authprobe
