// What `send` tells people.
//
//     Sent Access-Request Id 7 to radius.example.net (udp 192.0.2.1:1812), 76 octets
//          User-Name = "bob"
//          User-Password = (hidden)
//     Received Access-Accept Id 7 from 192.0.2.1:1812 after 1.27 ms, 38 octets
//          Reply-Message = "Welcome"
//     Verified: Response Authenticator, Message-Authenticator
//     accepted: The request succeeded.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "quarn/radius/dictionary.h"
#include "quarn_radius/send/outcome.h"

namespace quarn::quarn_radius {

/// The text of one exchange, line ends included. The secret reveals what the request hides, when the style
/// wants that.
std::string outcome_text(const Outcome& outcome, const ReportStyle& style, std::string_view secret,
                         const std::shared_ptr<const subscriber::radius::RadiusDictionary>& dictionary);

/// The bytes, 16 a line: offset, hexadecimal digits, printable characters.
std::string bytes_text(utils::byte_span bytes);

}  // namespace quarn::quarn_radius
