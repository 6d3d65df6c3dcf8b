#include "common/wiped_output.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <string_view>

#include "testing/descriptor.h"
#include "testing/scratch_folder.h"

namespace quarn::tools {
namespace {

using test::Descriptor;

class WipedOutputTest : public testing::Test {
  protected:
    std::string written() const {
        std::ifstream stream(path_);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    test::ScratchFolder folder_;
    std::string path_ = folder_.write("output", "");
    Descriptor descriptor_{open(path_.c_str(), O_WRONLY | O_CLOEXEC)};
};

/// A buffer whose characters a test can look at.
class VisibleBuffer : public WipingBuffer {
  public:
    using WipingBuffer::WipingBuffer;

    /// All that the buffer has room for.
    std::string_view room() const { return {pbase(), static_cast<std::size_t>(epptr() - pbase())}; }
};

TEST_F(WipedOutputTest, WritesWhenItIsFlushed) {
    std::ostringstream stream;
    const WipedOutput output(stream, descriptor_.get());
    stream << "one" << 2;
    EXPECT_EQ(written(), "");
    stream << std::flush;
    EXPECT_EQ(written(), "one2");
    stream << "three" << std::endl;
    EXPECT_EQ(written(), "one2three\n");
}

TEST_F(WipedOutputTest, WritesMoreThanItsBufferHolds) {
    std::string text;
    for (int i = 0; i < 5000; ++i) {
        text += std::to_string(i) + ' ';
    }
    for (const std::size_t size : {std::size_t{4095}, std::size_t{4096}, std::size_t{4097}, text.size()}) {
        std::ostringstream stream;
        {
            const WipedOutput output(stream, descriptor_.get());
            stream << text.substr(0, size - 1) << text[size - 1];
        }
        EXPECT_EQ(written(), text.substr(0, size));
        EXPECT_EQ(ftruncate(descriptor_.get(), 0), 0);
        EXPECT_EQ(lseek(descriptor_.get(), 0, SEEK_SET), 0);
    }
}

TEST_F(WipedOutputTest, GivesTheStreamItsOwnBufferBack) {
    std::ostringstream stream;
    stream << "before ";
    {
        const WipedOutput output(stream, descriptor_.get());
        stream << "during";
    }
    stream << "after";
    EXPECT_EQ(stream.str(), "before after");
    EXPECT_EQ(written(), "during");
}

TEST_F(WipedOutputTest, LeavesNothingInItsBuffer) {
    VisibleBuffer buffer(descriptor_.get());
    std::ostream stream(&buffer);
    stream << "a password" << std::flush;
    EXPECT_EQ(buffer.room(), std::string(4096, '\0'));
    stream << std::string(4096, 'x') << 'y';
    EXPECT_EQ(buffer.room(), "y" + std::string(4095, '\0'));
}

TEST_F(WipedOutputTest, GoesBadAndForgetsWhatCannotBeWritten) {
    const Descriptor full(open("/dev/full", O_WRONLY | O_CLOEXEC));
    VisibleBuffer buffer(full.get());
    std::ostream stream(&buffer);
    stream << "a password" << std::flush;
    EXPECT_TRUE(stream.bad());
    EXPECT_EQ(buffer.room(), std::string(4096, '\0'));
    stream.clear();
    stream << std::string(4097, 'x');
    EXPECT_TRUE(stream.bad());

    std::ostringstream other;
    {
        const WipedOutput output(other, full.get());
        other << "a password";
    }
    EXPECT_TRUE(other.bad());
}

}  // namespace
}  // namespace quarn::tools
