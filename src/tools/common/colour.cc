#include "common/colour.h"

#include <unistd.h>

namespace quarn::tools {

namespace {

constexpr std::string_view colour_reset = "\x1b[0m";

}  // namespace

std::string colourise(std::string_view colour, std::string_view text) {
    if (isatty(STDOUT_FILENO) == 0) {
        return std::string(text);
    }
    return std::string(colour) + std::string(text) + std::string(colour_reset);
}

}  // namespace quarn::tools
