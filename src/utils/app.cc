#include "quarn/utils/app.h"

namespace quarn {

const App::WarningHandler*& App::current_handler() {
    // Per thread, so that two threads that load dictionaries at once do not hear each other's warnings.
    thread_local const WarningHandler* handler = nullptr;
    return handler;
}

bool App::is_heard() {
    return current_handler() != nullptr;
}

void App::warn(std::string_view message, const Fields& fields) {
    if (const WarningHandler* const handler = current_handler()) {
        handler->sink_(message, fields);
    }
}

App::WarningHandler::WarningHandler(Sink sink) : sink_(std::move(sink)), previous_(current_handler()) {
    current_handler() = this;
}

App::WarningHandler::~WarningHandler() {
    current_handler() = previous_;
}

}  // namespace quarn
