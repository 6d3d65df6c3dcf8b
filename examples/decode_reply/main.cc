// Decodes a reply given in hexadecimal, lists its attributes and tells whether it is authentic: whether it
// answers the request with this Authenticator, and who sent it knows the secret.
//
//     decode_reply REPLY REQUEST_AUTHENTICATOR SECRET [DICTIONARY]
//
// Ends with status 0 only for a reply that is authentic.
#include <quarn/radius/hiding.h>
#include <quarn/radius/packet.h>
#include <quarn/radius/packet_code.h>
#include <quarn/radius/pkt_load.h>
#include <quarn/utils/bytes.h>
#include <quarn/utils/text.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

using namespace quarn::subscriber::radius;
using quarn::utils::hex_to_bytes;
using quarn::utils::to_bytes;

namespace {

Authenticator authenticator_from_hex(const std::string& digits) {
    const Bytes bytes = to_bytes(hex_to_bytes(digits));
    Authenticator authenticator{};
    if (bytes.size() != authenticator.size()) {
        throw std::invalid_argument("an Authenticator has 16 bytes: " + digits);
    }
    std::copy(bytes.begin(), bytes.end(), authenticator.begin());
    return authenticator;
}

/// The name of an enumerated value, or the value in the form of its type; bytes that have none in
/// hexadecimal.
std::string readable(const RadiusDictionary& dictionary, const std::string& name, const RadiusValue& value) {
    const std::string& text = value.as_string();
    if (value.value_type == ValueType::Octets || text.empty()) {
        return value.as_hex();
    }
    if (value.value_type == ValueType::Integer) {
        return dictionary.enum_name(name, static_cast<std::uint32_t>(std::stoul(text))).value_or(text);
    }
    return text;
}

/// Reveals what the server hid with the request's Authenticator, such as a Tunnel-Password.
void reveal_hidden_values(RadiusPacket& reply, const std::string& secret) {
    for (auto& [key, attribute] : reply.attribute_map) {
        for (RadiusValue& value : attribute.values) {
            value.data = decrypt_leaf(std::move(value.data), attribute.metadata->encrypt, secret,
                                      reply.request_authenticator.value());
        }
    }
}

}  // namespace

int main(int argc, char* argv[]) {
    if (argc < 4 || argc > 5) {
        std::cerr << "usage: decode_reply REPLY REQUEST_AUTHENTICATOR SECRET [DICTIONARY]\n";
        return EXIT_FAILURE;
    }
    try {
        const auto dictionary = std::make_shared<RadiusDictionary>();
        dictionary->load(argc == 5 ? argv[4] : "/opt/quarn/share/quarn/radius/dictionary.yaml");
        const Bytes datagram = to_bytes(hex_to_bytes(argv[1]));
        const std::string secret = argv[3];

        RadiusPacket reply(dictionary);
        reply.request_authenticator = authenticator_from_hex(argv[2]);
        // No secret here: it would reveal hidden values with the reply's Authenticator, and a reply's are
        // hidden with the request's.
        for (const ParseIssue& issue : pkt_load(reply, datagram.data(), datagram.size(), "")) {
            std::cerr << "decode_reply: " << issue.context << ": " << issue.message << '\n';
        }
        if (!is_response_code(reply.code)) {
            throw std::invalid_argument("this is no reply: code " + std::to_string(reply.code));
        }

        reveal_hidden_values(reply, secret);

        std::cout << "code " << unsigned{reply.code} << ", identifier " << unsigned{reply.identifier} << '\n';
        for (const RadiusAttribute* const attribute : reply.attributes()) {
            const std::string& name = attribute->display_name();
            for (const RadiusValue& value : attribute->values) {
                std::cout << "    " << name << " = " << readable(*dictionary, name, value) << '\n';
            }
        }

        const RadiusPacketValRes result = reply.validate(secret);
        if (result.error != ValidationError::None) {
            std::cout << "not authentic: " << result.message << '\n';
            return EXIT_FAILURE;
        }
        std::cout << "authentic\n";
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::cerr << "decode_reply: " << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
