#include "testing/trusted_reply.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <vector>

#include "testing/wire.h"

namespace quarn::test {

using utils::byte_span;
using utils::Bytes;

namespace {

constexpr std::size_t header_size = 20;

bool can_answer(int request_code, int reply_code) {
    std::vector<int> codes = {2, 3, 5, 11, 41, 42, 44, 45};
    switch (request_code) {
        case 1:
            codes = {2, 3, 11};
            break;
        case 4:
            codes = {5};
            break;
        case 12:
            codes = {2, 5};
            break;
        case 40:
            codes = {41, 42};
            break;
        case 43:
            codes = {44, 45};
            break;
        default:
            break;
    }
    return std::find(codes.begin(), codes.end(), reply_code) != codes.end();
}

/// What an attribute of a type is, and where its value begins.
struct Found {
    std::uint8_t type;
    std::size_t value_at;
    std::size_t value_size;
};

/// The attributes of a packet; nothing when they do not fill it.
std::optional<std::vector<Found>> attributes_in(byte_span packet) {
    std::vector<Found> found;
    std::size_t at = header_size;
    while (at < packet.size()) {
        if (packet.size() - at < 2 || packet[at + 1] < 2 || packet[at + 1] > packet.size() - at) {
            return std::nullopt;
        }
        found.push_back({packet[at], at + 2, packet[at + 1] - std::size_t{2}});
        at += packet[at + 1];
    }
    return found;
}

/// The reply as it was when it was signed: the request's Authenticator in its header.
Bytes before_signing(byte_span reply, byte_span request) {
    Bytes bytes(reply.begin(), reply.end());
    std::copy_n(request.begin() + 4, 16, bytes.begin() + 4);
    return bytes;
}

bool are_at(const Digest& digest, byte_span bytes, std::size_t at) {
    return std::equal(digest.begin(), digest.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
}

}  // namespace

bool is_trustworthy_reply(byte_span reply, byte_span request, std::string_view secret) {
    if (secret.empty() || reply.size() < header_size) {
        return false;
    }
    const std::size_t length = reply[2] * std::size_t{256} + reply[3];
    if (length < header_size || length > reply.size() || reply[1] != request[1] ||
        !can_answer(request[0], reply[0])) {
        return false;
    }
    const auto attributes = attributes_in(reply.first(length));
    if (!attributes) {
        return false;
    }
    std::vector<Found> signatures;
    bool has_eap_message = false;
    for (const Found& attribute : *attributes) {
        has_eap_message = has_eap_message || attribute.type == 79;
        if (attribute.type == 80) {
            signatures.push_back(attribute);
        }
    }
    if (signatures.size() > 1 || (has_eap_message && signatures.empty())) {
        return false;
    }
    Bytes bytes = before_signing(reply, request);
    if (!are_at(md5(joined({bytes, utils::to_bytes(secret)})), reply, 4)) {
        return false;
    }
    if (signatures.empty()) {
        return true;
    }
    const Found& signature = signatures.front();
    if (signature.value_size != 16) {
        return false;
    }
    std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(signature.value_at), 16, std::uint8_t{0});
    return are_at(hmac_md5(secret, bytes), reply, signature.value_at);
}

}  // namespace quarn::test
