#include "authprobe/options.h"

#include <getopt.h>

#include <cstring>
#include <optional>

#include "authprobe/client_error.h"
#include "authprobe/leading_number.h"
#include "common/default_paths.h"

namespace quarn::authprobe {

namespace {

constexpr char short_options[] = "d:t:";

// The letters only tell the long options apart; they are no short options.
constexpr option long_options[] = {
    {"username", required_argument, nullptr, 'u'},
    {"password", required_argument, nullptr, 'P'},
    {"nas-port", required_argument, nullptr, 'p'},
    {"nas-ip-address", required_argument, nullptr, 'n'},
    {"source-ip", required_argument, nullptr, 's'},
    {"framed-protocol", required_argument, nullptr, 'f'},
    {"calling-station-id", required_argument, nullptr, 'c'},
    {"no-message-auth", no_argument, nullptr, 'M'},
    {"timeout", required_argument, nullptr, 'T'},
    {"retry", required_argument, nullptr, 'r'},
    {nullptr, 0, nullptr, 0},
};

std::int32_t parse_positive(const char* option_name, const std::string& argument, const char* expected) {
    const std::optional<std::int32_t> number = leading_int(argument);
    if (!number || *number <= 0) {
        throw ClientError(std::string("authprobe: invalid ") + option_name + " \"" + argument + "\" (" +
                          expected + ")\n");
    }
    return *number;
}

/// Takes a secret off the command line, where other users see it (in `ps`) for as long as the program runs.
utils::SecretText take_secret(char* argument) {
    utils::SecretText secret(argument);
    utils::wipe(argument, std::strlen(argument));
    return secret;
}

}  // namespace

std::string usage() {
    return std::string(R"(Usage: authprobe [OPTIONS] radius-server[:port] secret
        --username <name>        User-Name attribute value. Omitted = not sent.
        --password <pass>        password for the -t auth type. Omitted = no
                                 password credential is sent, and -t is
                                 ignored (for methods that need no password,
                                 such as MAC auth by Calling-Station-Id).
        -d <dictionary>          RADIUS dictionary.yaml file.
                                 Default: )") +
           tools::default_dictionary_path + R"(
        -t <type>                authentication type: pap, chap, mschap or
                                 mschapv2. Default: pap. Requires --password;
                                 ignored when none is given.
        --nas-port <number>      NAS-Port attribute value. Omitted = not sent.
        --nas-ip-address <ip>    NAS-IP-Address attribute value.
                                 Default: the source address.
        --source-ip <ip>         source IPv4 to send from (must be a local
                                 address). Default: chosen by the kernel route.
        --framed-protocol <val>  Framed-Protocol attribute, by name (e.g. PPP,
                                 SLIP) or number. Omitted = not sent.
        --calling-station-id <id>
                                 Calling-Station-Id attribute value. Omitted =
                                 not sent.
        --no-message-auth        do not send a Message-Authenticator in the
                                 request (Blast-RADIUS hardened servers may drop
                                 the request).
        --timeout <seconds>      seconds to wait for a reply per attempt.
                                 Default: 5.
        --retry <count>          number of send attempts before giving up.
                                 Default: 3.
)";
}

ClientSettings read_command_line(int argc, char* argv[]) {
    ClientSettings settings;
    optind = 0;  // begin anew, whatever this process has parsed before
    for (int found = 0; (found = getopt_long(argc, argv, short_options, long_options, nullptr)) != -1;) {
        switch (found) {
            case 'd':
                settings.dictionary_path = optarg;
                break;
            case 't':
                settings.auth_type = optarg;
                break;
            case 'u':
                settings.username = optarg;
                break;
            case 'P':
                settings.password = take_secret(optarg);
                settings.password_given = true;
                break;
            case 'p':
                settings.nas_port = optarg;
                break;
            case 'n':
                settings.nas_ip_address = optarg;
                break;
            case 's':
                settings.source_ip = optarg;
                break;
            case 'f':
                settings.framed_protocol = optarg;
                break;
            case 'c':
                settings.calling_station_id = optarg;
                break;
            case 'M':
                settings.no_message_auth = true;
                break;
            case 'T':
                settings.timeout = parse_positive("--timeout", optarg, "seconds, must be > 0");
                break;
            case 'r':
                settings.retry = parse_positive("--retry", optarg, "must be > 0");
                break;
            default:
                throw ClientError(usage());
        }
    }
    if (argc - optind != 2) {
        throw ClientError(usage());
    }
    settings.server = argv[optind];
    settings.secret = take_secret(argv[optind + 1]);
    return settings;
}

}  // namespace quarn::authprobe
