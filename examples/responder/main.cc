// A RADIUS server for one's own machine, to try authprobe against: it listens on 127.0.0.1 only.
//
//     radius-responder DICTIONARY USERS [PORT]
//
// Without a port, or with port 0, the kernel chooses one; the first line of output tells which.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <openssl/provider.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>
#include <system_error>

#include "reply.h"
#include "users.h"

namespace {

using quarn::subscriber::radius::RadiusDictionary;

[[noreturn]] void fail_with_system_error(const char* call) {
    throw std::system_error(errno, std::generic_category(), call);
}

/// A UDP socket bound to the port of 127.0.0.1, which is set to the one chosen when it is 0.
int listen_on_loopback(std::uint16_t& port) {
    const int listener = socket(AF_INET, SOCK_DGRAM, 0);
    if (listener < 0) {
        fail_with_system_error("socket");
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    socklen_t length = sizeof address;
    if (bind(listener, reinterpret_cast<const sockaddr*>(&address), length) != 0) {
        fail_with_system_error("bind");
    }
    if (getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        fail_with_system_error("getsockname");
    }
    port = ntohs(address.sin_port);
    return listener;
}

[[noreturn]] void serve(int listener, const responder::Users& users,
                        const std::shared_ptr<const RadiusDictionary>& dictionary) {
    std::array<std::uint8_t, 4096> buffer{};
    for (;;) {
        sockaddr_in client{};
        socklen_t client_length = sizeof client;
        auto* const client_address = reinterpret_cast<sockaddr*>(&client);
        const ssize_t received =
            recvfrom(listener, buffer.data(), buffer.size(), 0, client_address, &client_length);
        if (received < 0) {
            fail_with_system_error("recvfrom");
        }
        try {
            const auto reply =
                responder::reply_to({buffer.data(), static_cast<std::size_t>(received)}, users, dictionary);
            if (!reply) {
                std::cout << "dropped a request that is not authentic" << std::endl;
                continue;
            }
            sendto(listener, reply->data(), reply->size(), 0, client_address, client_length);
        } catch (const std::exception& error) {
            std::cout << "dropped a request: " << error.what() << std::endl;
        }
    }
}

}  // namespace

int main(int argc, char* argv[]) {
    if (argc < 3 || argc > 4) {
        std::cerr << "Usage: radius-responder DICTIONARY USERS [PORT]\n";
        return EXIT_FAILURE;
    }
    try {
        // MS-CHAP is built on MD4 and DES. The handles are kept: the providers stay loaded to the end.
        static const OSSL_PROVIDER* const default_provider = OSSL_PROVIDER_load(nullptr, "default");
        static const OSSL_PROVIDER* const legacy_provider = OSSL_PROVIDER_load(nullptr, "legacy");
        if (default_provider == nullptr || legacy_provider == nullptr) {
            throw std::runtime_error("OpenSSL's legacy provider is not available");
        }
        const auto dictionary = std::make_shared<RadiusDictionary>();
        dictionary->load(argv[1]);
        const responder::Users users = responder::read_users(argv[2]);
        responder::check_replies(users, dictionary);
        auto port = static_cast<std::uint16_t>(argc == 4 ? std::stoi(argv[3]) : 0);
        const int listener = listen_on_loopback(port);
        std::cout << "listening on 127.0.0.1:" << port << std::endl;
        serve(listener, users, dictionary);
    } catch (const std::exception& error) {
        std::cerr << "radius-responder: " << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
