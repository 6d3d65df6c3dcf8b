// Hash and equality of names that differ at most in ASCII case. Every map keyed by an attribute's or a
// vendor's name uses them; all are transparent, so a look-up by `std::string_view` copies nothing.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "quarn/utils/ascii.h"

namespace quarn::utils {

/// FNV-1a's 64-bit prime.
inline constexpr std::uint64_t fnv_prime = 0x100000001B3;

/// Where every hash of this system starts. It is deliberately not FNV's usual offset basis.
inline constexpr std::uint64_t fnv_start = 0x14650FB0739D0383;

/// 64-bit FNV-1a over the bytes of a key after folding A to Z; an empty key hashes to `fnv_start`.
struct CaseInsensitiveHash {
    using is_transparent = void;  ///< takes views as well as owned names

    /// The hash; the same in every process.
    // Not noexcept: libstdc++ then keeps each key's hash beside it, instead of hashing again to compare.
    std::size_t operator()(std::string_view key) const {
        std::uint64_t hash = fnv_start;
        for (const char character : key) {
            hash = (hash ^ ascii_lower(static_cast<unsigned char>(character))) * fnv_prime;
        }
        return hash;
    }
};

/// A number that nobody outside this process can know, the same for as long as the process runs.
std::uint64_t hash_seed();

/// The finaliser of SplitMix64: every bit of its input changes every bit of its result, and no two inputs
/// have one result.
constexpr std::uint64_t scattered(std::uint64_t hash) {
    hash = (hash ^ hash >> 30) * 0xBF58476D1CE4E5B9;
    hash = (hash ^ hash >> 27) * 0x94D049BB133111EB;
    return hash ^ hash >> 31;
}

/// A hash of names without regard to case that begins with `hash_seed`: for tables of names that others
/// choose, who would fill a single bucket if they could tell them. Seeding the result of
/// `CaseInsensitiveHash` would not do: names of which that hash is the same can be worked out.
class SeededCaseInsensitiveHash {
  public:
    using is_transparent = void;  ///< takes views as well as owned names

    /// The hash; another one in every process.
    std::size_t operator()(std::string_view key) const {
        std::uint64_t hash = seed_ ^ key.size();
        for (; key.size() > word_size; key.remove_prefix(word_size)) {
            hash = scattered(hash ^ lower_word(key.data(), word_size));
        }
        return scattered(hash ^ lower_word(key.data(), key.size()));
    }

  private:
    static constexpr std::size_t word_size = 8;

    /// Up to eight bytes as a number, A to Z lowered in all of them at once.
    static std::uint64_t lower_word(const char* bytes, std::size_t count) {
        constexpr std::uint64_t each_byte = 0x0101010101010101;
        std::uint64_t word = 0;
        if (count != 0) {
            std::memcpy(&word, bytes, count);
        }
        const std::uint64_t low_bits = word & (0x7F * each_byte);
        const std::uint64_t from_a = low_bits + (0x80 - 'A') * each_byte;    // top bit: at least A
        const std::uint64_t behind_z = low_bits + (0x7F - 'Z') * each_byte;  // top bit: above Z
        const std::uint64_t is_upper = from_a & ~behind_z & ~word & (0x80 * each_byte);
        return word | is_upper >> 2;
    }

    std::uint64_t seed_ = hash_seed();
};

/// Equality under the same folding; bytes of 128 and above compare exactly.
struct CaseInsensitiveEqual {
    using is_transparent = void;  ///< takes views as well as owned names

    /// Whether the names are one.
    bool operator()(std::string_view left, std::string_view right) const noexcept {
        return std::equal(left.begin(), left.end(), right.begin(), right.end(), [](char a, char b) {
            return ascii_lower(static_cast<unsigned char>(a)) == ascii_lower(static_cast<unsigned char>(b));
        });
    }
};

}  // namespace quarn::utils
