#include "testing/captured_output.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <iostream>
#include <system_error>

#include "testing/pseudo_terminal.h"

namespace quarn::test {

namespace {

void flush_all() {
    std::cout.flush();
    std::cerr.flush();
    static_cast<void>(std::fflush(stdout));
    static_cast<void>(std::fflush(stderr));
}

Descriptor copy_of(int descriptor) {
    return Descriptor(fcntl(descriptor, F_DUPFD_CLOEXEC, 3));
}

/// Puts a new terminal or file in a descriptor's place; returns where to read what is written to it.
Descriptor redirect(int descriptor, Stream stream) {
    if (stream == Stream::Terminal) {
        PseudoTerminal pair;
        dup2(pair.terminal.get(), descriptor);
        return std::move(pair.control);
    }
    Descriptor file(memfd_create("captured output", MFD_CLOEXEC));
    if (!file.is_open()) {
        throw std::system_error(errno, std::generic_category(), "cannot make a file in memory");
    }
    dup2(file.get(), descriptor);
    return file;
}

/// All that was written; nobody writes any more.
std::string read_all(const Descriptor& source) {
    lseek(source.get(), 0, SEEK_SET);  // a file was left at its end
    std::string text;
    std::array<char, 4096> buffer{};
    for (ssize_t count = 0; (count = read(source.get(), buffer.data(), buffer.size())) > 0;) {
        text.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return text;
}

}  // namespace

CapturedOutput::CapturedOutput(Stream output)
    : saved_output_(copy_of(STDOUT_FILENO)), saved_errors_(copy_of(STDERR_FILENO)) {
    flush_all();
    output_reader_ = redirect(STDOUT_FILENO, output);
    errors_reader_ = redirect(STDERR_FILENO, Stream::Pipe);
}

CapturedOutput::~CapturedOutput() {
    if (saved_output_.is_open()) {
        finish();
    }
}

void CapturedOutput::finish() {
    flush_all();
    dup2(saved_output_.get(), STDOUT_FILENO);
    dup2(saved_errors_.get(), STDERR_FILENO);
    saved_output_.close();
    saved_errors_.close();
    output_text_ = read_all(output_reader_);
    errors_text_ = read_all(errors_reader_);
}

}  // namespace quarn::test
