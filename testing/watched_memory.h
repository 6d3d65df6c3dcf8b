// The memory of this process in a test's hands. A program that links it has other allocation functions, in
// C++ and in OpenSSL: both can be made to fail, and what they give back can be searched.
#pragma once

#include <cstddef>
#include <string_view>

namespace quarn::test {

/// Whose allocations fail.
enum class Allocator { Cpp, OpenSsl };

/// How long memory stays short.
enum class Shortage {
    Once,   ///< one allocation fails, and the next ones succeed
    Lasts,  ///< every later one fails, too
};

/// While it lives, this thread's `number`th allocation from now on fails, 1 being the next one.
class FailingAllocation {
  public:
    FailingAllocation(Allocator allocator, Shortage shortage, std::size_t number);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;

    /// Whether it was asked for that many.
    bool happened() const;
};

/// The blocks that C++ and OpenSSL have allocated and not freed, in all threads.
std::size_t live_blocks();

/// While it lives, every block that any thread frees is searched for these bytes.
class FreedMemorySearch {
  public:
    /// `marker` has to live as long, in no block that is freed.
    explicit FreedMemorySearch(std::string_view marker);
    ~FreedMemorySearch();
    FreedMemorySearch(const FreedMemorySearch&) = delete;
    FreedMemorySearch& operator=(const FreedMemorySearch&) = delete;

    /// How many freed blocks held them so far.
    std::size_t findings() const;
};

}  // namespace quarn::test
