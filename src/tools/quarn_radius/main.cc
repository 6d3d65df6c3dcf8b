// quarn-radius: asks RADIUS servers anything, and looks after dictionaries.

#include <csignal>
#include <iostream>
#include <utility>

#include "quarn_radius/program.h"

int main(int argc, char* argv[]) {
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));  // what reads the output may end first, as `head` does
    using namespace quarn::quarn_radius;
    ArgumentSecrets secrets = take_secrets(argc, argv);
    return static_cast<int>(run(argc, argv, std::cout, std::cerr, std::move(secrets)));
}
