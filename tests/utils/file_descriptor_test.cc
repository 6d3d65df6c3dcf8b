#include "quarn/utils/file_descriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <string>
#include <thread>
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

TEST(WriteAll, WritesOnWhereAPipeTakesAPart) {
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    const FileDescriptor reading(ends[0]);
    FileDescriptor writing(ends[1]);
    const std::string text(200'000, 'x');  // more than a pipe holds
    std::string read_text;
    std::thread reader([&] {
        std::array<char, 5000> part{};
        for (ssize_t size = 0; (size = read(reading.get(), part.data(), part.size())) > 0;) {
            read_text.append(part.data(), static_cast<std::size_t>(size));
        }
    });
    EXPECT_TRUE(write_all(writing.get(), text));
    EXPECT_TRUE(write_all(writing.get(), ""));
    writing.close();
    reader.join();
    EXPECT_EQ(read_text, text);
}

TEST(WriteAll, TellsWhenItCannot) {
    const FileDescriptor full(open("/dev/full", O_WRONLY | O_CLOEXEC));
    EXPECT_FALSE(write_all(full.get(), "text"));
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_TRUE(write_all(full.get(), ""));
    EXPECT_FALSE(write_all(-1, "text"));
    EXPECT_EQ(errno, EBADF);
}

}  // namespace
}  // namespace quarn::utils
