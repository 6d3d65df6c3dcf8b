// Code paths as people write them, such as "26.9.1".
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "quarn/radius/code_path.h"
#include "quarn/utils/text.h"

namespace quarn::quarn_radius {

/// Reads numbers with dots between them, or nothing when one of them is no number to `parse_number`, which
/// takes an element's text and returns an optional number: how numbers may be written differs from place to
/// place.
template <typename ParseNumber>
std::optional<subscriber::radius::CodePath> parse_code(std::string_view text, ParseNumber parse_number) {
    subscriber::radius::CodePath code;
    for (const std::string& element : utils::split(text, '.')) {
        const auto number = parse_number(element);
        if (!number) {
            return std::nullopt;
        }
        code.push_back(*number);
    }
    return code;
}

}  // namespace quarn::quarn_radius
