// A second opinion on replies, made without the library.
#pragma once

#include <string_view>

#include "quarn/utils/bytes.h"

namespace quarn::test {

/// Whether a reply is well-formed, answers the request by its Identifier and its code, and is signed for it:
/// by a Response Authenticator (RFC 2865, section 3), and by at most one Message-Authenticator, which an
/// EAP-Message asks for (RFC 3579, sections 3.1 and 3.2). Every byte is covered, those after the packet's
/// Length included.
bool is_trustworthy_reply(utils::byte_span reply, utils::byte_span request, std::string_view secret);

}  // namespace quarn::test
