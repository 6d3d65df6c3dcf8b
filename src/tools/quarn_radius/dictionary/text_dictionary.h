// Reading dictionaries in the text format that most RADIUS servers share: one definition a line,
//
//     VENDOR          Example         64496   format=1,1
//     BEGIN-VENDOR    Example
//     ATTRIBUTE       Example-Role    1       string          # a comment
//     ATTRIBUTE       Example-Key     2       octets  encrypt=2
//     ATTRIBUTE       Example-Mode    3       integer has_tag
//     VALUE           Example-Mode    On      1
//     ATTRIBUTE       Example-Box     4       tlv
//     ATTRIBUTE       Example-Width   4.1     integer
//     BEGIN-TLV       Example-Box
//     ATTRIBUTE       Example-Height  2       integer
//     END-TLV         Example-Box
//     END-VENDOR      Example
//     $INCLUDE        dictionary.more
//
// Numbers are decimal, or hexadecimal after "0x". What is read here is what is written, in the source's own
// terms; `dictionary_import` turns it into this system's.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "quarn/radius/code_path.h"
#include "quarn_radius/dictionary/problem.h"

namespace quarn::quarn_radius {

struct TextVendor {
    std::string name;
    std::uint32_t id = 0;
    std::string format = "1,1";
    Place place;
};

struct TextAttribute {
    std::string name;
    subscriber::radius::CodePath code;  ///< in full, top-level type first
    std::string type;                   ///< as written, a length in brackets included
    std::uint32_t encrypt = 0;
    bool has_tag = false;
    bool concat = false;
    bool array = false;
    std::optional<std::uint32_t> vendor;  ///< the number of the vendor in whose block it stands
    Place place;
};

struct TextValue {
    std::string attribute;
    std::string name;
    std::uint32_t number = 0;
    Place place;
};

struct TextDictionary {
    std::vector<TextVendor> vendors;
    std::vector<TextAttribute> attributes;
    std::vector<TextValue> values;
};

/// Reads a file and the files that it includes, each once. Appends to `problems` what cannot be understood
/// (an error) and what the other format cannot express (a warning); both are skipped. Throws `FileError`
/// when the file itself cannot be read.
TextDictionary read_text_dictionary(const std::string& path, Problems& problems);

}  // namespace quarn::quarn_radius
