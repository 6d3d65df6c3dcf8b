#include "quarn/utils/file_descriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <type_traits>
#include <utility>

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

TEST(FileDescriptor, LeavesNothingWhereItWasMovedFrom) {
    const int number = open("/dev/null", O_RDONLY | O_CLOEXEC);
    {
        FileDescriptor first(number);
        const FileDescriptor second(std::move(first));
        EXPECT_EQ(second.get(), number);
        EXPECT_LT(first.get(), 0);  // NOLINT(bugprone-use-after-move): what it holds then is promised
    }
    EXPECT_FALSE(is_open(number));
}

TEST(FileDescriptor, ClosesItsOwnWhenAnotherIsMovedIn) {
    const int first = open("/dev/null", O_RDONLY | O_CLOEXEC);
    const int second = open("/dev/null", O_RDONLY | O_CLOEXEC);
    FileDescriptor descriptor(first);
    descriptor = FileDescriptor(second);
    EXPECT_EQ(descriptor.get(), second);
    EXPECT_FALSE(is_open(first));
    EXPECT_TRUE(is_open(second));
}

}  // namespace
}  // namespace quarn::utils
