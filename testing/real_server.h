// A RADIUS server that this tree has no part in: the one of Debian's package freeradius.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "testing/process.h"
#include "testing/scratch_folder.h"

namespace quarn::test {

/// The server, running on free ports of 127.0.0.1 and ::1 with the configuration of testing/real_server, in a
/// scratch folder of its own; it ends with this object.
class RealServer {
  public:
    /// Returns when the server takes requests. Throws `std::runtime_error`: the server is not installed, or
    /// does not start.
    RealServer();
    ~RealServer();
    RealServer(const RealServer&) = delete;
    RealServer& operator=(const RealServer&) = delete;

    /// "127.0.0.1:" and the port for authentication.
    std::string address() const { return "127.0.0.1:" + std::to_string(port_); }

    std::uint16_t port() const { return port_; }  ///< for authentication: UDP and TCP, and UDP on ::1
    std::uint16_t accounting_port() const { return accounting_port_; }
    std::uint16_t coa_port() const { return coa_port_; }        ///< for CoA- and Disconnect-Requests
    std::uint16_t status_port() const { return status_port_; }  ///< for Status-Server alone

  private:
    ScratchFolder folder_;
    std::uint16_t port_ = 0;
    std::uint16_t accounting_port_ = 0;
    std::uint16_t coa_port_ = 0;
    std::uint16_t status_port_ = 0;
    std::unique_ptr<Process> process_;
};

}  // namespace quarn::test
