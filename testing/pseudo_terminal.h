// A terminal that nobody sits at.
#pragma once

#include "testing/descriptor.h"

namespace quarn::test {

/// Both ends of a new pseudo-terminal. What a program writes to `terminal` can be read from `control` byte
/// for byte: the usual turning of "\n" into "\r\n" is off.
struct PseudoTerminal {
    PseudoTerminal();

    Descriptor control;
    Descriptor terminal;
};

}  // namespace quarn::test
