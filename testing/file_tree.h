// Inputs that stand for several files.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "testing/scratch_folder.h"

namespace quarn::fuzz {

/// A scratch folder that holds the files of one input at a time.
class FileTree {
  public:
    /// Puts the input's files there, in place of those of the input before. A line "=== " and a name begins a
    /// file; what stands above the first such line is the file "root". Names that lead anywhere else than to
    /// one of the few files known to this class are taken for text. Returns the root's path.
    std::string write(std::string_view input);

    /// Where the files are.
    const test::ScratchFolder& folder() const { return folder_; }

  private:
    test::ScratchFolder folder_;
    std::vector<std::string> written_;
};

/// Whether the input may name files outside of its tree. Devices and the like have no end, and whatever else
/// is there would make runs differ.
bool names_foreign_files(std::string_view input);

}  // namespace quarn::fuzz
