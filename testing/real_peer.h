// Programs of Debian's packages, which this tree has no part in, as the other end of a test.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "testing/process.h"
#include "testing/scratch_folder.h"

namespace quarn::test {

/// How a peer is started. "@DIR@" stands for its scratch folder, in the arguments and in the configuration.
struct PeerProgram {
    std::string program;                 ///< its path
    std::string package;                 ///< the Debian package that has it
    std::vector<std::string> arguments;  ///< that keep it in the foreground, with its log on standard output
    std::string configuration;           ///< the file of testing/real_peers
    std::vector<std::string> files;      ///< others of that folder, copied beside it
    std::string file_name;               ///< of the configuration in the scratch folder
    std::string ready;                   ///< what it prints when it takes requests
    std::vector<std::string> ports;      ///< placeholders of free ports, such as "@PORT@"
    std::map<std::string, std::string> texts = {};  ///< what other placeholders stand for
};

/// A peer, running in a scratch folder of its own; it ends with this object.
class RealPeer {
  public:
    /// Returns when the peer takes requests. Throws `std::runtime_error`: the program is not installed, or
    /// does not start.
    explicit RealPeer(const PeerProgram& program);
    ~RealPeer();
    RealPeer(const RealPeer&) = delete;
    RealPeer& operator=(const RealPeer&) = delete;

    /// The port that a placeholder stands for.
    std::uint16_t port(const std::string& placeholder) const { return ports_.at(placeholder); }

  private:
    ScratchFolder folder_;
    std::map<std::string, std::uint16_t> ports_;
    std::unique_ptr<Process> process_;
};

/// The server of the package freeradius on 127.0.0.1 and ::1. It takes authentication and accounting over UDP
/// and TCP, CoA- and Disconnect-Requests over UDP.
class RealServer {
  public:
    RealServer();

    std::uint16_t port() const { return peer_.port("@PORT@"); }  ///< for authentication
    std::uint16_t accounting_port() const { return peer_.port("@ACCT@"); }
    std::uint16_t coa_port() const { return peer_.port("@COA@"); }
    std::uint16_t status_port() const { return peer_.port("@STATUS@"); }  ///< for Status-Server alone

    /// "127.0.0.1:" and the port for authentication.
    std::string address() const { return "127.0.0.1:" + std::to_string(port()); }

  private:
    RealPeer peer_;
};

/// The proxy of the package radsecproxy on 127.0.0.1 and ::1, UDP and TCP, in front of a server. It takes
/// authentication and accounting at one port, and answers Status-Server by itself.
class RealProxy {
  public:
    /// The server has to run already.
    explicit RealProxy(const RealServer& next);

    std::uint16_t port() const { return peer_.port("@PORT@"); }

  private:
    RealPeer peer_;
};

}  // namespace quarn::test
