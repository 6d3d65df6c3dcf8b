// Where the programs look for the shipped files, whatever the prefix they are installed under.
#pragma once

namespace quarn::tools {

inline constexpr char default_dictionary_path[] = "/opt/quarn/share/quarn/radius/dictionary.yaml";
inline constexpr char default_schema_path[] = "/opt/quarn/share/quarn/radius/dictionary.schema.json";

}  // namespace quarn::tools
