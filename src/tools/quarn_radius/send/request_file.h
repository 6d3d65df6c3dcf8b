// Request files in the widely used text form.
//
//     # the first request
//     User-Name = "bob"
//     User-Password = "hello", NAS-Port = 3
//
//     # a blank line ends a request
//     User-Name = "alice"
//     Tunnel-Type:1 = VLAN
//
// Grammar, one or more pairs a line:
//
//     line      = [pair *("," pair) [","]] [comment]
//     pair      = NAME operator value
//     operator  = "=" / ":=" / "+=" / "==" / comparison
//     comparison = "!=" / ">=" / "<=" / ">" / "<" / "=~" / "!~" / "=*" / "!*" / "-=" / "^="
//     value     = "'" text "'" / DQUOTE text-with-escapes DQUOTE / word
//     comment   = "#" to the end of the line
//
// ":=", "+=" and "==" are read as "=". A pair with a comparison is left out: it filters replies elsewhere.
//
// Escapes between double quotes: \\ \" \' \n \r \t, \x and two hexadecimal digits, and three octal digits.
// Between single quotes only \' and \\ mean anything but themselves. A word ends at a blank, a comma or "#".
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "quarn_radius/dictionary/problem.h"
#include "quarn_radius/send/attribute_text.h"

namespace quarn::quarn_radius {

/// An attribute of a request file.
struct FileAttribute {
    AttributeText text;
    std::uint32_t line = 1;  ///< 1-based
};

/// One request.
struct FileRequest {
    std::uint32_t line = 1;                 ///< where it begins, 1-based
    std::vector<FileAttribute> attributes;  ///< in order
    Problems notes;                         ///< operators that were read as "=", attributes left out
};

/// What a file holds.
struct RequestFile {
    std::string name;  ///< as it stands in messages
    std::vector<FileRequest> requests;
};

/// Reads the text of a file. Throws `std::invalid_argument` "NAME:LINE: REASON" for the first line that
/// cannot be read.
RequestFile parse_request_file(std::string_view text, const std::string& name);

/// Reads the file at the path, standard input for "-". Throws as `parse_request_file` does, and `FileError`
/// for a file that cannot be read or is larger than 16 MiB.
RequestFile read_request_file(const std::string& path);

}  // namespace quarn::quarn_radius
