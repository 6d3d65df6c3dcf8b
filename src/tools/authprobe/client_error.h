// Failures that end the run before there is anything to judge. `main` turns each into what the user reads on
// standard error, and exit status 1.
#pragma once

#include <stdexcept>

namespace quarn::authprobe {

/// A failure whose text is printed as it stands; it ends with a newline.
class ClientError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// A failed system call, printed by `perror`: the text given, ": " and the system's own words.
class SystemCallError : public std::runtime_error {
  public:
    /// The text, and the errno value of the failed call.
    SystemCallError(const char* what, int error_number)
        : std::runtime_error(what), error_number_(error_number) {}

    int error_number() const { return error_number_; }

  private:
    int error_number_;
};

}  // namespace quarn::authprobe
