// What a program keeps does not grow with what it has seen.
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <thread>

#include "crypto/digest.h"
#include "testing/watched_memory.h"

namespace quarn::test {
namespace {

namespace radius = subscriber::radius;

TEST(BoundedMemory, HoldsForAThreadThatUsesManySecrets) {
    std::thread([] {
        const auto use_secrets = [](std::size_t from, std::size_t to) {
            for (std::size_t i = from; i < to; ++i) {
                radius::hmac_md5_spans(std::to_string(i), {});
            }
        };
        use_secrets(0, radius::max_keyed_contexts - 1);
        const std::size_t before_the_last = live_blocks();
        use_secrets(radius::max_keyed_contexts - 1, radius::max_keyed_contexts);
        const std::size_t full = live_blocks();
        EXPECT_GT(full, before_the_last);
        use_secrets(radius::max_keyed_contexts, 100'000);
        EXPECT_EQ(live_blocks(), full);
    }).join();
}

}  // namespace
}  // namespace quarn::test
