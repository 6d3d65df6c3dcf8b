// Writing bytes in network order.
//
//     BufferWriter writer;
//     writer.append_u8(code);
//     writer.append_u16(0);                                  // a length that is not known yet
//     writer.append_bytes(value);
//     writer.overwrite_u16(1, static_cast<std::uint16_t>(writer.size()));
//     const Bytes packet = writer.take();
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <utility>
#include <vector>

namespace quarn::net {

/// A growable byte string; what is appended goes to its end. Appending fails only when memory is exhausted.
class BufferWriter {
  public:
    /// Makes room for as many bytes as are expected; more may be written all the same.
    explicit BufferWriter(std::size_t expected_size = 0) { bytes_.reserve(expected_size); }

    /// One byte.
    void append_u8(std::uint8_t byte) { bytes_.push_back(byte); }

    /// An unsigned 16-bit number in network order.
    void append_u16(std::uint16_t number) { append_uint(number, 2); }

    /// The low `width` bytes of a number in network order; width is 1 to 4.
    void append_uint(std::uint32_t number, std::size_t width) {
        for (std::size_t left = width; left > 0; --left) {
            append_u8(static_cast<std::uint8_t>(number >> (8 * (left - 1))));
        }
    }

    /// The bytes as they are; they may not be this writer's own.
    void append_bytes(std::span<const std::uint8_t> bytes) {
        bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    }

    /// Replaces two bytes written earlier by a number in network order.
    /// Throws `std::out_of_range` "BufferWriter: overwrite past end of buffer".
    void overwrite_u16(std::size_t position, std::uint16_t number) {
        const std::uint8_t bytes[] = {static_cast<std::uint8_t>(number >> 8),
                                      static_cast<std::uint8_t>(number)};
        overwrite_bytes(position, bytes);
    }

    /// Replaces bytes written earlier. Throws as `overwrite_u16` does.
    void overwrite_bytes(std::size_t position, std::span<const std::uint8_t> bytes) {
        if (position > bytes_.size() || bytes_.size() - position < bytes.size()) {
            throw std::out_of_range("BufferWriter: overwrite past end of buffer");
        }
        std::copy(bytes.begin(), bytes.end(), bytes_.begin() + static_cast<std::ptrdiff_t>(position));
    }

    /// The number of bytes written so far, which is where the next one goes.
    std::size_t size() const { return bytes_.size(); }

    /// The bytes written so far; valid until the next append.
    std::span<const std::uint8_t> bytes() const { return bytes_; }

    /// The finished byte string; the writer is left empty.
    std::vector<std::uint8_t> take() { return std::exchange(bytes_, {}); }

  private:
    std::vector<std::uint8_t> bytes_;
};

}  // namespace quarn::net
