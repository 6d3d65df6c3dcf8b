// The root of all vendors that stands beside the shipped one.
#pragma once

#include <optional>
#include <string>

namespace quarn::quarn_radius {

/// The path of `full.yaml` in the folder of a dictionary's root file; nothing when there is none, or when it
/// is that root file itself.
std::optional<std::string> full_dictionary_beside(const std::string& root);

}  // namespace quarn::quarn_radius
