#include "quarn/radius/dictionary_files.h"

#include <filesystem>
#include <map>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "dictionary/document_items.h"
#include "quarn/radius/written_number.h"
#include "quarn/utils/whole_file.h"

namespace quarn::subscriber::radius {

namespace {

/// Canonical paths for files of which most lie in a few folders: each folder is followed up once.
class CanonicalPaths {
  public:
    /// The one name under which a file is opened, reported and remembered, however it was reached. Throws
    /// `std::filesystem::filesystem_error`.
    std::string path_of(const std::string& path) {
        const std::size_t slash = path.rfind('/');
        const std::string_view name = std::string_view(path).substr(slash + 1);
        if (slash == std::string::npos || slash == 0 || name.empty() || name == "." || name == "..") {
            return followed(path);
        }
        std::string& folder = folders_[path.substr(0, slash)];
        if (folder.empty()) {
            folder = followed(path.substr(0, slash));
        }
        const std::string likely = folder + (folder.ends_with('/') ? "" : "/") + std::string(name);
        std::error_code not_there;
        return std::filesystem::is_symlink(likely, not_there) ? followed(path) : likely;
    }

  private:
    static std::string followed(const std::string& path) {
        return std::filesystem::weakly_canonical(std::filesystem::absolute(path)).string();
    }

    std::map<std::string, std::string> folders_;
};

/// A file, and how far its includes were read.
struct Source {
    ParsedFile parsed;
    DictionaryDocument document;
    std::size_t next_include = 0;
};

}  // namespace

class DictionaryFiles::Walk {
  public:
    Walk(std::string root, FaultHandler on_fault, LaterDocuments later)
        : root_(std::move(root)), on_fault_(std::move(on_fault)), later_(later) {}

    const DictionaryDocument* next() {
        if (!std::exchange(is_started_, true) && open(root_, {})) {
            return &current_->document;
        }
        // A file comes behind all that it includes. It waits on a stack of its own, not on the call stack,
        // which a long chain of files would overflow.
        while (!waiting_.empty()) {
            Source& source = *waiting_.back();
            if (source.next_include == source.document.included.size()) {
                current_ = std::move(waiting_.back());
                waiting_.pop_back();
                is_waiting_[current_->document.file] = false;
                return &current_->document;
            }
            if (open_include(source.document, source.document.included[source.next_include++])) {
                return &current_->document;
            }
        }
        return nullptr;
    }

  private:
    /// Where a file is included; the root is nowhere.
    struct Place {
        std::string file;
        std::string name;
        std::uint32_t line = 0;
    };

    /// Whether the next document is there: one that includes nothing.
    bool open_include(const DictionaryDocument& includer, const WrittenText& entry) {
        if (!entry.is_text()) {
            return false;  // reported when its file was read
        }
        const std::filesystem::path folder = std::filesystem::path(includer.file).parent_path();
        Place place{includer.file, std::string(entry.text), entry.line};
        return open((folder / place.name).string(), place);
    }

    bool open(const std::string& requested, const Place& place) {
        std::string path;
        try {
            path = canonical_.path_of(requested);
        } catch (const std::filesystem::filesystem_error& error) {
            report_unreadable(requested, place, "cannot be opened", error.code().message());
            return false;
        }
        if (const auto visited = is_waiting_.find(path); visited != is_waiting_.end()) {
            if (visited->second) {
                report(FileFault::Kind::Cycle, place.file, place.line,
                       path == place.file ? "the file includes itself"
                                          : "include cycle: " + place.name + " includes this file in turn");
            }
            return false;
        }
        if (!current_) {
            current_ = std::make_unique<Source>();
        }
        current_->document.file = path;
        current_->next_include = 0;
        const auto kind = place.file.empty() ? utils::FileKind::Any : utils::FileKind::Regular;
        if (const auto failure = utils::read_whole_file(path, kind, current_->parsed.text)) {
            report_unreadable(path, place, failure->reason,
                              failure->opened ? failure->reason : "bad file: " + path);
            return false;
        }
        is_waiting_[path] = false;
        if (!parse(*current_)) {
            return false;
        }
        report_includes(current_->document);
        if (current_->document.included.empty()) {
            return true;
        }
        is_waiting_[path] = true;
        waiting_.push_back(std::move(current_));
        return false;
    }

