// authprobe: sends one Access-Request to a RADIUS server and tells what came of it.

#include <fcntl.h>
#include <openssl/crypto.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>

#include "authprobe/access_request.h"
#include "authprobe/client_error.h"
#include "authprobe/exchange.h"
#include "authprobe/options.h"
#include "authprobe/probe.h"
#include "authprobe/server_connection.h"
#include "authprobe/user_password.h"
#include "authprobe/verdict.h"
#include "common/wiped_output.h"
#include "quarn/radius/dictionary.h"

namespace {

using namespace quarn::authprobe;
using quarn::subscriber::radius::RadiusDictionary;

/// Opens /dev/null on closed descriptors 0 to 2; otherwise the socket could become stdout and user output
/// would go to the server.
void hold_standard_streams() {
    for (int descriptor = 0; descriptor >= 0 && descriptor <= STDERR_FILENO;) {
        descriptor = open("/dev/null", O_RDWR);
        if (descriptor > STDERR_FILENO) {
            close(descriptor);
        }
    }
}

/// The command line alone decides what a run does: no library may take settings of its own from the
/// environment or from a file that the environment names.
void ignore_environment() {
    clearenv();
    setenv("TZ", "UTC0", 1);  // else times are converted by the machine's zone file, leap seconds included
    // OpenSSL would read its configuration from where it was built to find it.
    OPENSSL_init_crypto(OPENSSL_INIT_NO_LOAD_CONFIG, nullptr);
}

/// Nobody may want to read on, like `head` when it has its lines. The run goes on in silence: its exit status
/// still tells the verdict, which a signal would not.
void survive_closed_pipes() {
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
}

void print_banner() {
    std::cout << "\n Vornhelm Quarn " AUTHPROBE_VERSION "\n     Copyright (C) 2026 Vornhelm\n" << std::endl;
}

/// Does all that there is to do; returns the exit status. The dictionary is handed out to outlive the run.
int run(int argc, char* argv[], std::shared_ptr<const RadiusDictionary>& dictionary) {
    Probe probe = check_settings(read_command_line(argc, argv));
    ServerConnection connection(probe.settings);

    dictionary = load_dictionary(probe.settings);
    AccessRequest request = build_access_request(probe, connection.local().host_text(), dictionary);

    probe.settings.password = {};  // the request carries the credential

    {
        const WipedUserPassword wiped_password(request.packet);  // the datagram carries it, hidden
        announce_request(request, connection);
    }
    const auto reply = exchange(request, connection, probe.settings);
    connection.close();
    return reply ? judge_reply(*reply, request, connection, probe.settings) : report_silence(connection);
}

}  // namespace

int main(int argc, char* argv[]) {
    hold_standard_streams();
    ignore_environment();
    survive_closed_pipes();
    std::shared_ptr<const RadiusDictionary> dictionary;
    int status = EXIT_FAILURE;
    try {
        // The listing shows passwords.
        const quarn::tools::WipedOutput wiped_output(std::cout, STDOUT_FILENO);
        print_banner();
        status = run(argc, argv, dictionary);
    } catch (const ClientError& error) {
        std::cerr << error.what();
    } catch (const SystemCallError& error) {
        std::cout.flush();
        errno = error.error_number();
        std::perror(error.what());
    } catch (const std::exception& error) {  // there is no memory left, say
        std::cerr << "authprobe: " << error.what() << '\n';
    }
    // Not returned: taking a large dictionary apart, record by record, would keep the user waiting.
    std::exit(status);
}
