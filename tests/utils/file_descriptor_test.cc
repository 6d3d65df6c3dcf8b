#include "quarn/utils/file_descriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <type_traits>

namespace quarn::utils {
namespace {

bool is_open(int descriptor) {
    return fcntl(descriptor, F_GETFD) >= 0;
}

TEST(FileDescriptor, IsClosedAtTheEndOfItsScope) {
    const int number = open("/dev/null", O_RDONLY | O_CLOEXEC);
    {
        const FileDescriptor descriptor(number);
        EXPECT_EQ(descriptor.get(), number);
        EXPECT_TRUE(is_open(number));
    }
    EXPECT_FALSE(is_open(number));
}

TEST(FileDescriptor, IsClosedOnce) {
    const int number = open("/dev/null", O_RDONLY | O_CLOEXEC);
    FileDescriptor descriptor(number);
    descriptor.close();
    EXPECT_FALSE(is_open(number));
    // The number belongs to somebody else from here on.
    const FileDescriptor other(open("/dev/null", O_RDONLY | O_CLOEXEC));
    ASSERT_EQ(other.get(), number);
    descriptor.close();
    EXPECT_TRUE(is_open(number));
}

TEST(FileDescriptor, CannotBeCopied) {
    EXPECT_FALSE(std::is_copy_constructible_v<FileDescriptor>);
    EXPECT_FALSE(std::is_copy_assignable_v<FileDescriptor>);
}

}  // namespace
}  // namespace quarn::utils
