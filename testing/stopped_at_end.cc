// Loaded into a program before its libraries, stops it where it would end, so that a test can look at what is
// left in its memory. SIGCONT lets it end.
#include <csignal>

namespace {

/// Runs after `main`, after the functions registered with `atexit` and after the destructors of the program's
/// objects.
__attribute__((destructor)) void stop() {
    static_cast<void>(std::raise(SIGSTOP));
}

}  // namespace
