// An exchange over a transport, from the first send to the result.
//
//     Exchange exchange(request, {.tries = 2});
//     const ExchangeResult result = run_exchange(exchange, transport, std::chrono::steady_clock::now);
//     if (const auto* answer = std::get_if<Answered>(&result.outcome)) { ... answer->packet.bytes ... }
#pragma once

#include <functional>

#include "quarn/client/exchange.h"
#include "quarn/client/transport.h"

namespace quarn::client {

/// Called for each try that failed, in order, before the next one begins.
using TryObserver = std::function<void(const TryFailed& failure)>;

/// Does what the exchange asks for until it is done. Returns its result. Returns sooner or later when the
/// clock goes on and the transport keeps to the deadlines. Throws only what the observer, the judge, the
/// clock and the transport throw.
ExchangeResult run_exchange(Exchange& exchange, Transport& transport, const Clock& clock,
                            const TryObserver& on_failed_try = {});

}  // namespace quarn::client
