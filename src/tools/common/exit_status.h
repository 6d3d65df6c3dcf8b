// How a run of `quarn-radius` ends.
#pragma once

namespace quarn::tools {

enum class ExitStatus : int {
    Fine = 0,
    ProblemsFound = 1,  ///< a problem was listed, nothing matched, or the reply is not as expected
    Usage = 2,          ///< the command line could not be understood
    FileProblem = 3,    ///< a file or the output could not be read or written
    NoAnswer = 4,       ///< a server stayed silent
    NotReached = 5,     ///< a server has no address, cannot be reached, or refuses
    Untrusted = 6,      ///< what came from a server cannot be trusted or read
                        ///< 7 is kept for TLS and EAP
};

}  // namespace quarn::tools
