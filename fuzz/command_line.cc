// Any command line is understood or refused, and so is the request that it asks for. The input's lines are
// the arguments. No socket is opened and no name is resolved.
#include <getopt.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "authprobe/access_request.h"
#include "authprobe/auth_method.h"
#include "authprobe/client_error.h"
#include "authprobe/options.h"
#include "authprobe/probe.h"
#include "quarn/utils/bytes.h"
#include "testing/check.h"
#include "testing/scratch_folder.h"

namespace {

using namespace quarn;
using namespace quarn::authprobe;
using fuzz::require;

constexpr std::string_view dictionary_text = R"(
attributes:
  User-Name: {code: "1", type: text}
  User-Password: {code: "2", type: text, encrypt: 1}
  CHAP-Password: {code: "3", type: octets}
  NAS-IP-Address: {code: "4", type: ipv4addr}
  NAS-Port: {code: "5", type: integer}
  Framed-Protocol: {code: "7", type: enum, values: {PPP: 1, SLIP: 2}}
  Calling-Station-Id: {code: "31", type: text}
  Message-Authenticator: {code: "80", type: octets}
  MS-CHAP-Response: {code: "26.311.1", type: octets}
  MS-CHAP-Challenge: {code: "26.311.11", type: octets}
  MS-CHAP2-Response: {code: "26.311.25", type: octets}
)";

std::shared_ptr<const subscriber::radius::RadiusDictionary> dictionary() {
    static const auto loaded = [] {
        const test::ScratchFolder folder;
        ClientSettings settings;
        settings.dictionary_path = folder.write("dictionary.yaml", dictionary_text);
        return load_dictionary(settings);
    }();
    return loaded;
}

void run_up_to_the_socket(int argc, char* argv[]) {
    const Probe probe = check_settings(read_command_line(argc, argv));
    require(probe.settings.timeout > 0 && probe.settings.retry > 0,
            "there is a time to wait, and an attempt");
    require(probe.settings.server_port > 0, "there is a port");

    const AccessRequest request = build_access_request(probe, "127.0.0.1", dictionary());
    require(request.encoded.code() == 1, "it is an Access-Request");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    opterr = 0;  // getopt's own words would fill the screen
    const std::string_view input = utils::as_text({data, size});
    std::vector<std::string> arguments = {"authprobe"};
    for (std::size_t begin = 0; begin < input.size();) {
        const std::size_t end = std::min(input.find('\n', begin), input.size());
        // The kernel hands over texts that end at their first NUL.
        arguments.emplace_back(std::string(input.substr(begin, end - begin)).c_str());
        begin = end + 1;
    }
    std::vector<char*> argv;
    argv.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) {
        argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    try {
        run_up_to_the_socket(static_cast<int>(arguments.size()), argv.data());
    } catch (const ClientError& error) {
        const std::string_view text = error.what();
        require(text.ends_with('\n') && (text.starts_with("authprobe: ") || text == usage()),
                "a refusal is a line of the program's", text);
    }
    return 0;
}
