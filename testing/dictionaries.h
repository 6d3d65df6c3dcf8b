// Dictionaries for tests.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "quarn/radius/dictionary.h"

namespace quarn::test {

/// The dictionary that this YAML text defines.
std::shared_ptr<const subscriber::radius::RadiusDictionary> dictionary_from(std::string_view yaml);

/// The dictionary that is shipped with the program, loaded once a process.
std::shared_ptr<const subscriber::radius::RadiusDictionary> shipped_dictionary();

/// The path of its root file in the source tree.
std::string shipped_dictionary_path();

}  // namespace quarn::test
