#include "quarn/net/tcp_socket.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <utility>

#include "socket_address.h"
#include "socket_options.h"

namespace quarn::net {

utils::Result<TcpSocket, OpenError> TcpSocket::open(const Address& remote, const TcpOptions& options) {
    utils::FileDescriptor descriptor(
        socket(system_family(remote.family()), SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (descriptor.get() < 0) {
        return OpenError{OpenStep::Socket, errno};
    }
    if (!options.interface.empty() && !select_interface(descriptor, options.interface)) {
        return OpenError{OpenStep::SelectInterface, errno};
    }
    if (!set_option(descriptor, IPPROTO_TCP, TCP_NODELAY, 1)) {
        return OpenError{OpenStep::SetOption, errno};
    }
    if (options.source) {
        // A fixed port may still be in TIME_WAIT from an earlier connection.
        if (!set_option(descriptor, SOL_SOCKET, SO_REUSEADDR, 1)) {
            return OpenError{OpenStep::SetOption, errno};
        }
        if (!bind_to(descriptor, *options.source)) {
            return OpenError{OpenStep::Bind, errno};
        }
    }
    if (!connect_to(descriptor, remote) && errno != EINPROGRESS) {
        return OpenError{OpenStep::Connect, errno};
    }
    return TcpSocket(std::move(descriptor), remote);
}

utils::Result<bool, SystemError> TcpSocket::finish_connecting() {
    pollfd writable{descriptor_.get(), POLLOUT, 0};
    const int ready = poll(&writable, 1, 0);
    if (ready < 0) {
        return SystemError{errno};
    }
    if (ready == 0) {
        return false;
    }
    int error = 0;
    socklen_t length = sizeof error;
    if (getsockopt(descriptor_.get(), SOL_SOCKET, SO_ERROR, &error, &length) != 0) {
        return SystemError{errno};
    }
    return error == 0 ? utils::Result<bool, SystemError>(true) : SystemError{error};
}

utils::Result<std::size_t, SystemError> TcpSocket::send(utils::byte_span bytes) {
    const ssize_t sent = ::send(descriptor_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent >= 0) {
        return static_cast<std::size_t>(sent);
    }
    return errno == EAGAIN || errno == EINTR ? utils::Result<std::size_t, SystemError>(std::size_t{0})
                                             : SystemError{errno};
}

utils::Result<utils::Bytes, SystemError> TcpSocket::receive(std::size_t limit) {
    utils::Bytes bytes(limit);
    const ssize_t received = ::recv(descriptor_.get(), bytes.data(), bytes.size(), 0);
    if (received < 0) {
        return SystemError{errno};
    }
    bytes.resize(static_cast<std::size_t>(received));
    return bytes;
}

std::optional<Address> TcpSocket::local_address() const {
    return own_address(descriptor_);
}

}  // namespace quarn::net
