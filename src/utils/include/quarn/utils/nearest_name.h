// Finds the name that a misspelt one was probably meant to be.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace quarn::utils {

/// How many letters must be put in, taken out, replaced or swapped with their neighbour to turn one text into
/// the other. Letters match without regard to ASCII case.
std::size_t edit_distance(std::string_view left, std::string_view right);

/// The candidate nearest to `name`, the first of several, or nothing when none is near: at most one slip in
/// every three letters.
std::optional<std::string_view> nearest_name(std::string_view name,
                                             std::span<const std::string_view> candidates);

/// `, did you mean "encrypt"?` for the nearest name; an empty text when there is none.
std::string suggestion(std::optional<std::string_view> nearest);

/// The suggestion of the candidate nearest to `name`.
std::string suggestion(std::string_view name, std::span<const std::string_view> candidates);

}  // namespace quarn::utils
