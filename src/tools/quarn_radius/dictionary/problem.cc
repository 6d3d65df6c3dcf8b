#include "quarn_radius/dictionary/problem.h"

#include <algorithm>
#include <ostream>

#include "common/json_object.h"
#include "common/terminal_text.h"

namespace quarn::quarn_radius {

std::string_view severity_name(Severity severity) {
    switch (severity) {
        case Severity::Note:
            return "note";
        case Severity::Warning:
            return "warning";
        case Severity::Error:
            return "error";
    }
    return "";
}

std::string shortened(std::string_view text) {
    constexpr std::size_t longest = 200;
    return text.size() <= longest ? std::string(text) : std::string(text.substr(0, longest)) + "...";
}

std::string place_text(const Place& place) {
    return place.file + ":" + std::to_string(place.line);
}

std::string problem_line(const Problem& problem) {
    return tools::terminal_text(place_text({problem.file, problem.line}) + ": " +
                                std::string(severity_name(problem.severity)) + ": " + problem.text);
}

std::string problem_json(const Problem& problem) {
    tools::JsonObject object;
    object.add("file", problem.file);
    object.add("line", problem.line);
    object.add("severity", severity_name(problem.severity));
    object.add("text", problem.text);
    return object.text();
}

void print_problems(const Problems& problems, bool json, std::ostream& output) {
    for (const Problem& problem : problems) {
        output << (json ? problem_json(problem) : problem_line(problem)) << '\n';
    }
}

std::size_t count_of(const Problems& problems, Severity severity) {
    return static_cast<std::size_t>(
        std::count_if(problems.begin(), problems.end(),
                      [severity](const Problem& problem) { return problem.severity == severity; }));
}

}  // namespace quarn::quarn_radius
