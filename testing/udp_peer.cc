#include "testing/udp_peer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

namespace quarn::test {

namespace {

void require(bool success, const char* what) {
    if (!success) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

sockaddr_in loopback(std::uint16_t port, in_addr_t host = INADDR_LOOPBACK) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(host);
    return address;
}

const sockaddr* generic(const sockaddr_in& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

Descriptor open_socket(const sockaddr_in& address = loopback(0)) {
    Descriptor opened(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    require(opened.is_open(), "cannot make a socket");
    require(bind(opened.get(), generic(address), sizeof address) == 0, "cannot bind a socket");
    return opened;
}

std::uint16_t port_of(const Descriptor& opened) {
    sockaddr_in address{};
    socklen_t length = sizeof address;
    require(getsockname(opened.get(), reinterpret_cast<sockaddr*>(&address), &length) == 0,
            "cannot learn a socket's port");
    return ntohs(address.sin_port);
}

void send_to(const Descriptor& from, const sockaddr_in& address, const utils::Bytes& datagram) {
    require(sendto(from.get(), datagram.data(), datagram.size(), 0, generic(address), sizeof address) >= 0,
            "cannot send a datagram");
}

}  // namespace

UdpPeer::UdpPeer(std::vector<Answer> script)
    : script_(std::move(script)),
      socket_(open_socket()),
      stop_(eventfd(0, EFD_CLOEXEC)),
      port_(port_of(socket_)),
      thread_([this] { serve(); }) {}

UdpPeer::~UdpPeer() {
    problem_ = nullptr;
    if (thread_.joinable()) {
        eventfd_write(stop_.get(), 1);
        thread_.join();
    }
}

std::string UdpPeer::address() const {
    return "127.0.0.1:" + std::to_string(port_);
}

std::vector<Datagram> UdpPeer::finish() {
    eventfd_write(stop_.get(), 1);
    thread_.join();
    if (problem_) {
        std::rethrow_exception(problem_);
    }
    return std::move(requests_);
}

void UdpPeer::serve() {
    try {
        std::array<pollfd, 2> sources = {pollfd{stop_.get(), POLLIN, 0}, pollfd{socket_.get(), POLLIN, 0}};
        while (sources[0].revents == 0) {
            poll(sources.data(), sources.size(), -1);
            while (serve_one()) {  // also after a stop: what has arrived counts
            }
        }
    } catch (...) {
        problem_ = std::current_exception();
    }
}

bool UdpPeer::serve_one() {
    utils::Bytes bytes(65536);
    sockaddr_in sender{};
    socklen_t length = sizeof sender;
    const ssize_t received = recvfrom(socket_.get(), bytes.data(), bytes.size(), MSG_DONTWAIT,
                                      reinterpret_cast<sockaddr*>(&sender), &length);
    if (received < 0) {
        return false;
    }
    bytes.resize(static_cast<std::size_t>(received));
    std::array<char, INET_ADDRSTRLEN> address{};
    inet_ntop(AF_INET, &sender.sin_addr, address.data(), address.size());
    requests_.push_back({std::move(bytes), address.data(), ntohs(sender.sin_port)});
    if (requests_.size() <= script_.size()) {
        for (const utils::Bytes& reply : script_[requests_.size() - 1](requests_)) {
            send_to(socket_, sender, reply);
        }
    }
    return true;
}

UdpPeer::Answer silence() {
    return [](std::span<const Datagram>) { return std::vector<utils::Bytes>(); };
}

UdpPeer::Answer answer(std::function<utils::Bytes(const utils::Bytes& request)> make_reply) {
    return [make_reply = std::move(make_reply)](std::span<const Datagram> requests) {
        return std::vector<utils::Bytes>{make_reply(requests.back().bytes)};
    };
}

// A socket that is connected hears one sender only, here itself: for everyone else the port is closed.
ClosedPort::ClosedPort() : socket_(open_socket()), port_(port_of(socket_)) {
    const sockaddr_in itself = loopback(port_);
    require(connect(socket_.get(), generic(itself), sizeof itself) == 0, "cannot connect a socket");
}

std::string ClosedPort::address() const {
    return "127.0.0.1:" + std::to_string(port_);
}

void send_from_elsewhere(const utils::Bytes& datagram, std::uint16_t port) {
    send_to(open_socket(), loopback(port), datagram);
}

void send_from_another_address(const utils::Bytes& datagram, std::uint16_t from_port, std::uint16_t port) {
    send_to(open_socket(loopback(from_port, INADDR_LOOPBACK + 1)), loopback(port), datagram);
}

std::uint16_t free_udp_port() {
    return port_of(open_socket());
}

}  // namespace quarn::test
