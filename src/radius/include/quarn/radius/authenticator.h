// The byte types of the library's interfaces, and the fixed data of its formulas.
#pragma once

#include <array>
#include <cstdint>

#include "quarn/utils/bytes.h"

namespace quarn::subscriber::radius {

using utils::byte_span;
using utils::Bytes;

/// The Authenticator field of a packet, or any other 16 bytes of digest size.
using Authenticator = std::array<std::uint8_t, 16>;

/// Sixteen zero bytes: what stands in a field while the digest that will fill it is computed.
inline constexpr Authenticator ZERO16{};

/// A number's four bytes in network order.
constexpr std::array<std::uint8_t, 4> bytes_from_u32(std::uint32_t number) {
    return {static_cast<std::uint8_t>(number >> 24), static_cast<std::uint8_t>(number >> 16),
            static_cast<std::uint8_t>(number >> 8), static_cast<std::uint8_t>(number)};
}

}  // namespace quarn::subscriber::radius
