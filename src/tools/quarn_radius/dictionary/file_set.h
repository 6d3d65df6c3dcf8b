// Files that come into a folder together or not at all.
#pragma once

#include <filesystem>
#include <span>
#include <string>

namespace quarn::quarn_radius {

/// A file to write.
struct NewFile {
    std::filesystem::path path;
    std::string text;
};

/// Writes all files, making the folders on the way to them and replacing files and links that are there. Each
/// is first written beside its place, under a name that begins with ".import-"; once all are written they are
/// renamed. A replaced file's permissions stay.
///
/// Throws `FileError`, "<path>: cannot write", for the first file that cannot be written, or whose place is a
/// folder. Then the folders are as they were: files that were replaced are back, new files and folders are
/// gone.
void write_together(std::span<const NewFile> files);

}  // namespace quarn::quarn_radius
