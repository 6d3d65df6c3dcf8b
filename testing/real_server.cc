#include "testing/real_server.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

#include "testing/udp_peer.h"

namespace quarn::test {

namespace {

constexpr char program[] = "/usr/sbin/freeradius";
constexpr char configuration_folder[] = QUARN_SOURCE_DIR "/testing/real_server";

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

RealServer::RealServer() {
    if (!std::filesystem::exists(program)) {
        throw std::runtime_error(std::string("there is no ") + program +
                                 ": run scripts/install-deps test, which installs the package freeradius");
    }
    const std::filesystem::path configuration = configuration_folder;
    folder_.write("users", read_file(configuration / "users"));
    const std::string settings =
        replace_all(read_file(configuration / "radiusd.conf.in"), "@DIR@", folder_.path().string());

    // Another program may take the port between the moment it was found free and the server's own bind.
    std::string output;
    for (int attempt = 0; attempt < 5; ++attempt) {
        port_ = free_udp_port();
        accounting_port_ = free_udp_port();
        coa_port_ = free_udp_port();
        status_port_ = free_udp_port();
        std::string with_ports = settings;
        for (const auto& [placeholder, port] :
             {std::pair("@PORT@", port_), std::pair("@ACCT@", accounting_port_),
              std::pair("@COA@", coa_port_), std::pair("@STATUS@", status_port_)}) {
            with_ports = replace_all(std::move(with_ports), placeholder, std::to_string(port));
        }
        folder_.write("radiusd.conf", with_ports);
        process_ = std::make_unique<Process>(
            Command{.program = program,
                    .arguments = {"-f", "-l", "stdout", "-d", folder_.path().string()},
                    .errors = Stream::SameAsOutput,
                    .time_limit = std::chrono::seconds(50)});
        if (process_->wait_for_output("Ready to process requests")) {
            return;
        }
        output = process_->output();
        if (output.find("Address already in use") == std::string::npos) {
            break;
        }
    }
    throw std::runtime_error(std::string(program) + " does not start:\n" + output);
}

RealServer::~RealServer() {
    process_->terminate();
    process_->wait();
}

}  // namespace quarn::test
