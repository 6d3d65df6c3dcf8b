#include "quarn/utils/whole_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "quarn/utils/file_descriptor.h"

namespace quarn::utils {

namespace {

/// Enough for most files, so that a pipe's text is copied a few times only.
constexpr std::size_t smallest_step = 4096;

FileFailure unreadable(int error) {
    return {true, "cannot be read: " + std::generic_category().message(error)};
}

}  // namespace

std::optional<FileFailure> read_whole_file(const std::string& path, FileKind kind, std::string& text) {
    text.clear();
    // Opening a device may have effects.
    struct stat status {};
    if (kind == FileKind::Regular && stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode) &&
        !S_ISDIR(status.st_mode)) {
        return FileFailure{true, "is not a regular file"};
    }
    // Without O_NONBLOCK a pipe that nobody writes to would keep the program waiting here.
    const int flags = O_RDONLY | O_CLOEXEC | O_NOCTTY | (kind == FileKind::Regular ? O_NONBLOCK : 0);
    const FileDescriptor file(open(path.c_str(), flags));
    if (file.get() < 0) {
        return FileFailure{false, errno == ENOENT ? "no such file" : "cannot be opened"};
    }
    if (fstat(file.get(), &status) != 0) {
        return unreadable(errno);
    }
    if (S_ISDIR(status.st_mode)) {
        return FileFailure{true, "is a directory"};
    }
    if (kind == FileKind::Regular && !S_ISREG(status.st_mode)) {
        return FileFailure{true, "is not a regular file"};
    }
    // The size is a hint only: a file may grow or shrink meanwhile, and those of /proc claim to have none.
    const std::size_t expected = S_ISREG(status.st_mode) ? static_cast<std::size_t>(status.st_size) : 0;
    std::size_t size = 0;
    while (size <= max_file_size) {
        if (size == text.size()) {
            const std::size_t wanted = size == 0 ? expected + 1 : 2 * size;
            text.resize(std::clamp(wanted, smallest_step, max_file_size + 1));
        }
        const ssize_t count = read(file.get(), text.data() + size, text.size() - size);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return unreadable(errno);
        }
        if (count == 0) {
            text.resize(size);
            return std::nullopt;
        }
        size += static_cast<std::size_t>(count);
    }
    return FileFailure{true, "is larger than 64 MiB"};
}

}  // namespace quarn::utils
