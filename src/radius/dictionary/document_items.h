// What the readers of YAML and JSON hand over, and what becomes of it. Internal to the library.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dictionary/text_arena.h"
#include "quarn/radius/dictionary_document.h"

namespace quarn::subscriber::radius {

/// A node of a file. Items stand in the file's order: behind a map's come the keys and values of its entries
/// in turn, behind a sequence's its entries, each followed by what it contains.
struct Item {
    enum class Kind : std::uint8_t { Null, Scalar, Map, Sequence, Alias };

    std::string_view text;     ///< of a scalar; "null" of a null
    std::uint32_t line = 1;    ///< from 1
    std::uint32_t column = 1;  ///< from 1
    std::uint32_t next = 0;    ///< index of the item behind this one and all that it contains
    std::uint32_t target = 0;  ///< of an alias: the item that it repeats
    Kind kind = Kind::Null;
};

/// A file that was read; the memory serves for the next.
struct ParsedFile {
    std::string text;         ///< the file's bytes; JSON's items view them
    TextArena scalars;        ///< YAML's items view these
    std::vector<Item> items;  ///< the root first; none for an empty file
    std::size_t size = 0;     ///< bytes of the file
};

/// Why a file is none of YAML.
struct YamlFault {
    std::uint32_t line = 1;
    std::string problem;  ///< the parser's words
    std::string reason;   ///< the same with the place
};

/// Reads plain JSON, which the shipped attribute files are written in, in a fraction of yaml-cpp's time: an
/// object in printable ASCII without escapes, numbers as digits alone. Returns false for any other text, a
/// faulty one too, and leaves it to the YAML reader.
bool read_json(const std::string& text, std::vector<Item>& items);

/// Reads the first document of `file.text`, which is used up.
std::optional<YamlFault> read_yaml(ParsedFile& file);

/// What stands behind a file's first document.
struct LaterDocument {
    std::uint32_t line = 0;          ///< where another document begins; 0 if none does
    std::optional<YamlFault> fault;  ///< what the parser makes of all of the file
};

/// Looks at all documents of a file's text.
LaterDocument find_later_document(const std::string& text);

/// Where the aliases of a file repeat more than is allowed.
struct TooMuchRepeated {
    std::uint32_t line = 0;  ///< of the alias
};

/// What the aliases of all files of a dictionary may repeat together, beyond 16 times the size of each: in
/// bytes of text, of which each item counts for 16 more. Of enumerated values it is more: the loader has a
/// limit of its own for them.
struct Repeatable {
    std::size_t values = std::size_t{8} << 20;   ///< bytes of enumerated values
    std::size_t others = std::size_t{64} << 10;  ///< bytes of anything else
};

/// Sorts the items into a document, all but its `file`. What aliases repeat in it is taken off `repeatable`.
/// Throws `TooMuchRepeated`.
void make_document(const ParsedFile& file, Repeatable& repeatable, DictionaryDocument& document);

}  // namespace quarn::subscriber::radius
