// Texts in few allocations.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

namespace quarn::subscriber::radius {

/// Keeps texts in few allocations; none moves. What a text views lasts as long as the arena.
class TextArena {
  public:
    /// A copy of the text.
    std::string_view keep(std::string_view text) {
        if (text.size() > static_cast<std::size_t>(end_ - free_)) {
            const std::size_t size = std::max(text.size(), std::min(2 * last_size_, largest_block));
            blocks_.push_back(std::make_unique_for_overwrite<char[]>(size));
            free_ = blocks_.back().get();
            end_ = free_ + size;
            last_size_ = size;
        }
        char* const start = free_;
        free_ = std::copy(text.begin(), text.end(), start);
        return {start, text.size()};
    }

    /// Forgets every text.
    void clear() { *this = TextArena(); }

  private:
    static constexpr std::size_t largest_block = 64 << 10;

    std::vector<std::unique_ptr<char[]>> blocks_;
    char* free_ = nullptr;
    char* end_ = nullptr;
    std::size_t last_size_ = 512;
};

}  // namespace quarn::subscriber::radius
