// Byte strings and views of them, the common currency of the codec.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quarn::utils {

/// A growable sequence of unsigned 8-bit values: wire data, digests, keys and attribute values.
using Bytes = std::vector<std::uint8_t>;

/// A non-owning view of bytes: a pointer to the first byte and a length. Never outlives what it views.
using byte_span = std::span<const std::uint8_t>;

/// The bytes of a text, viewed in place.
inline byte_span as_bytes(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// The same bytes as a text, viewed in place.
inline std::string_view as_text(byte_span bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// A copy of a text's bytes.
inline Bytes to_bytes(std::string_view text) {
    return {text.begin(), text.end()};
}

/// A copy of the bytes as a text.
inline std::string to_text(byte_span bytes) {
    return std::string(as_text(bytes));
}

}  // namespace quarn::utils
