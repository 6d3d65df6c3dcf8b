#include "quarn/net/udp_socket.h"

#include <linux/errqueue.h>
#include <net/if.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <limits>
#include <utility>

#include "socket_address.h"
#include "socket_options.h"

namespace quarn::net {

namespace {

utils::FileDescriptor open_datagram_socket(Family family) {
    return utils::FileDescriptor(socket(system_family(family), SOCK_DGRAM | SOCK_CLOEXEC, 0));
}

/// The address from which the kernel would send to `remote`: that of a second socket, connected to it.
std::optional<Address> address_towards(const Address& remote, const std::string& interface) {
    const utils::FileDescriptor probe = open_datagram_socket(remote.family());
    const bool is_ready = probe.get() >= 0 && (interface.empty() || select_interface(probe, interface)) &&
                          connect_to(probe, remote);
    return is_ready ? own_address(probe) : std::nullopt;
}

/// The time in whole milliseconds, rounded up so that nobody is woken early.
int poll_timeout(std::chrono::nanoseconds time) {
    const auto milliseconds = std::chrono::ceil<std::chrono::milliseconds>(time).count();
    return static_cast<int>(
        std::clamp<decltype(milliseconds)>(milliseconds, 0, std::numeric_limits<int>::max()));
}

/// The report that a control message of the error queue carries.
NetworkError network_error_from(const cmsghdr& message) {
    sock_extended_err report{};
    std::memcpy(&report, CMSG_DATA(&message), sizeof report);
    NetworkError error{static_cast<int>(report.ee_errno), report.ee_type, report.ee_code, {}};
    // The reporter's address follows; the buffer has room for one of either family.
    SocketAddress reporter;
    const std::size_t offset = CMSG_LEN(sizeof report);
    if (message.cmsg_len > offset) {
        const auto* const begin = reinterpret_cast<const char*>(&message) + offset;
        std::memcpy(reporter.data(), begin,
                    std::min<std::size_t>(message.cmsg_len - offset, SocketAddress::capacity()));
        error.reporter = reporter.address();
    }
    return error;
}

bool is_error_report(const cmsghdr& message) {
    return (message.cmsg_level == IPPROTO_IP && message.cmsg_type == IP_RECVERR) ||
           (message.cmsg_level == IPPROTO_IPV6 && message.cmsg_type == IPV6_RECVERR);
}

}  // namespace

utils::Result<UdpSocket, OpenError> UdpSocket::open(const Address& remote, const UdpOptions& options) {
    utils::FileDescriptor descriptor = open_datagram_socket(remote.family());
    if (descriptor.get() < 0) {
        return OpenError{OpenStep::Socket, errno};
    }
    if (!options.interface.empty() && !select_interface(descriptor, options.interface)) {
        return OpenError{OpenStep::SelectInterface, errno};
    }
    const bool is_ipv6 = remote.family() == Family::IPv6;
    if (options.error_queue && !(is_ipv6 ? set_option(descriptor, IPPROTO_IPV6, IPV6_RECVERR, 1)
                                         : set_option(descriptor, IPPROTO_IP, IP_RECVERR, 1))) {
        return OpenError{OpenStep::SetOption, errno};
    }
    if (!options.connected && is_ipv6 && !set_option(descriptor, IPPROTO_IPV6, IPV6_V6ONLY, 1)) {
        return OpenError{OpenStep::SetOption, errno};
    }
    // A socket that is not connected has no port before it sends or is bound.
    const bool has_to_be_bound = options.source || !options.connected;
    if (has_to_be_bound && !bind_to(descriptor, options.source.value_or(Address::any(remote.family())))) {
        return OpenError{OpenStep::Bind, errno};
    }
    if (options.connected && !connect_to(descriptor, remote)) {
        return OpenError{OpenStep::Connect, errno};
    }
    return UdpSocket(std::move(descriptor), remote, options);
}

UdpSocket::UdpSocket(utils::FileDescriptor descriptor, const Address& remote, const UdpOptions& options)
    : descriptor_(std::move(descriptor)),
      remote_(remote),
      local_(own_address(descriptor_)),
      connected_(options.connected),
      error_queue_(options.error_queue),
      buffer_(options.max_datagram_size) {
    if (!connected_ && local_ && local_->is_any()) {
        const auto towards = address_towards(remote_, options.interface);
        local_ = towards ? towards->with_port(local_->port()) : *local_;
    }
}

std::optional<SystemError> UdpSocket::send(utils::byte_span datagram) {
    const SocketAddress to(remote_);
    const ssize_t sent =
        connected_ ? ::send(descriptor_.get(), datagram.data(), datagram.size(), 0)
                   : ::sendto(descriptor_.get(), datagram.data(), datagram.size(), 0, to.data(), to.size());
    return sent < 0 ? std::optional(SystemError{errno}) : std::nullopt;
}

utils::Result<bool, SystemError> UdpSocket::wait(std::chrono::nanoseconds time) {
    pollfd readable{descriptor_.get(), POLLIN, 0};
    const int ready = poll(&readable, 1, poll_timeout(time));
    if (ready < 0) {
        return SystemError{errno};
    }
    return ready > 0;
}

utils::Result<Datagram, SystemError> UdpSocket::receive() {
    SocketAddress from;
    socklen_t length = SocketAddress::capacity();
    // Never blocks: `poll` may have been woken by a datagram that is gone now.
    const ssize_t received = connected_
                                 ? ::recv(descriptor_.get(), buffer_.data(), buffer_.size(), MSG_DONTWAIT)
                                 : ::recvfrom(descriptor_.get(), buffer_.data(), buffer_.size(), MSG_DONTWAIT,
                                              from.data(), &length);
    if (received < 0) {
        return SystemError{errno};
    }
    return Datagram{{buffer_.begin(), buffer_.begin() + received},
                    connected_ ? remote_ : from.address().value_or(Address())};
}

std::optional<NetworkError> UdpSocket::take_network_error() {
    if (!error_queue_) {
        return std::nullopt;
    }
    while (true) {
        SocketAddress destination;
        alignas(cmsghdr) std::array<char, 512> control{};
        msghdr message{};
        message.msg_name = destination.data();
        message.msg_namelen = SocketAddress::capacity();
        message.msg_control = control.data();
        message.msg_controllen = control.size();
        if (recvmsg(descriptor_.get(), &message, MSG_ERRQUEUE | MSG_DONTWAIT) < 0) {
            return std::nullopt;
        }
        // Nothing was sent anywhere else: such a report is forged.
        if (message.msg_namelen > 0 && destination.address() != remote_) {
            continue;
        }
        for (cmsghdr* part = CMSG_FIRSTHDR(&message); part != nullptr; part = CMSG_NXTHDR(&message, part)) {
            if (is_error_report(*part)) {
                return network_error_from(*part);
            }
        }
    }
}

}  // namespace quarn::net
