#include "quarn/utils/whole_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <thread>

#include "quarn/utils/file_descriptor.h"
#include "testing/scratch_folder.h"

namespace quarn::utils {
namespace {

class WholeFile : public testing::Test {
  protected:
    /// The text of a file that has to be readable.
    std::string read(const std::string& path, FileKind kind = FileKind::Regular) {
        const auto failure = read_whole_file(path, kind, text_);
        EXPECT_EQ(failure ? failure->reason : "", "");
        return text_;
    }

    /// Why the file cannot be read, behind whether it could be opened.
    std::string failure(const std::string& path, FileKind kind = FileKind::Regular) {
        const auto failure = read_whole_file(path, kind, text_);
        return failure ? (failure->opened ? "opened, " : "not opened, ") + failure->reason : "read";
    }

    std::string pipe() const {
        std::string path = folder_.path() / "pipe";
        EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
        return path;
    }

    const test::ScratchFolder folder_;
    std::string text_;
};

TEST_F(WholeFile, IsReadWhateverItsSize) {
    for (const std::size_t size : {0, 1, 4095, 4096, 4097, 100'000}) {
        const std::string text(size, 'x');
        EXPECT_EQ(read(folder_.write("file", text)), text) << size;
        EXPECT_EQ(read(folder_.write("file", text), FileKind::Any), text) << size;
    }
}

TEST_F(WholeFile, ReplacesTheTextThatWasThere) {
    read(folder_.write("long", std::string(10'000, 'x')));
    EXPECT_EQ(read(folder_.write("short", "ab")), "ab");
    EXPECT_EQ(read(folder_.write("empty", "")), "");
}

TEST_F(WholeFile, HoldsItsZeroBytes) {
    const std::string text("a\0b", 3);
    EXPECT_EQ(read(folder_.write("file", text)), text);
}

TEST_F(WholeFile, MayHave64MebibytesAndNoMore) {
    const std::string path = folder_.write("file", "{}");
    std::filesystem::resize_file(path, max_file_size);  // sparse: it takes no room
    EXPECT_EQ(read(path).size(), std::size_t{64} << 20);
    std::filesystem::resize_file(path, max_file_size + 1);
    EXPECT_EQ(failure(path), "opened, is larger than 64 MiB");
    EXPECT_EQ(failure(path, FileKind::Any), "opened, is larger than 64 MiB");
}

TEST_F(WholeFile, MayClaimToBeEmptyAsThoseOfTheKernelDo) {
    EXPECT_EQ(std::filesystem::file_size("/proc/self/stat"), 0U);
    EXPECT_TRUE(read("/proc/self/stat").starts_with(std::to_string(getpid()) + " ("));
}

TEST_F(WholeFile, IsNotThere) {
    EXPECT_EQ(failure(folder_.path() / "nothing"), "not opened, no such file");
    EXPECT_EQ(failure(folder_.path() / "nothing", FileKind::Any), "not opened, no such file");
}

TEST_F(WholeFile, CannotBeOpened) {
    const std::string file = folder_.write("file", "");
    EXPECT_EQ(failure(file + "/below"), "not opened, cannot be opened");
}

TEST_F(WholeFile, CannotBeRead) {
    EXPECT_EQ(failure("/proc/self/mem"), "opened, cannot be read: Input/output error");
}

TEST_F(WholeFile, IsNoFolder) {
    EXPECT_EQ(failure(folder_.path()), "opened, is a directory");
    EXPECT_EQ(failure(folder_.path(), FileKind::Any), "opened, is a directory");
}

TEST_F(WholeFile, IsNoDeviceAndNoPipeWhereItHasToBeRegular) {
    EXPECT_EQ(failure("/dev/zero"), "opened, is not a regular file");
    EXPECT_EQ(failure("/dev/null"), "opened, is not a regular file");
    EXPECT_EQ(failure(pipe()), "opened, is not a regular file");
}

TEST_F(WholeFile, NeverEndsAndIsGivenUp) {
    EXPECT_EQ(failure("/dev/zero", FileKind::Any), "opened, is larger than 64 MiB");
    EXPECT_EQ(read("/dev/null", FileKind::Any), "");
}

/// The descriptor by which this process reads the file, once it does.
int reading_descriptor(const std::string& path) {
    for (;;) {
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
            std::error_code gone;
            const int number = std::stoi(entry.path().filename());
            if (std::filesystem::read_symlink(entry, gone) == path &&
                (fcntl(number, F_GETFL) & O_ACCMODE) == O_RDONLY) {
                return number;
            }
        }
    }
}

TEST_F(WholeFile, IsNotHandedToProgramsThatAreStartedMeanwhile) {
    const std::string path = pipe();
    std::thread reader([&] { EXPECT_EQ(read(path, FileKind::Any), ""); });
    FileDescriptor writing_end(open(path.c_str(), O_WRONLY | O_CLOEXEC));
    EXPECT_EQ(fcntl(reading_descriptor(path), F_GETFD), FD_CLOEXEC);
    writing_end.close();
    reader.join();
}

TEST_F(WholeFile, IsReadOnAfterASignal) {
    struct sigaction handler {};
    struct sigaction before {};
    handler.sa_handler = [](int) {};  // without SA_RESTART: a read that waits fails
    ASSERT_EQ(sigaction(SIGUSR1, &handler, &before), 0);
    const std::string path = pipe();
    std::thread reader([&] { EXPECT_EQ(read(path, FileKind::Any), "text"); });
    {
        std::ofstream writer(path);
        reading_descriptor(path);
        for (int i = 0; i < 20; ++i) {
            EXPECT_EQ(pthread_kill(reader.native_handle(), SIGUSR1), 0);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        writer << "text";
    }
    reader.join();
    EXPECT_EQ(sigaction(SIGUSR1, &before, nullptr), 0);
}

TEST_F(WholeFile, MayBeAPipe) {
    const std::string path = pipe();
    const std::string text(200'000, 'x');  // more than a pipe holds at once
    std::thread writer([&] { std::ofstream(path) << text; });
    EXPECT_EQ(read(path, FileKind::Any), text);
    writer.join();
}

}  // namespace
}  // namespace quarn::utils
