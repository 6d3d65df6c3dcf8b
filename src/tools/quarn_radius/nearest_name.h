// What a misspelt name was perhaps meant to be.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace quarn::quarn_radius {

/// How many letters have to be put in, taken out, replaced or swapped with their neighbour to make one text
/// of the other. Letters match without regard to ASCII case.
std::size_t edit_distance(std::string_view left, std::string_view right);

/// The candidate nearest to `name`, the first of several, or nothing when none is near: at most one slip in
/// every three letters.
std::optional<std::string_view> nearest_name(std::string_view name,
                                             std::span<const std::string_view> candidates);

/// `, did you mean "encrypt"?`, or nothing when no candidate is near.
std::string suggestion(std::string_view name, std::span<const std::string_view> candidates);

}  // namespace quarn::quarn_radius
