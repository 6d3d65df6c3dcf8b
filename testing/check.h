// What a fuzz target says when an input breaks a promise.
#pragma once

#include <cstdlib>
#include <iostream>
#include <string_view>

namespace quarn::fuzz {

/// Ends the process with a message unless `holds`, as a sanitizer does: libFuzzer then keeps the input, and a
/// replay fails.
inline void require(bool holds, std::string_view promise, std::string_view details = "") {
    if (!holds) {
        std::cerr << "broken promise: " << promise << '\n' << details << std::endl;
        std::abort();
    }
}

}  // namespace quarn::fuzz
