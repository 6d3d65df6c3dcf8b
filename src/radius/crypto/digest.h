// MD5 and HMAC-MD5 over lists of byte spans, for the codec's formulas. Internal to the library.
//
// OpenSSL's objects are kept per thread and freed when the thread ends: the MD5 context and algorithm, the
// HMAC algorithm, and one keyed HMAC context for each secret ever used. A warm thread makes none of these
// anew. The digests report no failure: where OpenSSL cannot compute one, the result is sixteen zero bytes,
// which `RadiusPacket::validate` accepts from nobody.
#pragma once

#include <initializer_list>
#include <string_view>

#include "quarn/radius/authenticator.h"

namespace quarn::subscriber::radius {

/// MD5 (RFC 1321) of the concatenation of the spans.
Authenticator md5_spans(std::initializer_list<byte_span> spans);

/// HMAC-MD5 (RFC 2104) of the concatenation of the spans, keyed with the whole secret, which may be empty.
Authenticator hmac_md5_spans(std::string_view secret, std::initializer_list<byte_span> spans);

}  // namespace quarn::subscriber::radius
