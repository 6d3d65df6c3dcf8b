#include "quarn_radius/send/secret_source.h"

#include <fcntl.h>
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

/// Reads into the buffer until the end of the input, the buffer's end or, for a terminal, the line's end.
/// Returns the number of bytes, or nothing when reading fails.
std::optional<std::size_t> read_bytes(int descriptor, Buffer& buffer, bool until_line_end) {
    std::size_t size = 0;
    while (size < buffer.size()) {
        const ssize_t count = read(descriptor, buffer.data() + size, buffer.size() - size);
        if (count < 0 && errno == EINTR && !until_line_end) {
            continue;
        }
        if (count < 0) {
            return std::nullopt;
        }
        size += static_cast<std::size_t>(count);
        if (count == 0 || (until_line_end && buffer[size - 1] == '\n')) {
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

utils::SecretText read_file(const std::string& path) {
    const utils::FileDescriptor descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    Buffer buffer{};
    const auto size =
        descriptor.get() < 0 ? std::nullopt : read_bytes(descriptor.get(), buffer, /*until_line_end=*/false);
    if (!size) {
        throw FileError(path + ": cannot read: " + std::strerror(errno));
    }
    const std::string_view line = without_line_end({buffer.data(), *size});
    const bool is_one_line = line.find('\n') == std::string_view::npos && line.size() <= max_secret_size;
    utils::SecretText secret(line);
    utils::wipe(buffer.data(), buffer.size());
    if (!is_one_line) {
        throw FileError(path + ": not a secret: it has more than one line or more than 4096 bytes");
    }
    return secret;
}

volatile std::sig_atomic_t last_signal = 0;

/// A terminal without echo. A signal that would end or stop the process meanwhile is kept until the terminal
/// has its echo again.
class SilentTerminal {
  public:
    explicit SilentTerminal(int terminal) : terminal_(terminal) {
        last_signal = 0;
        struct sigaction keep {};
        keep.sa_handler = [](int number) { last_signal = number; };
        for (std::size_t i = 0; i < signals.size(); ++i) {
            sigaction(signals[i], &keep, &before_[i]);
        }
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
        if (last_signal != 0) {
            static_cast<void>(std::raise(last_signal));
        }
    }
    SilentTerminal(const SilentTerminal&) = delete;
    SilentTerminal& operator=(const SilentTerminal&) = delete;

  private:
    static constexpr std::array signals = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP};

    int terminal_;
    termios settings_{};
    std::array<struct sigaction, signals.size()> before_{};
};

}  // namespace

std::optional<utils::SecretText> read_secret(const SecretSource& source, std::string_view option) {
    const std::string name = "--" + std::string(option);
    const int ways =
        (source.text ? 1 : 0) + (source.file.empty() ? 0 : 1) + (source.variable.empty() ? 0 : 1);
    if (ways > 1) {
        throw std::invalid_argument("give one of " + name + ", " + name + "-file and " + name + "-env");
    }
    if (source.text) {
        return source.text;
    }
    if (!source.file.empty()) {
        return read_file(source.file);
    }
    if (!source.variable.empty()) {
        const char* const value = std::getenv(source.variable.c_str());
        if (value == nullptr) {
            throw std::invalid_argument(name + "-env: the environment has no variable " + source.variable);
        }
        return utils::SecretText(value);
    }
    return std::nullopt;
}

std::optional<utils::SecretText> ask_secret(std::string_view prompt) {
    if (isatty(STDIN_FILENO) == 0) {
        return std::nullopt;
    }
    const utils::FileDescriptor terminal(open("/dev/tty", O_RDWR | O_CLOEXEC));
    const int descriptor = terminal.get() >= 0 ? terminal.get() : STDIN_FILENO;
    Buffer buffer{};
    std::optional<std::size_t> size;
    {
        const SilentTerminal silent(descriptor);
        static_cast<void>(!write(descriptor, prompt.data(), prompt.size()));
        size = read_bytes(descriptor, buffer, /*until_line_end=*/true);
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
