#include "quarn/utils/nearest_name.h"

#include <algorithm>
#include <numeric>
#include <vector>

#include "quarn/utils/ascii.h"

namespace quarn::utils {

std::size_t edit_distance(std::string_view left, std::string_view right) {
    const std::string a = ascii_lower(left);
    const std::string b = ascii_lower(right);
    // Rows of the table of distances between the first letters of both: the current one and two before it.
    std::vector<std::size_t> before_previous(b.size() + 1);
    std::vector<std::size_t> previous(b.size() + 1);
    std::vector<std::size_t> current(b.size() + 1);
    std::iota(previous.begin(), previous.end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        current[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t replaced = previous[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            current[j] = std::min({replaced, previous[j] + 1, current[j - 1] + 1});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                current[j] = std::min(current[j], before_previous[j - 2] + 1);
            }
        }
        before_previous.swap(previous);
        previous.swap(current);
    }
    return previous[b.size()];
}

std::optional<std::string_view> nearest_name(std::string_view name,
                                             std::span<const std::string_view> candidates) {
    const std::size_t most = std::max<std::size_t>(1, name.size() / 3);
    std::optional<std::string_view> nearest;
    std::size_t best = most + 1;
    for (const std::string_view candidate : candidates) {
        // The distance is at least the difference of the lengths. Comparing those first passes over most
        // names.
        const auto [shorter, longer] = std::minmax({name.size(), candidate.size()});
        if (longer - shorter >= best) {
            continue;
        }
        const std::size_t distance = edit_distance(name, candidate);
        if (distance < best) {
            best = distance;
            nearest = candidate;
        }
    }
    return nearest;
}

std::string suggestion(std::optional<std::string_view> nearest) {
    return nearest ? ", did you mean \"" + std::string(*nearest) + "\"?" : std::string();
}

std::string suggestion(std::string_view name, std::span<const std::string_view> candidates) {
    return suggestion(nearest_name(name, candidates));
}

}  // namespace quarn::utils
