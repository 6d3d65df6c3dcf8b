#include "quarn/radius/signature.h"

#include "crypto/digest.h"
#include "quarn/radius/constant_time.h"
#include "quarn/radius/wire_format.h"

namespace quarn::subscriber::radius {

namespace {

/// Whether the received bytes are the digest computed for them. Sixteen zero bytes stand for a digest that
/// could not be computed: they match nothing, not even themselves.
bool digest_fits(const Authenticator& computed, byte_span received) {
    return computed != ZERO16 && equal_in_constant_time(computed, received);
}

}  // namespace

bool response_authenticator_fits(byte_span reply, const Authenticator& request_authenticator,
                                 std::string_view secret) {
    if (reply.size() < header_size) {
        return false;
    }
    return digest_fits(md5_spans({reply.first(authenticator_offset), request_authenticator,
                                  reply.subspan(header_size), utils::as_bytes(secret)}),
                       reply.subspan(authenticator_offset, authenticator_size));
}

bool message_authenticator_fits(byte_span packet, std::size_t digest_offset,
                                const Authenticator& header_authenticator, std::string_view secret) {
    if (digest_offset < header_size || digest_offset > packet.size() ||
        packet.size() - digest_offset < ZERO16.size()) {
        return false;
    }
    return digest_fits(hmac_md5_spans(secret, {packet.first(authenticator_offset), header_authenticator,
                                               packet.subspan(header_size, digest_offset - header_size),
                                               ZERO16, packet.subspan(digest_offset + ZERO16.size())}),
                       packet.subspan(digest_offset, ZERO16.size()));
}

}  // namespace quarn::subscriber::radius
