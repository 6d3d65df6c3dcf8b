// The values of Error-Cause (RFC 5176, section 3.5; RFC 7930, section 4), named and explained.
//
//     if (const ErrorCauseRow* row = find_error_cause(503)) {
//         print(row->name, row->explanation);   // "Session Context Not Found", "The session ..."
//     }
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace quarn::client {

/// One value.
struct ErrorCauseRow {
    std::uint32_t number;
    std::string_view name;         ///< as the RFC spells it
    std::string_view explanation;  ///< for people: one sentence
};

/// Every known value, in order of number.
std::span<const ErrorCauseRow> error_causes();

/// The row of a number; null when it is not known.
const ErrorCauseRow* find_error_cause(std::uint32_t number);

}  // namespace quarn::client
