// A folder for one test's files.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace quarn::test {

/// A new, empty folder that nobody else uses; removed with all its content at the end of its scope.
class ScratchFolder {
  public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }

    /// Writes a file, making the folders on the way to it. Returns its full path.
    std::string write(const std::filesystem::path& name, std::string_view content) const;

  private:
    std::filesystem::path path_;
};

}  // namespace quarn::test
