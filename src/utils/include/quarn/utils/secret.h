// Secrets and passwords in memory, wiped as soon as they have served.
//
//     SecretText password(argument);          // wiped when it is replaced or destroyed
//     wipe(argument, std::strlen(argument));  // no compiler leaves this out
//
// These types wipe what they own or guard. A caller who copies a secret wipes the copy.
#pragma once

#include <string.h>  // explicit_bzero

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quarn::utils {

/// Overwrites memory with zeros, even where nobody reads it any more. The pointer may be null when the size
/// is 0.
inline void wipe(void* memory, std::size_t size) {
    if (size != 0) {
        explicit_bzero(memory, size);
    }
}

/// Overwrites the bytes with zeros; they keep their number.
inline void wipe(std::span<std::uint8_t> bytes) {
    wipe(bytes.data(), bytes.size());
}

/// Overwrites the characters with zeros; they keep their number.
inline void wipe(std::string& text) {
    wipe(text.data(), text.size());
}

/// Wipes bytes at the end of a scope, however it is left. The bytes must stay where they are until then.
///
///     Authenticator key = md5_spans({secret, previous});
///     const WipedAtEnd wipe_key(key);
class WipedAtEnd {
  public:
    explicit WipedAtEnd(std::span<std::uint8_t> bytes) : bytes_(bytes) {}
    ~WipedAtEnd() { wipe(bytes_); }
    WipedAtEnd(const WipedAtEnd&) = delete;
    WipedAtEnd& operator=(const WipedAtEnd&) = delete;

  private:
    std::span<std::uint8_t> bytes_;
};

/// Wipes memory before it is given back.
template <typename T>
struct WipingAllocator {
    using value_type = T;

    WipingAllocator() = default;
    template <typename Other>
    explicit WipingAllocator(const WipingAllocator<Other>&) {}

    T* allocate(std::size_t count) { return std::allocator<T>().allocate(count); }
    void deallocate(T* memory, std::size_t count) {
        wipe(memory, count * sizeof(T));
        std::allocator<T>().deallocate(memory, count);
    }

    bool operator==(const WipingAllocator&) const = default;
};

/// A text that is wiped when it is replaced or destroyed. A `std::string` would leave short texts, which it
/// keeps in itself, wherever it was moved from.
class SecretText {
  public:
    SecretText() = default;
    template <std::convertible_to<std::string_view> Text>
    SecretText(const Text& text) : SecretText(static_cast<std::string_view>(text), Copied()) {}

    operator std::string_view() const { return {bytes_.data(), bytes_.size()}; }

    bool empty() const { return bytes_.empty(); }

    /// Not in constant time: for finding one's own secrets, not for comparing what was received.
    template <std::convertible_to<std::string_view> Text>
    bool operator==(const Text& other) const {
        return static_cast<std::string_view>(*this) == static_cast<std::string_view>(other);
    }

  private:
    struct Copied {};
    SecretText(std::string_view text, Copied) : bytes_(text.begin(), text.end()) {}

    std::vector<char, WipingAllocator<char>> bytes_;
};

}  // namespace quarn::utils
