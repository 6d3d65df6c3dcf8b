#include "quarn/client/run_exchange.h"

#include <utility>

namespace quarn::client {

ExchangeResult run_exchange(Exchange& exchange, Transport& transport, const Clock& clock,
                            const TryObserver& on_failed_try) {
    while (true) {
        Action action = exchange.next(clock());
        if (const auto* const request = std::get_if<SendRequest>(&action)) {
            if (const auto error = transport.send(request->datagram)) {
                exchange.handle(*error, clock());
            }
        } else if (const auto* const wait = std::get_if<WaitUntil>(&action)) {
            Event event = transport.receive(wait->time);
            exchange.handle(std::move(event), clock());
        } else if (const auto* const failure = std::get_if<TryFailed>(&action)) {
            if (on_failed_try) {
                on_failed_try(*failure);
            }
        } else {
            return std::get<Done>(std::move(action)).result;
        }
    }
}

}  // namespace quarn::client
