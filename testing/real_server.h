// A RADIUS server that this tree has no part in: the one of Debian's package freeradius.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "testing/process.h"
#include "testing/scratch_folder.h"

namespace quarn::test {

/// The server, running on a free port of 127.0.0.1 with the configuration of testing/real_server, in a
/// scratch folder of its own; it ends with this object.
class RealServer {
  public:
    /// Returns when the server takes requests. Throws `std::runtime_error`: the server is not installed, or
    /// does not start.
    RealServer();
    ~RealServer();
    RealServer(const RealServer&) = delete;
    RealServer& operator=(const RealServer&) = delete;

    /// "127.0.0.1:" and the port.
    std::string address() const { return "127.0.0.1:" + std::to_string(port_); }

  private:
    ScratchFolder folder_;
    std::uint16_t port_ = 0;
    std::unique_ptr<Process> process_;
};

}  // namespace quarn::test
