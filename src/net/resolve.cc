#include "quarn/net/resolve.h"

#include <netdb.h>
#include <sys/socket.h>

#include <cerrno>
#include <memory>

#include "socket_address.h"

namespace quarn::net {

std::string ResolveError::text() const {
    return gai_strerror(code);
}

utils::Result<std::vector<Address>, ResolveError> resolve(std::string_view host, std::uint16_t port,
                                                          const ResolveOptions& options) {
    if (host.find('\0') != host.npos) {
        return ResolveError{EAI_NONAME, 0};
    }
    addrinfo hints{};
    hints.ai_family = options.family ? system_family(*options.family) : AF_UNSPEC;
    hints.ai_socktype = options.socket_type == SocketType::Datagram ? SOCK_DGRAM : SOCK_STREAM;
    addrinfo* found = nullptr;
    const int code = getaddrinfo(std::string(host).c_str(), std::to_string(port).c_str(), &hints, &found);
    const int system_error = code == EAI_SYSTEM ? errno : 0;
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> list(found, freeaddrinfo);

    std::vector<Address> addresses;
    if (code == 0) {
        for (const addrinfo* entry = found; entry != nullptr; entry = entry->ai_next) {
            if (const auto address = SocketAddress::address_of(entry->ai_addr)) {
                addresses.push_back(*address);
            }
        }
    }
    if (addresses.empty()) {
        return ResolveError{code, system_error};
    }
    return addresses;
}

}  // namespace quarn::net
