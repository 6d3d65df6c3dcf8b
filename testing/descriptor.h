// Open files, pipes, sockets and terminals in tests.
#pragma once

#include <unistd.h>

#include <utility>

namespace quarn::test {

/// Owns a file descriptor, or nothing.
class Descriptor {
  public:
    Descriptor() = default;
    explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
    ~Descriptor() { close(); }
    Descriptor(Descriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }

    int get() const { return descriptor_; }
    bool is_open() const { return descriptor_ >= 0; }
    void close() {
        if (is_open()) {
            ::close(std::exchange(descriptor_, -1));
        }
    }

  private:
    int descriptor_ = -1;
};

}  // namespace quarn::test
