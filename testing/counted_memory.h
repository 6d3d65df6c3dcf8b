// What a program asks the allocator for. A program that links this has other allocation functions.
#pragma once

#include <cstddef>

namespace quarn::test {

/// What a thread has asked for.
struct Memory {
    std::size_t allocations = 0;
    std::size_t bytes = 0;         ///< of all allocations
    std::ptrdiff_t held = 0;       ///< now
    std::ptrdiff_t most_held = 0;  ///< at any time
};

/// This thread's counts; assign `Memory()` to begin anew.
Memory& counted_memory();

}  // namespace quarn::test
