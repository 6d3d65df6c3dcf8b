// An open file or socket that closes itself.
#pragma once

#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <string_view>
#include <utility>

namespace quarn::utils {

/// A file descriptor, closed when it goes out of scope.
class FileDescriptor {
  public:
    /// Takes over a descriptor; a negative one stands for none.
    explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
    ~FileDescriptor() { close(); }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    /// Leaves the other one without a descriptor.
    FileDescriptor(FileDescriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {  ///< closes its own descriptor first
        if (this != &other) {
            close();
            descriptor_ = std::exchange(other.descriptor_, -1);
        }
        return *this;
    }

    /// The descriptor, still owned; negative when there is none.
    int get() const { return descriptor_; }

    /// Closes it at once, for good.
    void close() {
        if (const int descriptor = std::exchange(descriptor_, -1); descriptor >= 0) {
            ::close(descriptor);
        }
    }

  private:
    int descriptor_;
};

/// Writes all of the text, going on after signals. False, with `errno` set, when not all of it could be
/// written.
inline bool write_all(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(descriptor, text.data(), text.size());
        if (written < 0 && errno != EINTR) {
            return false;
        }
        text.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
    return true;
}

}  // namespace quarn::utils
