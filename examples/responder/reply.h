// Answering one request.
#pragma once

#include <memory>
#include <optional>

#include "quarn/radius/packet.h"
#include "quarn/utils/bytes.h"
#include "users.h"

namespace responder {

/// Throws `std::exception` for a reply attribute of any user that the dictionary does not allow.
void check_replies(const Users& users,
                   const std::shared_ptr<const quarn::subscriber::radius::RadiusDictionary>& dictionary);

/// The reply to a datagram: Access-Accept, Access-Reject or Access-Challenge, its Message-Authenticator
/// first. Nothing for a datagram that is no Access-Request or whose Message-Authenticator is wrong (RFC 3579,
/// section 3.2: such a request is dropped). Throws `std::exception` for a datagram that cannot be decoded.
std::optional<quarn::utils::Bytes> reply_to(
    quarn::utils::byte_span datagram, const Users& users,
    const std::shared_ptr<const quarn::subscriber::radius::RadiusDictionary>& dictionary);

}  // namespace responder
