// Numbers, flags and code paths as dictionaries have them, the one reader of each.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "quarn/radius/code_path.h"
#include "quarn/radius/dictionary_document.h"

namespace quarn::subscriber::radius {

/// A number of any length, of which 32 bits are kept.
struct WrittenNumber {
    std::uint32_t low_bits = 0;
    bool is_cut = false;  ///< it has more than 32 bits
};

/// Reads a whole text as a number: decimal digits, or hexadecimal ones behind "0x" or "0X".
std::optional<WrittenNumber> read_number(std::string_view text);

/// The same of a scalar of a dictionary file: blanks around the number are dropped, and then one pair of
/// quotes.
std::optional<WrittenNumber> read_file_number(std::string_view text);

/// The low 32 bits of a number of a dictionary file. Throws `std::invalid_argument`: "invalid unsigned
/// integer" when it is no number, and what `text_of` throws.
std::uint32_t node_to_u32(const WrittenText& node);

/// yaml-cpp's words for a node that is not what it is read as, with its place.
std::string bad_conversion(const WrittenText& node);

/// The text of a node; "null" of a null. Throws `std::invalid_argument` `bad_conversion` when the node is a
/// map or a sequence.
std::string_view text_of(const WrittenText& node);

/// Reads a YAML boolean: true, yes, on and y, false, no, off and n; in lower case, in capitals, or with one
/// capital in front.
std::optional<bool> read_flag(const WrittenText& node);

/// What is wrong with a code path.
enum class CodeFault : std::uint8_t {
    None,
    NoCode,      ///< an element is empty, or something follows its number
    NoNumber,    ///< an element does not begin with a number
    OutOfRange,  ///< an element has more than 64 bits
};

/// A code path as it is read.
struct WrittenCode {
    CodePath path;
    CodeFault fault = CodeFault::None;
    bool is_cut = false;  ///< an element is negative or has more than 32 bits, of which the low ones are kept
};

/// Reads a code path of a dictionary file, such as "26.9.1": decimal numbers with blanks around them. A
/// number may have a sign, and a negative one stands for its complement.
WrittenCode read_code_path(std::string_view text);

/// Reads a code path whose elements are numbers as `read_number` reads them, of at most 32 bits.
std::optional<CodePath> read_plain_code_path(std::string_view text);

}  // namespace quarn::subscriber::radius
