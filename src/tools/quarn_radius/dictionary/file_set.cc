#include "quarn_radius/dictionary/file_set.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstddef>
#include <functional>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "quarn/utils/file_descriptor.h"
#include "quarn_radius/dictionary/problem.h"

namespace quarn::quarn_radius {

namespace {

namespace fs = std::filesystem;

/// Steps that take back what was done, the last one first, unless they are dropped before the end of the
/// scope. A step is added before the deed, lest there be no memory for it afterwards: it has to do no harm if
/// the deed was never done.
class Undo {
  public:
    Undo() = default;
    Undo(const Undo&) = delete;
    Undo& operator=(const Undo&) = delete;
    ~Undo() {
        for (; !steps_.empty(); steps_.pop_back()) {
            steps_.back()();
        }
    }

    void add(std::function<void()> step) { steps_.push_back(std::move(step)); }
    void drop() { steps_.clear(); }

  private:
    std::vector<std::function<void()>> steps_;
};

void remove_quietly(const fs::path& path) {
    std::error_code failure;
    fs::remove(path, failure);
}

/// Of a link itself, not of the file that it leads to.
fs::file_status status_of(const fs::path& path) {
    std::error_code ignored;
    return fs::symlink_status(path, ignored);
}

// NOLINTNEXTLINE(misc-no-recursion): as deep as the path that the user typed has parts
void make_folder(const fs::path& folder, Undo& undo) {
    std::error_code failure;
    if (folder.empty() || fs::is_directory(folder, failure)) {
        return;
    }
    make_folder(folder.parent_path(), undo);
    // Unlike fs::remove, rmdir leaves alone a file that is in the way.
    undo.add([folder] { ::rmdir(folder.c_str()); });
    fs::create_directory(folder, failure);
}

/// Writes a file that must not be there yet.
bool write_new_file(const fs::path& path, std::string_view text) {
    const int descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor < 0) {
        return false;
    }
    const bool is_written = utils::write_all(descriptor, text);
    // Some file systems tell only now that the disk is full.
    return ::close(descriptor) == 0 && is_written;
}

/// One file on its way from beside its place into it.
class Replacement {
  public:
    /// `id` tells the replacements of one process apart.
    Replacement(const NewFile& file, std::size_t id) : file_(file) {
        // Short, as the file's own name may have the greatest length already.
        const std::string stem = ".import-" + std::to_string(::getpid()) + "-" + std::to_string(id);
        beside_ = file.path.parent_path() / (stem + ".new");
        replaced_ = file.path.parent_path() / (stem + ".old");
    }

    void write_beside(Undo& undo) const {
        make_folder(file_.path.parent_path(), undo);
        const fs::file_status earlier = status_of(file_.path);
        if (fs::is_directory(earlier) || fs::exists(status_of(beside_)) || fs::exists(status_of(replaced_))) {
            fail();
        }
        undo.add([path = beside_] { remove_quietly(path); });
        if (!write_new_file(beside_, file_.text)) {
            fail();
        }
        std::error_code failure;
        if (fs::is_regular_file(earlier)) {
            fs::permissions(beside_, earlier.permissions(), failure);
        }
        if (failure) {
            fail();
        }
    }

    void move_into_place(Undo& undo) const {
        std::error_code failure;
        if (fs::exists(status_of(file_.path))) {
            undo.add([from = replaced_, to = file_.path] {
                std::error_code ignored;
                fs::rename(from, to, ignored);
                remove_quietly(from);  // which stays where both are names of one file
            });
            // A second name, so that the file is there at every moment. Some file systems know none.
            fs::create_hard_link(file_.path, replaced_, failure);
            if (failure) {
                fs::rename(file_.path, replaced_, failure);
            }
        } else {
            undo.add([path = file_.path] { remove_quietly(path); });
        }
        if (!failure) {
            fs::rename(beside_, file_.path, failure);
        }
        if (failure) {
            fail();
        }
    }

    void remove_replaced() const { remove_quietly(replaced_); }

  private:
    [[noreturn]] void fail() const { throw FileError(file_.path.string() + ": cannot write"); }

    const NewFile& file_;
    fs::path beside_;
    fs::path replaced_;
};

}  // namespace

void write_together(std::span<const NewFile> files) {
    std::vector<Replacement> replacements;
    replacements.reserve(files.size());
    for (const NewFile& file : files) {
        replacements.emplace_back(file, replacements.size());
    }
    Undo undo;
    for (const Replacement& replacement : replacements) {
        replacement.write_beside(undo);
    }
    for (const Replacement& replacement : replacements) {
        replacement.move_into_place(undo);
    }
    undo.drop();
    for (const Replacement& replacement : replacements) {
        replacement.remove_replaced();
    }
}

}  // namespace quarn::quarn_radius
