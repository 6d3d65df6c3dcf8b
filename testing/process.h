// Running a program and reading what it writes.
//
//     const ProcessResult result = run_process({.program = "/bin/echo", .arguments = {"hello"}});
//     EXPECT_EQ(result.output, "hello\n");
//     EXPECT_EQ(result.ending, exited_with(0));
#pragma once

#include <sys/types.h>

#include <chrono>
#include <iosfwd>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "testing/descriptor.h"

namespace quarn::test {

/// What a program finds at its standard output or standard error.
enum class Stream {
    Pipe,
    Terminal,
    Closed,
    SameAsOutput,  ///< for standard error: what standard output is, the two interleaved there
    NoReader,      ///< a pipe whose other end is closed
    FullDisk,      ///< what cannot be written to: there is no space left
};

struct Command {
    std::string program;  ///< a path
    std::vector<std::string> arguments = {};
    /// Variables to set, or to remove, in a copy of this process's environment.
    std::map<std::string, std::optional<std::string>> environment = {};
    bool closed_input = false;  ///< else standard input is empty
    Stream output = Stream::Pipe;
    Stream errors = Stream::Pipe;
    /// From the start; a program that runs longer is killed.
    std::chrono::seconds time_limit = std::chrono::seconds(30);
};

/// How a program ended.
struct Ending {
    enum class Kind { Exited, Signalled, OutOfTime } kind;
    int number = 0;  ///< the exit status or the signal

    bool operator==(const Ending&) const = default;
};

inline Ending exited_with(int status) {
    return {Ending::Kind::Exited, status};
}

std::ostream& operator<<(std::ostream& stream, const Ending& ending);

struct ProcessResult {
    pid_t pid;
    std::string output;
    std::string errors;
    Ending ending;
    std::chrono::milliseconds duration;
};

/// A running program. It is killed when this object goes out of scope, or when
/// the thread that started it ends.
class Process {
  public:
    /// Throws `std::runtime_error` when there is no such program.
    explicit Process(const Command& command);
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    /// Reads until the program's standard output holds the text; false when the program closes its output, or
    /// its time is up, before that.
    bool wait_for_output(std::string_view text);

    pid_t pid() const { return pid_; }

    /// Waits until the program has stopped itself; false when it ends, or its time is up, before that.
    bool wait_until_stopped() const;

    /// Lets a stopped program go on.
    void resume() const;

    /// Asks the program to end.
    void terminate() const;

    /// Reads all that the program writes and waits for its end.
    ProcessResult wait();

    /// What was read so far.
    const std::string& output() const { return output_.text; }

  private:
    using Clock = std::chrono::steady_clock;

    struct Reader {
        Descriptor source;
        std::string text;
    };

    bool read_some();
    Ending reap();

    Reader output_;
    Reader errors_;
    Clock::time_point start_;
    Clock::time_point deadline_;
    pid_t pid_ = -1;  ///< -1 when its end has been seen
};

ProcessResult run_process(const Command& command);

}  // namespace quarn::test
