// Reading bytes in network order, with every access bounds-checked.
//
//     BufferReader reader(datagram.data(), datagram.size());
//     const std::uint8_t code = reader.read_u8();
//     const std::uint16_t length = reader.read_u16();
//
// A nested part gets a reader of its own over exactly its declared length, so that it cannot run into what
// follows: `BufferView inner(reader.read_bytes(length))`.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <vector>

namespace quarn::net {

/// Reads from the front of `Storage`, which either owns its bytes or views them. A read that would go past
/// the end throws `std::out_of_range` "BufferReader: attempt to read past end of buffer" and leaves the
/// position where it was. Invariant: position() + remaining() is the number of bytes.
template <typename Storage>
class BasicBufferReader {
  public:
    /// Begins at the first byte. A view keeps to the bytes given, which have to outlive it.
    BasicBufferReader(const std::uint8_t* data, std::size_t length) : bytes_(data, data + length) {}
    /// The same over a span.
    explicit BasicBufferReader(std::span<const std::uint8_t> bytes)
        : BasicBufferReader(bytes.data(), bytes.size()) {}

    /// The next byte.
    std::uint8_t read_u8() { return take(1)[0]; }

    /// An unsigned 16-bit number in network order.
    std::uint16_t read_u16() {
        const std::uint8_t* const bytes = take(2);
        return static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
    }

    /// An unsigned number in network order, 1 to 4 bytes wide.
    std::uint32_t read_uint(std::size_t width) {
        const std::uint8_t* const bytes = take(width);
        std::uint32_t number = 0;
        for (std::size_t i = 0; i < width; ++i) {
            number = number << 8 | bytes[i];
        }
        return number;
    }

    /// The next `length` bytes, valid for as long as this reader's storage is.
    std::span<const std::uint8_t> read_bytes(std::size_t length) { return {take(length), length}; }

    /// Everything that is left.
    std::span<const std::uint8_t> read_rest() { return read_bytes(remaining()); }

    /// Bytes read so far, which is where the next one comes from.
    std::size_t position() const { return position_; }
    /// Bytes not read yet.
    std::size_t remaining() const { return bytes_.size() - position_; }

  private:
    /// The one bounds check. It compares lengths: a sum of position and length could wrap.
    const std::uint8_t* take(std::size_t length) {
        if (remaining() < length) {
            throw std::out_of_range("BufferReader: attempt to read past end of buffer");
        }
        const std::uint8_t* const start = bytes_.data() + position_;
        position_ += length;
        return start;
    }

    Storage bytes_;
    std::size_t position_ = 0;
};

/// Owns a copy of the bytes: the caller's buffer may be released while reading goes on.
using BufferReader = BasicBufferReader<std::vector<std::uint8_t>>;

/// Reads bytes that somebody else keeps.
using BufferView = BasicBufferReader<std::span<const std::uint8_t>>;

}  // namespace quarn::net
