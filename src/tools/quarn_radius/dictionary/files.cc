#include "quarn_radius/dictionary/files.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <system_error>
#include <utility>

namespace quarn::quarn_radius {

namespace {

/// The one name of a file, however it was reached.
std::string canonical_path(const std::filesystem::path& path) {
    std::error_code failure;
    const std::filesystem::path canonical = std::filesystem::weakly_canonical(path, failure);
    return failure ? path.string() : canonical.string();
}

class TreeReader {
  public:
    explicit TreeReader(Problems& problems) : problems_(problems) {}

    /// Reads a file and all that it includes: what is included first.
    // Without recursion: more files in a row may each include the next than the stack has room for.
    void read(const std::string& file) {
        open(file);
        while (!open_.empty()) {
            OpenFile& top = open_.back();
            if (top.next < top.includes.size()) {
                // Copies: opening a file moves those that are open already.
                const std::string includer = top.file.path;
                const YAML::Node entry = top.includes[top.next++];
                read_include(includer, entry);
            } else {
                waits_[top.file.path] = false;
                files.push_back(std::move(top.file));
                open_.pop_back();
            }
        }
    }

    std::vector<DictionaryFile> files;

  private:
    /// A file that waits for its includes.
    struct OpenFile {
        DictionaryFile file;
        std::vector<YAML::Node> includes;
        std::size_t next = 0;
    };

    void report(const std::string& file, std::uint32_t line, Severity severity, const std::string& text) {
        problems_.push_back({file, line, severity, text});
    }

    /// The top-level map, if there is one.
    std::optional<YAML::Node> parse(const std::string& file) {
        std::vector<YAML::Node> documents;
        try {
            documents = YAML::LoadAllFromFile(file);
        } catch (const YAML::Exception& error) {
            const int line = error.mark.is_null() ? 0 : error.mark.line;
            report(file, static_cast<std::uint32_t>(line + 1), Severity::Error,
                   "not valid YAML: " + error.msg);
            return std::nullopt;
        }
        if (documents.size() > 1) {
            report(file, line_of(documents[1]), Severity::Warning,
                   "only the first document of a file is read; this is another");
        }
        if (documents.empty() || documents[0].IsNull()) {
            report(file, 1, Severity::Warning, "the file is empty");
            return std::nullopt;
        }
        if (!documents[0].IsMap()) {
            report(file, line_of(documents[0]), Severity::Error, "top level must be a map");
            return std::nullopt;
        }
        return documents[0];
    }

    void open(const std::string& file) {
        if (const auto root = parse(file)) {
            open_.push_back({{file, *root}, includes_of(file, *root)});
            waits_[file] = true;
        } else {
            waits_[file] = false;
        }
    }

    std::vector<YAML::Node> includes_of(const std::string& file, const YAML::Node& root) {
        const auto includes = find_field(root, "includes");
        if (!includes || includes->value.IsNull()) {
            return {};
        }
        if (!includes->value.IsSequence()) {
            report(file, line_of(includes->key), Severity::Error, "'includes' must be a sequence");
            return {};
        }
        return std::vector<YAML::Node>(includes->value.begin(), includes->value.end());
    }

    void read_include(const std::string& file, const YAML::Node& entry) {
        const std::uint32_t line = line_of(entry);
        if (!entry.IsScalar()) {
            report(file, line, Severity::Error, "'includes' entry must be a file name");
            return;
        }
        const std::string& name = entry.Scalar();
        const std::string included = canonical_path(std::filesystem::path(file).parent_path() / name);
        const auto visited = waits_.find(included);
        if (visited != waits_.end() && visited->second) {
            report(file, line, Severity::Warning,
                   included == file ? "the file includes itself"
                                    : "include cycle: " + name + " includes this file in turn");
        } else if (const std::string failure = open_failure(included); !failure.empty()) {
            report(file, line, Severity::Error, "cannot load " + name + ": " + failure);
        } else if (visited == waits_.end()) {
            open(included);
        }
    }

    Problems& problems_;
    std::map<std::string, bool> waits_;  ///< the files seen so far, and whether they wait for their includes
    std::vector<OpenFile> open_;
};

}  // namespace

std::vector<DictionaryFile> read_dictionary_files(const std::string& path, Problems& problems) {
    const std::string file = canonical_path(path);
    if (const std::string failure = open_failure(file); !failure.empty()) {
        throw FileError(path + ": " + failure);
    }
    TreeReader reader(problems);
    reader.read(file);
    return std::move(reader.files);
}

std::string open_failure(const std::string& file) {
    std::error_code status;
    if (!std::filesystem::exists(file, status)) {
        return "no such file";
    }
    if (std::filesystem::is_directory(file, status)) {
        return "is a directory";
    }
    return std::ifstream(file) ? "" : "cannot be opened";
}

std::uint32_t line_of(const YAML::Node& node) {
    return static_cast<std::uint32_t>(std::max(node.Mark().line, 0) + 1);
}

std::optional<std::string> text_of(const YAML::Node& node) {
    if (node.IsNull()) {
        return "null";
    }
    return node.IsScalar() ? std::optional(node.Scalar()) : std::nullopt;
}

std::optional<Field> find_field(const YAML::Node& map, std::string_view key) {
    for (const auto& entry : map) {
        if (text_of(entry.first) == key) {
            return Field{entry.first, entry.second};
        }
    }
    return std::nullopt;
}

}  // namespace quarn::quarn_radius
