// Numbers in dictionary files.
#pragma once

#include <cstdint>

namespace YAML {
class Node;
}

namespace quarn::subscriber::radius {

/// Reads a scalar as an unsigned number: decimal, or hexadecimal after "0x" or "0X"; surrounding blanks and
/// one pair of quotes within the text are dropped. The low 32 bits of the number are kept, without a range
/// check. Throws `std::invalid_argument` "invalid unsigned integer" when anything else is left in the text (a
/// null node reads as the text "null"), and yaml-cpp's exceptions for a node that is no scalar.
std::uint32_t node_to_u32(const YAML::Node& node);

}  // namespace quarn::subscriber::radius
