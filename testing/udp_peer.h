// The other end of an exchange, in the test's hands.
//
//     UdpPeer peer({silence(), answer([](const Bytes& request) { return reply_to(request, accept); })});
//     ... send to peer.port() ...
//     EXPECT_EQ(peer.finish().size(), 2U);
#pragma once

#include <cstdint>
#include <exception>
#include <functional>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "quarn/utils/bytes.h"
#include "testing/descriptor.h"

namespace quarn::test {

struct Datagram {
    utils::Bytes bytes;
    std::string address;  ///< of its sender, a dotted quad
    std::uint16_t port;
};

/// Answers datagrams on a free port of 127.0.0.1 by a script, in a thread of its own.
class UdpPeer {
  public:
    /// What to send back, datagram by datagram, to the sender of the last of the requests received so far.
    using Answer = std::function<std::vector<utils::Bytes>(std::span<const Datagram> requests)>;

    /// The first request gets the first answer, and so on; later ones get none.
    explicit UdpPeer(std::vector<Answer> script = {});
    ~UdpPeer();
    UdpPeer(const UdpPeer&) = delete;
    UdpPeer& operator=(const UdpPeer&) = delete;

    std::uint16_t port() const { return port_; }

    /// "127.0.0.1:" and the port.
    std::string address() const;

    /// Stops, and returns every request that arrived until now. Throws what an answer threw.
    std::vector<Datagram> finish();

  private:
    void serve();
    bool serve_one();

    std::vector<Answer> script_;
    Descriptor socket_;
    Descriptor stop_;
    std::uint16_t port_;
    std::vector<Datagram> requests_;
    std::exception_ptr problem_;
    std::thread thread_;
};

UdpPeer::Answer silence();

/// Answers with one datagram, made from the request.
UdpPeer::Answer answer(std::function<utils::Bytes(const utils::Bytes& request)> make_reply);

/// A port of 127.0.0.1 where nobody listens; nobody else can take it while this object lives.
class ClosedPort {
  public:
    ClosedPort();

    std::uint16_t port() const { return port_; }
    std::string address() const;

  private:
    Descriptor socket_;
    std::uint16_t port_;
};

/// Sends a datagram to a port of 127.0.0.1 from a socket that is used for nothing else.
void send_from_elsewhere(const utils::Bytes& datagram, std::uint16_t port);

/// The same from another address of this machine, 127.0.0.2, and this port there.
void send_from_another_address(const utils::Bytes& datagram, std::uint16_t from_port, std::uint16_t port);

/// A UDP port of 127.0.0.1 that was free a moment ago.
std::uint16_t free_udp_port();

}  // namespace quarn::test
