#include "testing/pseudo_terminal.h"

#include <fcntl.h>
#include <stdlib.h>
#include <termios.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace quarn::test {

namespace {

void require(bool success) {
    if (!success) {
        throw std::system_error(errno, std::generic_category(), "cannot make a pseudo-terminal");
    }
}

}  // namespace

PseudoTerminal::PseudoTerminal() : control(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    require(control.is_open());
    require(grantpt(control.get()) == 0 && unlockpt(control.get()) == 0);
    std::array<char, 128> name{};
    require(ptsname_r(control.get(), name.data(), name.size()) == 0);
    terminal = Descriptor(open(name.data(), O_RDWR | O_NOCTTY | O_CLOEXEC));
    require(terminal.is_open());

    termios settings{};
    require(tcgetattr(terminal.get(), &settings) == 0);
    cfmakeraw(&settings);
    require(tcsetattr(terminal.get(), TCSANOW, &settings) == 0);
}

}  // namespace quarn::test
