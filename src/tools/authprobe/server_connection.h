// The way to the server.
#pragma once

#include "authprobe/options.h"
#include "quarn/client/udp_transport.h"

namespace quarn::authprobe {

/// A UDP transport connected to one IPv4 server: the kernel has chosen the source address and port, and lets
/// in datagrams from that server alone.
class ServerConnection {
  public:
    /// Resolves the server, binds to the source address when one is asked for, and connects. Throws
    /// `ClientError` or `SystemCallError`.
    explicit ServerConnection(const ClientSettings& settings);

    client::UdpTransport& transport() { return transport_; }
    void close() { transport_.close(); }

    /// Both ends. The local one is 0.0.0.0:0 when the kernel does not tell.
    net::Address local() const { return transport_.local_address().value_or(net::Address()); }
    net::Address server() const { return transport_.remote_address(); }

  private:
    client::UdpTransport transport_;
};

}  // namespace quarn::authprobe
