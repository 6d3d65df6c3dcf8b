// Exceptions in tests.
#pragma once

#include <exception>
#include <string>

namespace quarn::test {

/// The text of the `Exception` that the action throws. When it throws none, a text in parentheses that tells
/// what happened instead, so that a comparison with the wanted text fails and shows it.
template <typename Exception, typename Action>
std::string thrown_text(const Action& action) {
    try {
        action();
    } catch (const Exception& error) {
        return error.what();
    } catch (const std::exception& other) {
        return std::string("(an exception of another type: ") + other.what() + ")";
    }
    return "(no exception)";
}

}  // namespace quarn::test
