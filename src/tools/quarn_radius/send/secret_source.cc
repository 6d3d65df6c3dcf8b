#include "quarn_radius/send/secret_source.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "quarn/utils/file_descriptor.h"
#include "quarn_radius/dictionary/problem.h"

namespace quarn::quarn_radius {

namespace {

constexpr std::size_t max_secret_size = 4096;

using Buffer = std::array<char, max_secret_size + 3>;  // the line end and one byte more

/// Reads into the buffer until the end of the input or the buffer's end. Returns the number of bytes, or
/// nothing when reading fails.
std::optional<std::size_t> read_bytes(int descriptor, Buffer& buffer) {
    std::size_t size = 0;
    while (size < buffer.size()) {
        const ssize_t count = read(descriptor, buffer.data() + size, buffer.size() - size);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return std::nullopt;
        }
        size += static_cast<std::size_t>(count);
        if (count == 0) {
            break;
        }
    }
    return size;
}

/// Without the line end, "\n" or "\r\n".
std::string_view without_line_end(std::string_view line) {
    if (line.ends_with('\n')) {
        line.remove_suffix(1);
    }
    if (line.ends_with('\r')) {
        line.remove_suffix(1);
    }
    return line;
}

/// What is to be said of a regular file that other users than its owner can read.
std::string warning_of(int descriptor, const std::string& path) {
    struct stat status {};
    if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode) ||
        (status.st_mode & (S_IRGRP | S_IROTH)) == 0) {
        return {};
    }
    return "Other users can read " + path + ": take the permission away with \"chmod go= " + path + "\".";
}

GivenSecret read_file(const std::string& path) {
    const utils::FileDescriptor descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    Buffer buffer{};
    const auto size = descriptor.get() < 0 ? std::nullopt : read_bytes(descriptor.get(), buffer);
    if (!size) {
        throw FileError(path + ": cannot read: " + std::strerror(errno));
    }
    const std::string_view line = without_line_end({buffer.data(), *size});
    const bool is_one_line = line.find('\n') == std::string_view::npos && line.size() <= max_secret_size;
    GivenSecret secret{utils::SecretText(line), warning_of(descriptor.get(), path)};
    utils::wipe(buffer.data(), buffer.size());
    if (!is_one_line) {
        throw FileError(path + ": not a secret: it has more than one line or more than 4096 bytes");
    }
    return secret;
}

volatile std::sig_atomic_t last_signal = 0;

/// A terminal without echo. A signal that would end or stop the process meanwhile ends reading, and is kept
/// until the terminal has its echo again. It is blocked but for the wait, so that none slips in before that.
class SilentTerminal {
  public:
    explicit SilentTerminal(int terminal) : terminal_(terminal) {
        last_signal = 0;
        struct sigaction keep {};
        keep.sa_handler = [](int number) { last_signal = number; };
        sigset_t blocked;
        sigemptyset(&blocked);
        for (std::size_t i = 0; i < signals.size(); ++i) {
            sigaddset(&blocked, signals[i]);
            sigaction(signals[i], &keep, &before_[i]);
        }
        pthread_sigmask(SIG_BLOCK, &blocked, &mask_before_);
        tcgetattr(terminal_, &settings_);
        termios silent = settings_;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(terminal_, TCSAFLUSH, &silent);
    }
    ~SilentTerminal() {
        tcsetattr(terminal_, TCSAFLUSH, &settings_);
        for (std::size_t i = 0; i < signals.size(); ++i) {
            sigaction(signals[i], &before_[i], nullptr);
        }
        pthread_sigmask(SIG_SETMASK, &mask_before_, nullptr);
        if (last_signal != 0) {
            static_cast<void>(std::raise(last_signal));
        }
    }
    SilentTerminal(const SilentTerminal&) = delete;
    SilentTerminal& operator=(const SilentTerminal&) = delete;

    /// Reads a line, its end included, or what there is before the end of the input. Nothing when reading
    /// fails or a signal comes.
    std::optional<std::size_t> read_line(Buffer& buffer) const {
        std::size_t size = 0;
        while (size < buffer.size()) {
            pollfd input{terminal_, POLLIN, 0};
            if (ppoll(&input, 1, nullptr, &mask_before_) < 0) {
                return std::nullopt;
            }
            const ssize_t count = read(terminal_, buffer.data() + size, buffer.size() - size);
            if (count < 0) {
                return std::nullopt;
            }
            size += static_cast<std::size_t>(count);
            if (count == 0 || buffer[size - 1] == '\n') {
                break;
            }
        }
        return size;
    }

  private:
    static constexpr std::array signals = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP};

    int terminal_;
    termios settings_{};
    std::array<struct sigaction, signals.size()> before_{};
    sigset_t mask_before_{};
};

}  // namespace

std::optional<GivenSecret> read_secret(const SecretSource& source, std::string_view option) {
    const std::string name = "--" + std::string(option);
    const int ways =
        (source.text ? 1 : 0) + (source.file.empty() ? 0 : 1) + (source.variable.empty() ? 0 : 1);
    if (ways > 1) {
        throw std::invalid_argument("give one of " + name + ", " + name + "-file and " + name + "-env");
    }
    if (source.text) {
        return GivenSecret{*source.text};
    }
    if (!source.file.empty()) {
        return read_file(source.file);
    }
    if (!source.variable.empty()) {
        const char* const value = std::getenv(source.variable.c_str());
        if (value == nullptr) {
            throw std::invalid_argument(name + "-env: the environment has no variable " + source.variable);
        }
        return GivenSecret{utils::SecretText(value)};
    }
    return std::nullopt;
}

std::optional<utils::SecretText> ask_secret(std::string_view prompt) {
    const utils::FileDescriptor terminal(open("/dev/tty", O_RDWR | O_CLOEXEC));
    if (terminal.get() < 0 && isatty(STDIN_FILENO) == 0) {
        return std::nullopt;
    }
    const int descriptor = terminal.get() >= 0 ? terminal.get() : STDIN_FILENO;
    Buffer buffer{};
    std::optional<std::size_t> size;
    {
        const SilentTerminal silent(descriptor);
        static_cast<void>(!write(descriptor, prompt.data(), prompt.size()));
        size = silent.read_line(buffer);
        static_cast<void>(!write(descriptor, "\n", 1));  // the one that was typed had no echo
    }
    utils::SecretText secret(without_line_end({buffer.data(), size.value_or(0)}));
    utils::wipe(buffer.data(), buffer.size());
    if (size.value_or(0) == 0) {
        return std::nullopt;
    }
    return secret;
}

}  // namespace quarn::quarn_radius
