// Reading a file whole, with a bound on what may be read.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace quarn::utils {

/// Bytes that a file may have: far more than any text that people or programs write for this system.
inline constexpr std::size_t max_file_size = std::size_t{64} << 20;

/// What may be read.
enum class FileKind {
    Any,      ///< a pipe, too: opening one that nobody writes to waits
    Regular,  ///< regular files alone; nothing waits
};

/// Why a file was not read.
struct FileFailure {
    bool opened = false;  ///< the file is there and may be read, but is not what was wanted
    std::string reason;   ///< "no such file", "cannot be opened", "is a directory", "is not a regular file",
                          ///< "is larger than 64 MiB" or "cannot be read: " and the system's reason
};

/// Replaces `text` by what the file holds; it may be empty or partly filled after a failure. At most
/// `max_file_size` bytes are kept, whatever the file claims to be.
std::optional<FileFailure> read_whole_file(const std::string& path, FileKind kind, std::string& text);

}  // namespace quarn::utils
