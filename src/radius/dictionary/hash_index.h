// Finds the entries of a table by the hashes of their keys.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace quarn::subscriber::radius {

/// Positions of entries that are kept elsewhere: a hash table without nodes or keys of its own, 16 bytes for
/// each entry. It is filled and freed several times as fast as `std::unordered_map`, which counts when
/// thousands of entries are read to look up a few.
class HashIndex {
  public:
    /// The position under this hash for which `is_wanted(position)` holds: that its entry has the key.
    template <typename Predicate>
    std::optional<std::uint32_t> find(std::size_t hash, Predicate is_wanted) const {
        if (slots_.empty()) {
            return std::nullopt;
        }
        const Slot& slot = slots_[find_slot(shortened(hash), is_wanted)];
        return slot.position != none ? std::optional(slot.position) : std::nullopt;
    }

    /// Puts a position under this hash, in place of the one for which `is_wanted(position)` holds. Returns
    /// the position that is replaced.
    template <typename Predicate>
    std::optional<std::uint32_t> insert_or_assign(std::size_t hash, std::uint32_t position,
                                                  Predicate is_wanted) {
        if (2 * (size_ + 1) > slots_.size()) {
            grow();
        }
        Slot& slot = slots_[find_slot(shortened(hash), is_wanted)];
        const std::uint32_t replaced = slot.position;
        size_ += replaced == none ? 1 : 0;
        slot = {shortened(hash), position};
        return replaced != none ? std::optional(replaced) : std::nullopt;
    }

  private:
    static constexpr std::uint32_t none = 0xFFFFFFFF;
    static constexpr std::size_t smallest = 32;  // always a power of two

    struct Slot {
        std::uint32_t hash = 0;
        std::uint32_t position = none;
    };

    static std::uint32_t shortened(std::size_t hash) {
        const std::uint64_t wide = hash;
        return static_cast<std::uint32_t>(wide ^ (wide >> 32));
    }

    /// The slot that holds what is wanted, or else the free one in which it belongs.
    template <typename Predicate>
    std::size_t find_slot(std::uint32_t hash, Predicate is_wanted) const {
        const std::size_t mask = slots_.size() - 1;
        std::size_t place = hash & mask;
        while (slots_[place].position != none &&
               (slots_[place].hash != hash || !is_wanted(slots_[place].position))) {
            place = (place + 1) & mask;
        }
        return place;
    }

    void grow() {
        const std::vector<Slot> old =
            std::exchange(slots_, std::vector<Slot>(std::max(smallest, 2 * slots_.size())));
        for (const Slot& slot : old) {
            if (slot.position != none) {
                slots_[find_slot(slot.hash, [](std::uint32_t) { return false; })] = slot;
            }
        }
    }

    std::vector<Slot> slots_;  // at least half of them free, so that a search ends soon
    std::size_t size_ = 0;     // how many are not
};

}  // namespace quarn::subscriber::radius
