// The warning sink: where problems go that need not stop the work at hand.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quarn {

/// Where the library sends warnings.
///
/// Warnings are discarded unless the program asks for them:
///
///     const quarn::App::WarningHandler show([](std::string_view message, const quarn::App::Fields& fields) {
///         std::cerr << message << '\n';
///     });
///     dictionary.load(path);  // reports to the function above
class App {
  public:
    /// Key and value texts that say where and what, such as {"line", "12"}, in a fixed order.
    using Fields = std::vector<std::pair<std::string, std::string>>;

    /// Called in the thread that warned, before `warn` returns; what it throws passes through to there.
    using Sink = std::function<void(std::string_view message, const Fields& fields)>;

    /// Hands a warning to this thread's innermost handler; discards it when there is none.
    static void warn(std::string_view message, const Fields& fields);

    /// Whether this thread has a handler. Without one, no warning need be put together.
    static bool is_heard();

    /// Receives this thread's warnings for as long as it lives; then the previous handler does again.
    class WarningHandler {
      public:
        /// Handlers of one thread are destroyed in the reverse order of their making, as scopes do.
        explicit WarningHandler(Sink sink);
        ~WarningHandler();
        WarningHandler(const WarningHandler&) = delete;
        WarningHandler& operator=(const WarningHandler&) = delete;

      private:
        friend class App;
        Sink sink_;
        const WarningHandler* previous_;
    };

  private:
    static const WarningHandler*& current_handler();
};

}  // namespace quarn
