#include "quarn/tools/quarn_radius/problem.h"

#include "quarn/tools/quarn_radius/json_object.h"

namespace quarn::companion {

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

std::string place_text(const Place& place) {
    return place.file + ":" + std::to_string(place.line);
}

std::string problem_line(const Problem& problem) {
    return place_text({problem.file, problem.line}) + ": " + std::string(severity_name(problem.severity)) +
           ": " + problem.text;
}

std::string problem_json(const Problem& problem) {
    JsonObject object;
    object.add("file", problem.file);
    object.add("line", problem.line);
    object.add("severity", severity_name(problem.severity));
    object.add("text", problem.text);
    return object.text();
}

}  // namespace quarn::companion
