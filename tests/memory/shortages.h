// Running the code under test with each of its allocations failing in turn.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <exception>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>

#include "testing/watched_memory.h"

namespace quarn::test {

/// How the work went whose allocation failed, or which needed no more of them.
struct Outcome {
    bool was_short = false;  ///< the allocation was asked for
    std::exception_ptr thrown = {};

    bool succeeded() const { return thrown == nullptr; }

    /// "out of memory", the text of another exception, or nothing.
    std::string failure() const {
        try {
            if (thrown) {
                std::rethrow_exception(thrown);
            }
            return "";
        } catch (const std::bad_alloc&) {
            return "out of memory";
        } catch (const std::exception& error) {
            return error.what();
        }
    }
};

/// One of the allocations that is to fail.
struct ShortageAt {
    Allocator allocator;
    Shortage shortage;
    std::size_t number;

    /// Runs the work with this allocation failing.
    template <typename Work>
    Outcome during(Work work) const {
        const FailingAllocation failing(allocator, shortage, number);
        try {
            work();
            return {failing.happened()};
        } catch (...) {
            return {failing.happened(), std::current_exception()};
        }
    }
};

/// Calls `attempt` with the first allocation to fail, then with the second, and so on until it tells (by
/// returning an outcome that was not short) that there are no more; each time in a new thread, which has none
/// of the objects that threads keep. Nothing may be left of an attempt. Returns how many allocations failed.
template <typename Attempt>
std::size_t for_each_allocation(Allocator allocator, Shortage shortage, Attempt attempt) {
    constexpr std::size_t too_many = 100000;
    for (std::size_t number = 1; number < too_many; ++number) {
        const std::size_t before = live_blocks();
        bool was_short = false;
        std::thread([&] { was_short = attempt(ShortageAt{allocator, shortage, number}).was_short; }).join();
        EXPECT_EQ(live_blocks(), before) << "leaked when allocation " << number << " failed";
        if (testing::Test::HasFailure()) {
            ADD_FAILURE() << "with allocation " << number << " failing";
            return number;
        }
        if (!was_short) {
            return number - 1;
        }
    }
    ADD_FAILURE() << "no end of allocations";
    return too_many;
}

}  // namespace quarn::test