    /// Makes the document; false if there is none, which is reported.
    bool parse(Source& source) {
        const std::string& file = source.document.file;
        ParsedFile& parsed = source.parsed;
        parsed.size = parsed.text.size();
        std::optional<YamlFault> fault;
        if (!read_json(parsed.text, parsed.items)) {
            LaterDocument later;
            if (later_ == LaterDocuments::Told) {
                later = find_later_document(parsed.text);
            }
            fault = read_yaml(parsed);
            if (!fault && later.fault) {
                report(FileFault::Kind::FurtherDocument, file, later.fault->line,
                       "only the first document of a file is read; what follows is not valid YAML: " +
                           later.fault->problem);
            } else if (!fault && later.line != 0) {
                report(FileFault::Kind::FurtherDocument, file, later.line,
                       "only the first document of a file is read; this is another");
            }
        }
        if (fault) {
            report(FileFault::Kind::NotYaml, file, fault->line, "not valid YAML: " + fault->problem,
                   "cannot load: " + fault->reason);
            return false;
        }
        try {
            make_document(parsed, repeatable_, source.document);
        } catch (const TooMuchRepeated& repeated) {
            const std::string problem = "aliases repeat more than 16 times the file's size";
            report(FileFault::Kind::Expanding, file, repeated.line, problem,
                   "cannot load: line " + std::to_string(repeated.line) + ": " + problem);
            return false;
        }
        const WrittenBlock& root = source.document.root;
        if (root.kind == WrittenKind::Null) {
            report(FileFault::Kind::Empty, file, 1, "the file is empty");
        } else if (root.kind != WrittenKind::Map) {
            const std::string problem = "top level must be a map";
            report(FileFault::Kind::NotAMap, file, root.line, problem, "cannot load: " + problem);
        }
        return root.kind == WrittenKind::Map;
    }

    void report_includes(const DictionaryDocument& document) {
        const WrittenBlock& includes = document.includes;
        if (includes.is_present() && includes.kind != WrittenKind::Sequence) {
            const std::string problem = "'includes' must be a sequence";
            report(FileFault::Kind::BadIncludes, document.file, includes.key_line, problem, problem);
        }
        const std::string problem = "'includes' entry must be a file name";
        for (const WrittenText& entry : document.included) {
            if (!entry.is_text()) {
                report(FileFault::Kind::BadInclude, document.file, entry.line, problem,
                       "invalid 'includes' entry: " + bad_conversion(entry));
            } else if (entry.kind == WrittenKind::Null) {
                report(FileFault::Kind::NullInclude, document.file, entry.line, problem);
            }
        }
    }

    void report(FileFault::Kind kind, const std::string& file, std::uint32_t line, std::string problem,
                std::string reason = "") const {
        on_fault_({kind, file, line, std::move(problem), std::move(reason), "", "", 0});
    }

    void report_unreadable(const std::string& file, const Place& place, const std::string& problem,
                           const std::string& reason) const {
        on_fault_({FileFault::Kind::Unreadable, file, 1, problem, "cannot load: " + reason, place.file,
                   place.name, place.line});
    }

    std::string root_;
    FaultHandler on_fault_;
    LaterDocuments later_;
    bool is_started_ = false;
    CanonicalPaths canonical_;
    std::map<std::string, bool> is_waiting_;        // the files read so far, by canonical path
    std::vector<std::unique_ptr<Source>> waiting_;  // for their includes, the includer in front
    std::unique_ptr<Source> current_;               // handed out last; its memory serves for the next
    Repeatable repeatable_;
};

DictionaryFiles::DictionaryFiles(const std::string& root, FaultHandler on_fault, LaterDocuments later)
    : walk_(std::make_unique<Walk>(root, std::move(on_fault), later)) {}
DictionaryFiles::~DictionaryFiles() = default;

const DictionaryDocument* DictionaryFiles::next() {
    return walk_->next();
}

}  // namespace quarn::subscriber::radius
