// Output that leaves no copy of itself in memory.
//
//     const WipedOutput wiped(std::cout, STDOUT_FILENO);
//     std::cout << password << std::endl;  // written, and no longer in any buffer
#pragma once

#include <array>
#include <ostream>
#include <streambuf>

namespace quarn::tools {

/// A stream's buffer before a file descriptor. It is wiped each time it has been written. What cannot be
/// written is dropped, and the stream goes bad.
class WipingBuffer : public std::streambuf {
  public:
    /// The descriptor stays its owner's.
    explicit WipingBuffer(int descriptor);
    ~WipingBuffer() override;
    WipingBuffer(const WipingBuffer&) = delete;
    WipingBuffer& operator=(const WipingBuffer&) = delete;

  protected:
    int_type overflow(int_type character) override;
    int sync() override;

  private:
    int descriptor_;
    std::array<char, 4096> buffer_{};
};

/// Gives a stream a `WipingBuffer` until the end of the scope, before and after which the stream is flushed.
class WipedOutput {
  public:
    WipedOutput(std::ostream& stream, int descriptor)
        : stream_(stream.flush()), buffer_(descriptor), previous_(stream.rdbuf(&buffer_)) {}
    ~WipedOutput() {
        stream_.flush();
        const std::ios::iostate state = stream_.rdstate();
        stream_.rdbuf(previous_);
        stream_.setstate(state);
    }
    WipedOutput(const WipedOutput&) = delete;
    WipedOutput& operator=(const WipedOutput&) = delete;

  private:
    std::ostream& stream_;
    WipingBuffer buffer_;
    std::streambuf* previous_;
};

}  // namespace quarn::tools
