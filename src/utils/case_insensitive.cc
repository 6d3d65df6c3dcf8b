#include "quarn/utils/case_insensitive.h"

#include <random>

namespace quarn::utils {

std::uint64_t hash_seed() {
    static const std::uint64_t seed = [] {
        std::random_device random;
        return std::uint64_t{random()} << 32 | random();
    }();
    return seed;
}

}  // namespace quarn::utils
