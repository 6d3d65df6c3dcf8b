#include "testing/real_peer.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

#include "testing/udp_peer.h"

namespace quarn::test {

namespace {

std::string read_file(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    std::string content{std::istreambuf_iterator<char>(stream), {}};
    if (!stream) {
        throw std::runtime_error("cannot read " + path.string());
    }
    return content;
}

std::string replace_all(std::string text, const std::string& placeholder, const std::string& replacement) {
    for (std::size_t found = 0; (found = text.find(placeholder, found)) != std::string::npos;) {
        text.replace(found, placeholder.size(), replacement);
        found += replacement.size();
    }
    return text;
}

}  // namespace

RealPeer::RealPeer(const PeerProgram& program) {
    if (!std::filesystem::exists(program.program)) {
        throw std::runtime_error("there is no " + program.program +
                                 ": run scripts/install-deps test, which installs the package " +
                                 program.package);
    }
    const std::filesystem::path configurations = QUARN_SOURCE_DIR "/testing/real_peers";
    for (const std::string& file : program.files) {
        folder_.write(file, read_file(configurations / file));
    }
    const std::string folder = folder_.path().string();
    std::string settings = replace_all(read_file(configurations / program.configuration), "@DIR@", folder);
    for (const auto& [placeholder, text] : program.texts) {
        settings = replace_all(std::move(settings), placeholder, text);
    }
    std::vector<std::string> arguments = program.arguments;
    for (std::string& argument : arguments) {
        argument = replace_all(std::move(argument), "@DIR@", folder);
    }

    // Another program may take a port between the moment it was found free and the peer's own bind.
    std::string output;
    for (int attempt = 0; attempt < 5; ++attempt) {
        std::string with_ports = settings;
        for (const std::string& placeholder : program.ports) {
            ports_[placeholder] = free_udp_port();
            with_ports = replace_all(std::move(with_ports), placeholder, std::to_string(ports_[placeholder]));
        }
        folder_.write(program.file_name, with_ports);
        process_ = std::make_unique<Process>(Command{.program = program.program,
                                                     .arguments = arguments,
                                                     .errors = Stream::SameAsOutput,
                                                     .time_limit = std::chrono::seconds(50)});
        if (process_->wait_for_output(program.ready)) {
            return;
        }
        output = process_->output();
        if (output.find("ddress already in use") == std::string::npos) {
            break;
        }
    }
    throw std::runtime_error(program.program + " does not start:\n" + output);
}

RealPeer::~RealPeer() {
    process_->terminate();
    process_->wait();
}

RealServer::RealServer()
    : peer_({.program = "/usr/sbin/freeradius",
             .package = "freeradius",
             .arguments = {"-f", "-l", "stdout", "-d", "@DIR@"},
             .configuration = "radiusd.conf.in",
             .files = {"users"},
             .file_name = "radiusd.conf",
             .ready = "Ready to process requests",
             .ports = {"@PORT@", "@ACCT@", "@COA@", "@STATUS@"}}) {}

RealProxy::RealProxy(const RealServer& next)
    : peer_({.program = "/usr/sbin/radsecproxy",
             .package = "radsecproxy",
             .arguments = {"-f", "-d", "2", "-c", "@DIR@/radsecproxy.conf"},
             .configuration = "radsecproxy.conf.in",
             .files = {},
             .file_name = "radsecproxy.conf",
             .ready = "listening for tcp on ::1",
             .ports = {"@PORT@"},
             .texts = {{"@NEXT@", std::to_string(next.port())},
                       {"@NEXTACCT@", std::to_string(next.accounting_port())}}}) {}

}  // namespace quarn::test
