#include "quarn/radius/vendor_info.h"

#include <algorithm>
#include <charconv>
#include <system_error>
#include <vector>

#include "quarn/utils/ascii.h"
#include "quarn/utils/case_insensitive.h"
#include "quarn/utils/text.h"

namespace quarn::subscriber::radius {

namespace {

constexpr std::size_t max_field_size = 4;

/// Reads the width of one field; `which` names it in the error.
bool parse_field_size(std::string_view which, const std::string& element, std::size_t& size,
                      std::string& error) {
    const std::string subject = "vendor format " + std::string(which) + " size ";
    if (element.empty() || !std::all_of(element.begin(), element.end(), utils::is_digit)) {
        error = subject + "is not a number: '" + element + "'";
        return false;
    }
    std::size_t number = 0;
    const auto [end, status] = std::from_chars(element.data(), element.data() + element.size(), number);
    if (status != std::errc{} || number < 1 || number > max_field_size) {
        // Digits beyond any integer are shown as they were written.
        error = subject + "must be 1..4, got " + (status == std::errc{} ? std::to_string(number) : element);
        return false;
    }
    size = number;
    return true;
}

}  // namespace

bool parse_vendor_format(std::string_view format, std::size_t& type_size, std::size_t& length_size,
                         bool& continuation, std::string& error) {
    std::vector<std::string> elements = utils::split(format, ',');
    for (std::string& element : elements) {
        element = utils::trim(element);
    }
    if (elements.size() != 2 && elements.size() != 3) {
        error = "vendor format must be 't,l' or 't,l,c', got '" + std::string(format) + "'";
        return false;
    }
    if (!parse_field_size("type", elements[0], type_size, error) ||
        !parse_field_size("length", elements[1], length_size, error)) {
        return false;
    }
    if (elements.size() == 3) {
        if (!utils::CaseInsensitiveEqual{}(elements[2], "c")) {
            error = "vendor format continuation flag must be 'c', got '" + elements[2] + "'";
            return false;
        }
        continuation = true;
    }
    return true;
}

}  // namespace quarn::subscriber::radius
