// Problems as tests write them down: what `quarn-radius` prints, without the folder.
#pragma once

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "quarn_radius/dictionary/problem.h"

namespace quarn::test {

/// The problems as they are printed, with the names of this folder and what is below it cut short.
inline std::vector<std::string> lines_of(const quarn_radius::Problems& problems,
                                         const std::filesystem::path& folder) {
    const std::string prefix = folder.string() + "/";
    std::vector<std::string> lines;
    for (const quarn_radius::Problem& problem : problems) {
        std::string line = quarn_radius::problem_line(problem);
        for (std::size_t at = 0; (at = line.find(prefix)) != std::string::npos;) {
            line.erase(at, prefix.size());
        }
        lines.push_back(std::move(line));
    }
    return lines;
}

}  // namespace quarn::test
