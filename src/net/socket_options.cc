#include "socket_options.h"

#include <net/if.h>
#include <sys/socket.h>

#include <cerrno>

#include "socket_address.h"

namespace quarn::net {

bool set_option(const utils::FileDescriptor& descriptor, int level, int option, int value) {
    return setsockopt(descriptor.get(), level, option, &value, sizeof value) == 0;
}

bool connect_to(const utils::FileDescriptor& descriptor, const Address& remote) {
    const SocketAddress address(remote);
    return connect(descriptor.get(), address.data(), address.size()) == 0;
}

bool bind_to(const utils::FileDescriptor& descriptor, const Address& source) {
    const SocketAddress address(source);
    return bind(descriptor.get(), address.data(), address.size()) == 0;
}

bool select_interface(const utils::FileDescriptor& descriptor, const std::string& name) {
    // The kernel would cut the name at its size for names, and at a NUL: the rest might be another interface,
    // or none, which selects every interface.
    if (name.size() >= IFNAMSIZ || name.find('\0') != name.npos) {
        errno = ENODEV;
        return false;
    }
    return setsockopt(descriptor.get(), SOL_SOCKET, SO_BINDTODEVICE, name.data(),
                      static_cast<socklen_t>(name.size())) == 0;
}

std::optional<Address> own_address(const utils::FileDescriptor& descriptor) {
    SocketAddress address;
    socklen_t length = SocketAddress::capacity();
    if (getsockname(descriptor.get(), address.data(), &length) != 0) {
        return std::nullopt;
    }
    return address.address();
}

}  // namespace quarn::net
