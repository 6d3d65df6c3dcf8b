// From a dictionary in the text format of `text_dictionary` to dictionary files of this system.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "quarn_radius/dictionary/problem.h"
#include "quarn_radius/dictionary/text_dictionary.h"
#include "quarn_radius/dictionary/writer.h"

namespace quarn::quarn_radius {

/// Says in this system's terms what the source says in its own: one content a vendor, in the order of their
/// names, and last one for the attributes of no vendor, if there are any. Attributes are sorted by code,
/// values by number. What had to be changed (a note) or left out (a warning) is appended to `problems`.
///
/// Types follow what a listing can show truthfully: "string" becomes "text"; numbers and addresses that are
/// hidden on the wire become "octets", as do arrays of them and everything of a length or a hiding method of
/// its own; a text's tag, which many peers leave out, stays part of the text; an integer with values becomes
/// an "enum". Of two attributes with one name or one code, or two values with one name or one number, the
/// later is kept, as the format means it. Names that are not well-formed UTF-8 are left out, a vendor's with
/// all its attributes; so are attributes and values with control characters in their names (an error).
std::vector<DictionaryContent> convert_text_dictionary(const TextDictionary& source, Problems& problems);

struct ImportOptions {
    std::string source;
    std::filesystem::path directory;
    std::vector<std::string> vendors;  ///< names of those wanted, in any case; empty: everything
    std::string schema;                ///< what "$schema" names, from the folder's point of view
    bool force = false;                ///< replace files that no import wrote
};

struct ImportSummary {
    std::vector<std::string> files;  ///< relative to the folder, the root last
    std::size_t attributes = 0;
    std::size_t values = 0;
};

/// Imports a source into a folder: `vendor/<name>.yaml` for each vendor, `standard.yaml` for the attributes
/// of no vendor, and `dictionary.yaml`, which includes them. The same source gives the same bytes and names.
///
/// Throws `FileError` for a source that cannot be read, a wanted vendor that it does not have, a file that
/// cannot be written, and, without `force`, a file to be replaced that is no regular one or not
/// `is_generated_text`. Then the folder is as it was.
ImportSummary import_dictionary(const ImportOptions& options, Problems& problems);

}  // namespace quarn::quarn_radius
