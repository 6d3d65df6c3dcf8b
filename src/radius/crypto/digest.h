// MD5 and HMAC-MD5 over lists of byte spans, for the codec's formulas. Internal to the library.
//
// OpenSSL's objects are kept per thread and freed when the thread ends: the MD5 context and algorithm, the
// HMAC algorithm, and the keyed HMAC contexts of the secrets used last. A thread that uses at most
// `max_keyed_contexts` secrets makes each object once.
//
// The digests report no failure: where OpenSSL cannot compute one, the result is sixteen zero bytes.
// `RadiusPacket::validate` never accepts an all-zero digest.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <string_view>

#include "quarn/radius/authenticator.h"

namespace quarn::subscriber::radius {

/// How many secrets a thread keeps a keyed HMAC context for. A context takes about a kilobyte. An HMAC for
/// any other secret keys a new context first, which takes four times as long.
inline constexpr std::size_t max_keyed_contexts = 64;

/// MD5 (RFC 1321) of the concatenation of the spans.
Authenticator md5_spans(std::initializer_list<byte_span> spans);

/// HMAC-MD5 (RFC 2104) of the concatenation of the spans, keyed with the whole secret, which may be empty.
Authenticator hmac_md5_spans(std::string_view secret, std::initializer_list<byte_span> spans);

}  // namespace quarn::subscriber::radius
