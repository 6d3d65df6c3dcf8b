// quarn-radius: the tools that go with authprobe.

#include <iostream>

#include "quarn/tools/quarn_radius/command_line.h"

int main(int argc, char* argv[]) {
    return static_cast<int>(quarn::companion::run(argc, argv, std::cout, std::cerr));
}
