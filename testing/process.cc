#include "testing/process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <ostream>
#include <stdexcept>
#include <system_error>
#include <thread>

#include "testing/pseudo_terminal.h"

namespace quarn::test {

namespace {

[[noreturn]] void fail(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

/// The two ends of a channel: this process reads, the program writes.
struct Channel {
    Descriptor reading;
    Descriptor writing;
};

/// No channel where the program's stream needs none of its own.
Channel open_channel(Stream stream) {
    if (stream == Stream::Closed || stream == Stream::SameAsOutput) {
        return {};
    }
    if (stream == Stream::Terminal) {
        PseudoTerminal pair;
        return {std::move(pair.control), std::move(pair.terminal)};
    }
    if (stream == Stream::FullDisk) {
        return {{}, Descriptor(open("/dev/full", O_WRONLY | O_CLOEXEC))};
    }
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        fail("cannot make a pipe");
    }
    Channel pipe = {Descriptor(ends[0]), Descriptor(ends[1])};
    if (stream == Stream::NoReader) {
        pipe.reading.close();
    }
    return pipe;
}

std::vector<std::string> environment_for(const Command& command) {
    std::vector<std::string> variables;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        const std::string text = *variable;
        if (!command.environment.contains(text.substr(0, text.find('=')))) {
            variables.push_back(text);
        }
    }
    for (const auto& [name, value] : command.environment) {
        if (value) {
            variables.push_back(name + "=" + *value);
        }
    }
    return variables;
}

/// The null-terminated array that execve takes; valid as long as the texts are.
std::vector<char*> pointers_to(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

/// Makes a standard stream of the program what this descriptor is; closes it when there is none.
void give(int standard_stream, int descriptor) {
    if (descriptor < 0) {
        close(standard_stream);
    } else {
        dup2(descriptor, standard_stream);
    }
}

}  // namespace

std::ostream& operator<<(std::ostream& stream, const Ending& ending) {
    switch (ending.kind) {
        case Ending::Kind::Exited:
            return stream << "exit status " << ending.number;
        case Ending::Kind::Signalled:
            return stream << "signal " << ending.number;
        case Ending::Kind::OutOfTime:
            break;
    }
    return stream << "killed when its time was up";
}

Process::Process(const Command& command) : start_(Clock::now()), deadline_(start_ + command.time_limit) {
    if (access(command.program.c_str(), X_OK) != 0) {
        throw std::runtime_error("there is no program " + command.program);
    }
    Channel output = open_channel(command.output);
    Channel errors = open_channel(command.errors);
    const Descriptor nothing(open("/dev/null", O_RDONLY | O_CLOEXEC));

    std::vector<std::string> words = {command.program};
    words.insert(words.end(), command.arguments.begin(), command.arguments.end());
    std::vector<std::string> variables = environment_for(command);
    const std::vector<char*> argument_pointers = pointers_to(words);
    const std::vector<char*> variable_pointers = pointers_to(variables);

    pid_ = fork();
    if (pid_ < 0) {
        fail("cannot start a process");
    }
    if (pid_ == 0) {
        // Other threads of the test may have held any lock at the fork: system calls only.
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        setsid();                                     // no terminal to ask at, whoever runs the tests
        static_cast<void>(signal(SIGPIPE, SIG_DFL));  // as in a shell, whoever runs the tests
        give(STDIN_FILENO, command.closed_input ? -1 : nothing.get());
        give(STDOUT_FILENO, output.writing.get());
        give(STDERR_FILENO,
             command.errors == Stream::SameAsOutput ? output.writing.get() : errors.writing.get());
        execve(argument_pointers[0], argument_pointers.data(), variable_pointers.data());
        _exit(127);
    }
    output_.source = std::move(output.reading);
    errors_.source = std::move(errors.reading);
}

Process::~Process() {
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
}

bool Process::wait_for_output(std::string_view text) {
    while (output_.text.find(text) == std::string::npos) {
        if (!output_.source.is_open() || !read_some()) {
            return false;
        }
    }
    return true;
}

bool Process::wait_until_stopped() const {
    while (Clock::now() < deadline_) {
        siginfo_t info{};
        if (waitid(P_PID, static_cast<id_t>(pid_), &info, WSTOPPED | WEXITED | WNOHANG | WNOWAIT) != 0) {
            fail("cannot wait for a process to stop");
        }
        if (info.si_pid != 0) {
            return info.si_code == CLD_STOPPED;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
}

void Process::resume() const {
    kill(pid_, SIGCONT);
}

void Process::terminate() const {
    if (pid_ > 0) {
        kill(pid_, SIGTERM);
    }
}

ProcessResult Process::wait() {
    while ((output_.source.is_open() || errors_.source.is_open()) && read_some()) {
    }
    const pid_t pid = pid_;
    const Ending ending = reap();
    return {pid, output_.text, errors_.text, ending,
            std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start_)};
}

/// Reads what there is from either source, waiting for it; false when the time is up.
bool Process::read_some() {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline_ - Clock::now());
    if (left.count() <= 0) {
        return false;
    }
    std::array<pollfd, 2> sources = {pollfd{output_.source.get(), POLLIN, 0},
                                     pollfd{errors_.source.get(), POLLIN, 0}};
    if (poll(sources.data(), sources.size(), static_cast<int>(left.count())) < 0 && errno != EINTR) {
        fail("cannot wait for a process's output");
    }
    for (std::size_t i = 0; i < sources.size(); ++i) {
        if (sources[i].revents == 0) {
            continue;
        }
        Reader& reader = i == 0 ? output_ : errors_;
        std::array<char, 4096> buffer{};
        const ssize_t count = read(reader.source.get(), buffer.data(), buffer.size());
        if (count > 0) {
            reader.text.append(buffer.data(), static_cast<std::size_t>(count));
        } else {
            reader.source.close();  // the end; a terminal tells it by an error
        }
    }
    return true;
}

Ending Process::reap() {
    int status = 0;
    pid_t ended = 0;
    while ((ended = waitpid(pid_, &status, WNOHANG)) == 0 && Clock::now() < deadline_) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    if (ended == 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    pid_ = -1;
    if (ended == 0) {
        return {Ending::Kind::OutOfTime, 0};
    }
    return WIFEXITED(status) ? exited_with(WEXITSTATUS(status))
                             : Ending{Ending::Kind::Signalled, WTERMSIG(status)};
}

ProcessResult run_process(const Command& command) {
    return Process(command).wait();
}

}  // namespace quarn::test
