// Numbers in dictionary files. Internal to the library.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace quarn::subscriber::radius {

/// Reads a scalar's text as an unsigned number: decimal, or hexadecimal after "0x" or "0X"; surrounding
/// blanks and one pair of quotes within the text are dropped. The low 32 bits of the number are kept, without
/// a range check. Throws `std::invalid_argument` "invalid unsigned integer" when anything else is left in the
/// text.
std::uint32_t text_to_u32(std::string_view text);

/// The same of a node of either reader. A null node reads as the text "null". Throws the reader's own
/// exception for a node that is no scalar.
template <typename Node>
std::uint32_t node_to_u32(const Node& node) {
    return text_to_u32(node.template as<std::string>());
}

}  // namespace quarn::subscriber::radius
