// What the code under test prints.
#pragma once

#include <string>

#include "testing/descriptor.h"
#include "testing/process.h"

namespace quarn::test {

/// Catches what this process writes to its standard output and standard error, through streams or system
/// calls, until `finish` or the end of its scope. Standard output is no terminal, or is one that takes a
/// little text; standard error never is one.
class CapturedOutput {
  public:
    explicit CapturedOutput(Stream output = Stream::Pipe);
    ~CapturedOutput();
    CapturedOutput(const CapturedOutput&) = delete;
    CapturedOutput& operator=(const CapturedOutput&) = delete;

    void finish();

    /// What was caught; after `finish`.
    const std::string& output() const { return output_text_; }
    const std::string& errors() const { return errors_text_; }

  private:
    Descriptor output_reader_;
    Descriptor errors_reader_;
    Descriptor saved_output_;
    Descriptor saved_errors_;
    std::string output_text_;
    std::string errors_text_;
};

}  // namespace quarn::test
