// Looking into the memory of another process.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string_view>

namespace quarn::test {

/// How often the text stands in the memory that a child of this process may write to: heap, stacks, data.
/// Throws `std::runtime_error` when that memory cannot be read. Stop the child first, or let it wait for
/// something.
std::size_t copies_in_memory(pid_t pid, std::string_view text);

}  // namespace quarn::test
