// A TCP connection to one remote address that never blocks.
//
//     auto opened = TcpSocket::open(server, {});
//     if (!opened) {
//         return report(opened.error());     // which call failed, and its errno
//     }
//     TcpSocket socket = *std::move(opened);
//     ... poll(socket.descriptor(), POLLOUT) ...
//     if (const auto connected = socket.finish_connecting(); connected && *connected) {
//         socket.send(bytes);
//     }
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "quarn/net/address.h"
#include "quarn/net/udp_socket.h"
#include "quarn/utils/bytes.h"
#include "quarn/utils/file_descriptor.h"
#include "quarn/utils/result.h"

namespace quarn::net {

/// How a connection is opened.
struct TcpOptions {
    std::optional<Address> source = {};  ///< bound to; port 0 leaves the port to the kernel
    std::string interface = {};          ///< the name of the only network interface to use; empty: any
};

/// Owns the descriptor. Small writes are sent at once (TCP_NODELAY); a write to a closed connection raises no
/// signal.
class TcpSocket {
  public:
    /// Begins to connect to the remote address, and does not wait. `OpenStep::Connect` tells of a failure
    /// that is known at once, such as ENETUNREACH or, for a port of this machine, ECONNREFUSED.
    static utils::Result<TcpSocket, OpenError> open(const Address& remote, const TcpOptions& options);

    /// True when the connection is there, false while it is being made; else why it failed.
    utils::Result<bool, SystemError> finish_connecting();

    /// Writes what the connection takes now: the number of bytes, 0 when it takes none.
    utils::Result<std::size_t, SystemError> send(utils::byte_span bytes);

    /// Reads what is there, at most `limit` bytes: EAGAIN when there is nothing yet, no bytes at the end of
    /// the stream.
    utils::Result<utils::Bytes, SystemError> receive(std::size_t limit);

    /// This end, known once the connection is there.
    std::optional<Address> local_address() const;

    const Address& remote_address() const { return remote_; }  ///< the other end

    int descriptor() const { return descriptor_.get(); }  ///< to wait for several at once; still owned

    void close() { descriptor_.close(); }  ///< at once, for good

  private:
    TcpSocket(utils::FileDescriptor descriptor, const Address& remote)
        : descriptor_(std::move(descriptor)), remote_(remote) {}

    utils::FileDescriptor descriptor_;
    Address remote_;
};

}  // namespace quarn::net
