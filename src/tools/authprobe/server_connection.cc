#include "authprobe/server_connection.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <memory>

#include "authprobe/client_error.h"

namespace quarn::authprobe {

namespace {

constexpr std::size_t receive_buffer_size = 4096;

sockaddr_in resolve(const std::string& host, std::uint16_t port) {
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_DGRAM;
    addrinfo* found = nullptr;
    const int status = getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found);
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> list(found, freeaddrinfo);
    if (status != 0 || list == nullptr) {
        throw ClientError("authprobe: cannot resolve \"" + host + "\": " + gai_strerror(status) + "\n");
    }
    sockaddr_in address{};
    std::memcpy(&address, list->ai_addr, sizeof address);
    return address;
}

const sockaddr* generic(const sockaddr_in& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

int open_socket() {
    const int descriptor = socket(AF_INET, SOCK_DGRAM, 0);
    if (descriptor < 0) {
        throw SystemCallError("authprobe: socket");
    }
    return descriptor;
}

void bind_to_source(int descriptor, const std::string& source_ip) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    if (inet_pton(AF_INET, source_ip.c_str(), &address.sin_addr) != 1) {
        throw ClientError("authprobe: invalid --source-ip \"" + source_ip + "\"\n");
    }
    if (bind(descriptor, generic(address), sizeof address) != 0) {
        throw SystemCallError("authprobe: bind (--source-ip must be a local address)");
    }
}

/// All zero when the kernel does not tell.
sockaddr_in local_address_of(int descriptor) {
    sockaddr_in address{};
    socklen_t length = sizeof address;
    if (getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        return {};
    }
    return address;
}

std::string dotted_quad(const sockaddr_in& address) {
    std::array<char, INET_ADDRSTRLEN> text = {"0.0.0.0"};
    inet_ntop(AF_INET, &address.sin_addr, text.data(), text.size());
    return text.data();
}

/// A time-out that poll's int cannot hold becomes the longest it can: about 24 days.
int poll_timeout(std::int32_t seconds) {
    return static_cast<int>(
        std::min<std::int64_t>(std::int64_t{seconds} * 1000, std::numeric_limits<int>::max()));
}

}  // namespace

ServerConnection::ServerConnection(const ClientSettings& settings)
    : ServerConnection(settings, resolve(settings.server, settings.server_port)) {}

ServerConnection::ServerConnection(const ClientSettings& settings, const sockaddr_in& server)
    : socket_(open_socket()) {
    if (!settings.source_ip.empty()) {
        bind_to_source(socket_.get(), settings.source_ip);
    }
    if (connect(socket_.get(), generic(server), sizeof server) != 0) {
        throw SystemCallError("authprobe: connect");
    }
    const sockaddr_in local = local_address_of(socket_.get());
    local_address_text_ = dotted_quad(local);
    local_port_ = ntohs(local.sin_port);
    server_address_text_ = dotted_quad(server);
    server_port_ = ntohs(server.sin_port);
}

void ServerConnection::send(utils::byte_span datagram) const {
    if (::send(socket_.get(), datagram.data(), datagram.size(), 0) < 0) {
        throw SystemCallError("authprobe: send");
    }
}

std::optional<utils::Bytes> ServerConnection::receive(std::int32_t timeout_seconds) const {
    pollfd readable{socket_.get(), POLLIN, 0};
    if (poll(&readable, 1, poll_timeout(timeout_seconds)) <= 0) {
        return std::nullopt;
    }
    utils::Bytes datagram(receive_buffer_size);
    // A datagram with a wrong checksum wakes poll and is then dropped: recv must not wait for the next one.
    const ssize_t received = recv(socket_.get(), datagram.data(), datagram.size(), MSG_DONTWAIT);
    if (received < 0) {
        return std::nullopt;
    }
    datagram.resize(static_cast<std::size_t>(received));
    return datagram;
}

}  // namespace quarn::authprobe
