// The UDP socket to the server.
#pragma once

#include <netinet/in.h>

#include <cstdint>
#include <optional>
#include <string>

#include "authprobe/client_settings.h"
#include "quarn/utils/bytes.h"
#include "quarn/utils/file_descriptor.h"

namespace quarn::authprobe {

/// A socket connected to one IPv4 server: the kernel has chosen the source address and port, and lets in
/// datagrams from that server alone.
class ServerConnection {
  public:
    /// Resolves the server, binds to the source address when one is asked for, and connects. Throws
    /// `ClientError` or `SystemCallError`.
    explicit ServerConnection(const ClientSettings& settings);

    /// Throws `SystemCallError`.
    void send(utils::byte_span datagram) const;

    /// The next datagram, cut to 4096 bytes (RFC 2865, section 3); nothing when none came within the time-out
    /// or when waiting or receiving failed, as it does for a refused port.
    std::optional<utils::Bytes> receive(std::int32_t timeout_seconds) const;

    void close() { socket_.close(); }

    /// Dotted quads, and ports in host order.
    const std::string& local_address_text() const { return local_address_text_; }
    const std::string& server_address_text() const { return server_address_text_; }
    std::uint16_t local_port() const { return local_port_; }
    std::uint16_t server_port() const { return server_port_; }

    /// Both, such as "127.0.0.1:1812".
    std::string local_endpoint() const { return local_address_text_ + ":" + std::to_string(local_port_); }
    std::string server_endpoint() const { return server_address_text_ + ":" + std::to_string(server_port_); }

  private:
    ServerConnection(const ClientSettings& settings, const sockaddr_in& server);

    utils::FileDescriptor socket_;
    std::string local_address_text_;
    std::string server_address_text_;
    std::uint16_t local_port_ = 0;
    std::uint16_t server_port_ = 0;
};

}  // namespace quarn::authprobe
