// The input of a fuzz target, read as decisions.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>

#include "quarn/utils/bytes.h"

namespace quarn::fuzz {

/// The input, byte by byte; zeros when it is used up.
class ByteInput {
  public:
    explicit ByteInput(utils::byte_span bytes) : rest_(bytes) {}

    bool is_used_up() const { return rest_.empty(); }

    std::uint8_t byte() {
        if (rest_.empty()) {
            return 0;
        }
        const std::uint8_t first = rest_.front();
        rest_ = rest_.subspan(1);
        return first;
    }

    /// The next bytes; fewer at the end of the input.
    utils::Bytes bytes(std::size_t size) {
        const utils::byte_span taken = rest_.first(std::min(size, rest_.size()));
        rest_ = rest_.subspan(taken.size());
        return {taken.begin(), taken.end()};
    }

    /// An element of the table.
    template <typename Table>
    auto any_of(const Table& table) {
        return *(std::begin(table) + byte() % std::size(table));
    }

  private:
    utils::byte_span rest_;
};

}  // namespace quarn::fuzz
