#include "credential.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "quarn/radius/auth.h"
#include "quarn/radius/constant_time.h"

namespace responder {

namespace {

using namespace quarn::subscriber::radius;
using quarn::utils::as_bytes;
using quarn::utils::as_text;

/// The value of an attribute that occurs once; an empty view when it does not.
byte_span single_value(const RadiusPacket& packet, std::string_view name) {
    const RadiusAttribute* const attribute = packet.find_attribute(name);
    return attribute != nullptr && attribute->values.size() == 1 ? byte_span(attribute->values.front().data)
                                                                 : byte_span();
}

/// `size` bytes from `offset` on as an array; the caller has checked that they are there.
template <std::size_t size>
std::array<std::uint8_t, size> array_at(byte_span bytes, std::size_t offset = 0) {
    std::array<std::uint8_t, size> array{};
    std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(offset), size, array.begin());
    return array;
}

bool equal(byte_span received, std::string_view expected) {
    return equal_in_constant_time(received, as_bytes(expected));
}

bool chap_matches(byte_span received, const RadiusPacket& request, const std::string& password) {
    // Without a CHAP-Challenge the Request Authenticator is the challenge (RFC 2865, section 5.3).
    const byte_span sent = single_value(request, "CHAP-Challenge");
    const byte_span challenge = sent.empty() ? byte_span(request.authenticator) : sent;
    return equal(received, auth::chap_password(received[0], password, as_text(challenge)));
}

bool mschap_matches(byte_span received, const RadiusPacket& request, const std::string& password) {
    const byte_span challenge = single_value(request, "MS-CHAP-Challenge");
    return challenge.size() == 8 &&
           equal(received, auth::mschap_response(received[0], password, array_at<8>(challenge)));
}

bool mschapv2_matches(byte_span received, const RadiusPacket& request, const std::string& user_name,
                      const std::string& password) {
    constexpr std::size_t peer_challenge_offset = 2;  // RFC 2548, section 2.3.2
    const byte_span challenge = single_value(request, "MS-CHAP-Challenge");
    return challenge.size() == 16 && received.size() >= peer_challenge_offset + 16 &&
           equal(received, auth::mschapv2_response(received[0], user_name, password, array_at<16>(challenge),
                                                   array_at<16>(received, peer_challenge_offset)));
}

}  // namespace

bool credential_matches(const RadiusPacket& request, const std::string& user_name,
                        const std::string& password) {
    if (request.find_attribute("User-Password") != nullptr) {
        return equal(single_value(request, "User-Password"), password);
    }
    if (const byte_span received = single_value(request, "CHAP-Password"); !received.empty()) {
        return chap_matches(received, request, password);
    }
    if (const byte_span received = single_value(request, "MS-CHAP-Response"); !received.empty()) {
        return mschap_matches(received, request, password);
    }
    if (const byte_span received = single_value(request, "MS-CHAP2-Response"); !received.empty()) {
        return mschapv2_matches(received, request, user_name, password);
    }
    return false;
}

}  // namespace responder
