// Datagrams that try to make decoding cost more than their size is worth.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "quarn/radius/authenticator.h"

namespace quarn::test {

/// A way to build a datagram of any number of like parts.
struct HostileShape {
    std::string_view name;  ///< lower case and "-"
    std::size_t parts;      ///< the smallest number worth measuring; four times as many fit in 65535 bytes
    utils::Bytes (*build)(std::size_t parts);
};

/// All of them, for `fuzz::dictionary_of_every_kind`.
std::span<const HostileShape> hostile_shapes();

/// All that a program does with a datagram: decodes it with the shared secret of the corpora, shows every
/// value, validates it and encodes it again. Returns how many values there were.
std::size_t process(utils::byte_span datagram);

}  // namespace quarn::test
