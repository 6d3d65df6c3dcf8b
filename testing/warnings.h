// Warnings as values that tests compare.
#pragma once

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "quarn/utils/app.h"

namespace quarn::test {

struct Warning {
    std::string message;
    App::Fields fields;

    bool operator==(const Warning&) const = default;
};

inline std::ostream& operator<<(std::ostream& stream, const Warning& warning) {
    stream << '"' << warning.message << '"';
    for (const auto& [key, value] : warning.fields) {
        stream << ' ' << key << "=\"" << value << '"';
    }
    return stream;
}

/// Collects this thread's warnings for as long as it lives.
class WarningRecorder {
  public:
    const std::vector<Warning>& warnings() const { return warnings_; }

  private:
    std::vector<Warning> warnings_;
    App::WarningHandler handler_{[this](std::string_view message, const App::Fields& fields) {
        warnings_.push_back({std::string(message), fields});
    }};
};

}  // namespace quarn::test
