// The other end of TCP connections, in the test's hands.
//
//     TcpPeer peer([](int connection) { write_all(connection, reply_to(read_packet(connection), accept)); });
//     ... connect to peer.port() ...
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>

#include "quarn/utils/bytes.h"
#include "testing/descriptor.h"

namespace quarn::test {

/// Serves connections on a free port of this machine's loopback, one after another, in a thread of its own.
class TcpPeer {
  public:
    /// Serves one connection, which is closed afterwards. Has to end when the other side closes it.
    using Serve = std::function<void(int connection)>;

    enum class Family { IPv4, IPv6 };

    explicit TcpPeer(Serve serve, Family family = Family::IPv4);
    ~TcpPeer();
    TcpPeer(const TcpPeer&) = delete;
    TcpPeer& operator=(const TcpPeer&) = delete;

    std::uint16_t port() const { return port_; }

    /// "127.0.0.1:" or "[::1]:", and the port.
    std::string address() const;

    /// How many connections were accepted so far.
    int connections() const { return connections_; }

  private:
    void accept_connections();

    Serve serve_;
    Family family_;
    std::uint16_t port_ = 0;  // set while the socket is made
    Descriptor socket_;
    Descriptor stop_;
    std::atomic<int> connections_ = 0;
    std::thread thread_;
};

/// The next packet of a connection, cut by its Length; empty when the connection ends or ten seconds pass.
utils::Bytes read_packet(int connection);

/// Writes all bytes. False when the other side has closed the connection.
bool write_all(int connection, utils::byte_span bytes);

/// Waits until the other side closes the connection, ten seconds at most.
void wait_for_end(int connection);

/// A TCP port of 127.0.0.1 that was free a moment ago.
std::uint16_t free_tcp_port();

}  // namespace quarn::test
