// The files of a dictionary, one after the other.
//
//     DictionaryFiles files("dictionary.yaml", [](const FileFault& fault) { throw Failure(fault); });
//     while (const DictionaryDocument* document = files.next()) {
//         dictionary.apply(*document);
//     }
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "quarn/radius/dictionary_document.h"

namespace quarn::subscriber::radius {

/// What is wrong with a file as a whole, or with what it includes.
struct FileFault {
    /// The faults for which a load fails come first.
    enum class Kind : std::uint8_t {
        Unreadable,       ///< it cannot be opened or read, or is no file to read from
        NotYaml,          ///< it cannot be parsed
        Expanding,        ///< its aliases repeat too much
        NotAMap,          ///< its top level is something else
        BadIncludes,      ///< "includes" is no sequence
        BadInclude,       ///< an entry of "includes" is no text
        NullInclude,      ///< an entry of "includes" is null, which is read as the name "null"
        Cycle,            ///< it includes a file that includes it
        Empty,            ///< it holds nothing
        FurtherDocument,  ///< behind the document that is read stands another
    };

    Kind kind = Kind::Unreadable;
    std::string file;        ///< the file at fault: its canonical path, or the path as given without one
    std::uint32_t line = 1;  ///< where in it, from 1
    std::string problem;     ///< what is wrong, in words for people
    std::string reason;  ///< the same as `RadiusDictionary::load` tells it, behind the path and ": "; empty
                         ///< when no load fails for it

    // Of `Unreadable`: where the file is included, which is nowhere for the root.
    std::string includer;            ///< canonical path of the file that includes it
    std::string include;             ///< how it names the file
    std::uint32_t include_line = 0;  ///< on which line

    /// Whether a load fails for it.
    bool is_fatal() const { return kind < Kind::NullInclude; }
};

/// Reads a file and all that it includes, each file once and behind the files that it includes: the order in
/// which definitions replace each other.
///
/// The root may be anything with a name that can be read, a named pipe too. What is included has to be a
/// regular file. None may have more than 64 MiB. The aliases of a file may repeat 16 times its size. Beyond
/// that, those of all files together may repeat 64 KiB, and 8 MiB of enumerated values.
class DictionaryFiles {
  public:
    /// Told of each fault. If it returns, the files that can be read follow nevertheless.
    using FaultHandler = std::function<void(const FileFault&)>;

    /// What to do about documents behind the first one of a file, which is the only one that is read.
    enum class LaterDocuments {
        Ignored,  ///< nothing, whatever they are
        Told,     ///< report them, and that they cannot be parsed
    };

    /// Reads nothing yet.
    DictionaryFiles(const std::string& root, FaultHandler on_fault,
                    LaterDocuments later = LaterDocuments::Ignored);
    ~DictionaryFiles();
    DictionaryFiles(const DictionaryFiles&) = delete;
    DictionaryFiles& operator=(const DictionaryFiles&) = delete;

    /// The next document, or null behind the last. It and the texts that it views last until the next call.
    const DictionaryDocument* next();

  private:
    class Walk;
    std::unique_ptr<Walk> walk_;
};

}  // namespace quarn::subscriber::radius
