#include "testing/tcp_peer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <system_error>
#include <utility>

namespace quarn::test {

namespace {

constexpr auto patience = std::chrono::seconds(10);

void require(bool success, const char* what) {
    if (!success) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

Descriptor listen_on_loopback(TcpPeer::Family family, std::uint16_t& port) {
    const bool is_ipv6 = family == TcpPeer::Family::IPv6;
    Descriptor opened(socket(is_ipv6 ? AF_INET6 : AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    require(opened.is_open(), "cannot make a socket");
    sockaddr_in ipv4{};
    ipv4.sin_family = AF_INET;
    ipv4.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    sockaddr_in6 ipv6{};
    ipv6.sin6_family = AF_INET6;
    ipv6.sin6_addr = in6addr_loopback;
    auto* const address = is_ipv6 ? reinterpret_cast<sockaddr*>(&ipv6) : reinterpret_cast<sockaddr*>(&ipv4);
    socklen_t size = is_ipv6 ? sizeof ipv6 : sizeof ipv4;
    require(bind(opened.get(), address, size) == 0, "cannot bind a socket");
    require(listen(opened.get(), 16) == 0, "cannot listen");
    require(getsockname(opened.get(), address, &size) == 0, "cannot learn a socket's port");
    port = ntohs(is_ipv6 ? ipv6.sin6_port : ipv4.sin_port);
    return opened;
}

/// Reads up to `size` bytes; fewer when the connection ends or time is up.
utils::Bytes read_up_to(int connection, std::size_t size, std::chrono::steady_clock::time_point deadline) {
    utils::Bytes bytes;
    while (bytes.size() < size) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        pollfd readable{connection, POLLIN, 0};
        if (left.count() <= 0 || poll(&readable, 1, static_cast<int>(left.count())) <= 0) {
            break;
        }
        std::array<std::uint8_t, 4096> buffer{};
        const ssize_t received =
            recv(connection, buffer.data(), std::min(buffer.size(), size - bytes.size()), 0);
        if (received <= 0) {
            break;
        }
        bytes.insert(bytes.end(), buffer.begin(), buffer.begin() + received);
    }
    return bytes;
}

}  // namespace

TcpPeer::TcpPeer(Serve serve, Family family)
    : serve_(std::move(serve)),
      family_(family),
      socket_(listen_on_loopback(family, port_)),
      stop_(eventfd(0, EFD_CLOEXEC)),
      thread_([this] { accept_connections(); }) {}

TcpPeer::~TcpPeer() {
    eventfd_write(stop_.get(), 1);
    thread_.join();
}

std::string TcpPeer::address() const {
    return (family_ == Family::IPv4 ? "127.0.0.1:" : "[::1]:") + std::to_string(port_);
}

void TcpPeer::accept_connections() {
    while (true) {
        std::array<pollfd, 2> sources = {pollfd{stop_.get(), POLLIN, 0}, pollfd{socket_.get(), POLLIN, 0}};
        poll(sources.data(), sources.size(), -1);
        if (sources[0].revents != 0) {
            return;
        }
        const Descriptor connection(accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (connection.is_open()) {
            ++connections_;
            serve_(connection.get());
        }
    }
}

utils::Bytes read_packet(int connection) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    utils::Bytes packet = read_up_to(connection, 4, deadline);
    if (packet.size() < 4) {
        return {};
    }
    const auto length = static_cast<std::size_t>(packet[2] << 8 | packet[3]);
    const utils::Bytes rest = read_up_to(connection, length - std::min<std::size_t>(length, 4), deadline);
    packet.insert(packet.end(), rest.begin(), rest.end());
    return packet.size() == length ? packet : utils::Bytes();
}

bool write_all(int connection, utils::byte_span bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0) {
            return false;
        }
        bytes = bytes.subspan(static_cast<std::size_t>(sent));
    }
    return true;
}

void wait_for_end(int connection) {
    read_up_to(connection, SIZE_MAX, std::chrono::steady_clock::now() + patience);
}

std::uint16_t free_tcp_port() {
    std::uint16_t port = 0;
    listen_on_loopback(TcpPeer::Family::IPv4, port);
    return port;
}

}  // namespace quarn::test
