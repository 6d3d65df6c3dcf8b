// MD5 and HMAC-MD5 over lists of byte spans, and random bytes: the codec's cryptographic services. Internal
// to the library, but for `random_authenticator`.
//
// OpenSSL's objects are kept per thread and freed when the thread ends: the MD5 context and algorithm, the
// HMAC algorithm, and one keyed HMAC context for each secret ever used. A warm thread creates none. The
// digests report no failure: where OpenSSL cannot compute one, the result is sixteen zero bytes, which no
// check accepts.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string_view>

#include "quarn/radius/bytes.h"
#include "quarn/radius/random.h"

namespace quarn::subscriber::radius {

/// MD5 (RFC 1321) of the concatenation of the spans.
Authenticator md5_spans(std::initializer_list<byte_span> spans);

/// HMAC-MD5 (RFC 2104) of the concatenation of the spans, keyed with the whole secret, which may be empty.
Authenticator hmac_md5_spans(std::string_view secret, std::initializer_list<byte_span> spans);

/// Whether two runs of bytes are equal, in a time that depends on their length alone.
bool equal_in_constant_time(byte_span left, byte_span right);

}  // namespace quarn::subscriber::radius
