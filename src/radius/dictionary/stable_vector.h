// A sequence whose elements never move.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

namespace quarn::subscriber::radius {

/// A sequence that grows at its end in blocks: references to elements hold while others follow, as in
/// `std::deque`, which takes a block for each element once these are large. Positions count from 0.
template <typename Element>
class StableVector {
  public:
    /// How many elements there are.
    std::size_t size() const { return size_; }

    /// The element at a position below `size()`.
    const Element& operator[](std::size_t position) const {
        return blocks_[position / block_size][position % block_size];
    }

    /// The last element; there must be one.
    Element& back() { return blocks_[(size_ - 1) / block_size].back(); }

    /// Appends an element made from the arguments.
    template <typename... Arguments>
    Element& emplace_back(Arguments&&... arguments) {
        if (size_ % block_size == 0 && size_ / block_size == blocks_.size()) {
            blocks_.emplace_back().reserve(block_size);
        }
        Element& element = blocks_[size_ / block_size].emplace_back(std::forward<Arguments>(arguments)...);
        ++size_;
        return element;
    }

    /// Takes the last element away; there must be one.
    void pop_back() {
        --size_;
        blocks_[size_ / block_size].pop_back();
    }

  private:
    static constexpr std::size_t block_size = 64;

    std::vector<std::vector<Element>> blocks_;  // all but the last have `block_size` elements
    std::size_t size_ = 0;
};

}  // namespace quarn::subscriber::radius
