#include "testing/wire.h"

#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <algorithm>
#include <stdexcept>

#include "quarn/utils/text.h"

namespace quarn::test {

using utils::byte_span;
using utils::Bytes;

namespace {

constexpr std::size_t header_size = 20;
constexpr std::size_t authenticator_offset = 4;
constexpr std::uint8_t message_authenticator_type = 80;

void append(Bytes& bytes, byte_span more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

}  // namespace

Digest md5(byte_span data) {
    Digest digest{};
    if (EVP_Digest(data.data(), data.size(), digest.data(), nullptr, EVP_md5(), nullptr) != 1) {
        throw std::runtime_error("cannot compute MD5");
    }
    return digest;
}

Digest hmac_md5(std::string_view key, byte_span data) {
    Digest digest{};
    unsigned length = 0;
    if (HMAC(EVP_md5(), key.data(), static_cast<int>(key.size()), data.data(), data.size(), digest.data(),
             &length) == nullptr) {
        throw std::runtime_error("cannot compute HMAC-MD5");
    }
    return digest;
}

std::ostream& operator<<(std::ostream& stream, const WireAttribute& attribute) {
    return stream << int{attribute.type} << ':'
                  << utils::bytes_to_hex(attribute.value.data(), attribute.value.size());
}

std::vector<WireAttribute> attributes_of(byte_span packet) {
    std::vector<WireAttribute> attributes;
    byte_span rest = packet.subspan(std::min(header_size, packet.size()));
    while (!rest.empty()) {
        if (rest.size() < 2 || rest[1] < 2 || rest[1] > rest.size()) {
            throw std::runtime_error("malformed attribute");
        }
        const byte_span value = rest.subspan(2, rest[1] - std::size_t{2});
        attributes.push_back({rest[0], Bytes(value.begin(), value.end())});
        rest = rest.subspan(rest[1]);
    }
    return attributes;
}

std::vector<int> types_of(const std::vector<WireAttribute>& attributes) {
    std::vector<int> types;
    for (const WireAttribute& attribute : attributes) {
        types.push_back(attribute.type);
    }
    return types;
}

Bytes value_of(byte_span packet, std::uint8_t type) {
    std::optional<Bytes> found;
    for (WireAttribute& attribute : attributes_of(packet)) {
        if (attribute.type == type) {
            if (found) {
                throw std::runtime_error("more than one attribute of type " + std::to_string(type));
            }
            found = std::move(attribute.value);
        }
    }
    if (!found) {
        throw std::runtime_error("no attribute of type " + std::to_string(type));
    }
    return *std::move(found);
}

Digest authenticator_of(byte_span packet) {
    const byte_span field = packet.subspan(authenticator_offset, sizeof(Digest));
    Digest authenticator{};
    std::copy(field.begin(), field.end(), authenticator.begin());
    return authenticator;
}

Bytes attribute(std::uint8_t type, byte_span value) {
    Bytes bytes = {type, static_cast<std::uint8_t>(2 + value.size())};
    append(bytes, value);
    return bytes;
}

Bytes attribute(std::uint8_t type, std::string_view value) {
    return attribute(type, utils::as_bytes(value));
}

Bytes joined(std::initializer_list<Bytes> parts) {
    Bytes bytes;
    for (const Bytes& part : parts) {
        append(bytes, part);
    }
    return bytes;
}

Bytes hidden_password(std::string_view password, std::string_view secret, const Digest& authenticator) {
    Bytes bytes = utils::to_bytes(password);
    bytes.resize(std::max<std::size_t>(1, (bytes.size() + 15) / 16) * 16);
    byte_span previous = authenticator;
    for (std::size_t start = 0; start < bytes.size(); start += 16) {
        Bytes keyed = utils::to_bytes(secret);
        append(keyed, previous);
        const Digest stream = md5(keyed);
        for (std::size_t i = 0; i < stream.size(); ++i) {
            bytes[start + i] ^= stream[i];
        }
        previous = byte_span(bytes).subspan(start, 16);
    }
    return bytes;
}

bool has_valid_message_authenticator(Bytes request, std::string_view secret) {
    for (std::size_t start = header_size; start + 1 < request.size(); start += request[start + 1]) {
        if (request[start] == message_authenticator_type) {
            if (request[start + 1] != 2 + sizeof(Digest) || start + 2 + sizeof(Digest) > request.size()) {
                return false;
            }
            const auto field = request.begin() + static_cast<std::ptrdiff_t>(start) + 2;
            Digest received{};
            std::copy_n(field, received.size(), received.begin());
            std::fill_n(field, received.size(), std::uint8_t{0});
            return received == hmac_md5(secret, request);
        }
    }
    return false;
}

Bytes reply_to(byte_span request, const Reply& reply) {
    Bytes packet = {reply.code, static_cast<std::uint8_t>(request[1] + reply.identifier_offset), 0, 0};
    append(packet, reply.authenticator.value_or(authenticator_of(request)));
    if (reply.message_authenticator) {
        append(packet, attribute(message_authenticator_type, Digest{}));
    }
    append(packet, reply.attributes);
    packet[2] = static_cast<std::uint8_t>(packet.size() >> 8);
    packet[3] = static_cast<std::uint8_t>(packet.size());
    append(packet, reply.trailer);

    if (reply.message_authenticator) {
        const Digest digest = hmac_md5(reply.secret, packet);
        const auto field = packet.begin() + header_size + 2;
        std::copy(digest.begin(), digest.end(), field);
        if (reply.spoil_message_authenticator) {
            *field ^= 1;
        }
    }
    Bytes keyed = packet;
    append(keyed, utils::as_bytes(reply.secret));
    const Digest response_authenticator = md5(keyed);
    std::copy(response_authenticator.begin(), response_authenticator.end(),
              packet.begin() + authenticator_offset);
    return packet;
}

}  // namespace quarn::test
