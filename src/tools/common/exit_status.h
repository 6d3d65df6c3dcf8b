// How a run of `quarn-radius` ends.
#pragma once

namespace quarn::tools {

enum class ExitStatus : int {
    Fine = 0,
    ProblemsFound = 1,  ///< a problem was listed, or nothing matched what was asked for
    Usage = 2,          ///< the command line could not be understood
    FileProblem = 3,    ///< a file or the output could not be read or written
};

}  // namespace quarn::tools
