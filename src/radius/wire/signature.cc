#include "quarn/radius/signature.h"

#include <algorithm>
#include <optional>

#include "crypto/digest.h"
#include "quarn/radius/attribute_reader.h"
#include "quarn/radius/constant_time.h"
#include "quarn/radius/packet_code.h"
#include "quarn/radius/wire_format.h"

namespace quarn::subscriber::radius {

namespace {

/// Whether the received bytes are the digest computed for them. Sixteen zero bytes stand for a digest that
/// could not be computed: they match nothing, not even themselves.
bool digest_fits(const Authenticator& computed, byte_span received) {
    return computed != ZERO16 && equal_in_constant_time(computed, received);
}

/// The Message-Authenticators of a packet.
struct MessageAuthenticators {
    std::size_t count = 0;
    WireAttribute last{};
};

MessageAuthenticators message_authenticators_in(AttributeReader& attributes) {
    MessageAuthenticators found;
    while (const auto attribute = attributes.next()) {
        if (attribute->type == message_authenticator_type) {
            ++found.count;
            found.last = *attribute;
        }
    }
    return found;
}

/// Checks a packet whose code fits. `covered` stands in the Authenticator field for both digests; none for a
/// request whose Authenticator is random.
SignatureStatus verify(AttributeReader& attributes, const std::optional<Authenticator>& covered,
                       std::string_view secret) {
    const byte_span packet = attributes.packet();
    const MessageAuthenticators found = message_authenticators_in(attributes);
    if (attributes.fault()) {
        return SignatureStatus::Malformed;
    }
    const bool is_signed = found.count > 0 && packet[0] != ACCOUNTING_REQUEST;
    if (is_signed) {
        if (found.count > 1 || found.last.value.size() != ZERO16.size()) {
            return SignatureStatus::MessageAuthenticatorMalformed;
        }
        if (!message_authenticator_fits(packet, found.last.offset + attribute_header_size,
                                        covered ? *covered : authenticator_in(packet), secret)) {
            return SignatureStatus::MessageAuthenticatorWrong;
        }
    }
    if (!covered) {
        return is_signed ? SignatureStatus::Valid : SignatureStatus::Unsigned;
    }
    return response_authenticator_fits(packet, *covered, secret) ? SignatureStatus::Valid
                                                                 : SignatureStatus::AuthenticatorWrong;
}

}  // namespace

Authenticator authenticator_in(byte_span packet) {
    Authenticator authenticator{};
    const byte_span field = packet.subspan(authenticator_offset, authenticator_size);
    std::copy(field.begin(), field.end(), authenticator.begin());
    return authenticator;
}

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

SignatureStatus verify_reply(byte_span datagram, const Authenticator& request_authenticator,
                             std::string_view secret) {
    AttributeReader attributes(datagram);
    if (attributes.fault()) {
        return SignatureStatus::Malformed;
    }
    return is_response_code(datagram[0]) ? verify(attributes, request_authenticator, secret)
                                         : SignatureStatus::UnexpectedCode;
}

SignatureStatus verify_request(byte_span datagram, std::string_view secret) {
    AttributeReader attributes(datagram);
    if (attributes.fault()) {
        return SignatureStatus::Malformed;
    }
    if (!is_supported_code(datagram[0]) || is_response_code(datagram[0])) {
        return SignatureStatus::UnexpectedCode;
    }
    return verify(attributes, is_zero_authenticator_code(datagram[0]) ? std::optional(ZERO16) : std::nullopt,
                  secret);
}

}  // namespace quarn::subscriber::radius
