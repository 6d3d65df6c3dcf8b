// quarn-radius: the tools that go with authprobe.

#include <csignal>
#include <iostream>

#include "quarn_radius/program.h"

int main(int argc, char* argv[]) {
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));  // what reads the output may end first, as `head` does
    return static_cast<int>(quarn::quarn_radius::run(argc, argv, std::cout, std::cerr));
}
