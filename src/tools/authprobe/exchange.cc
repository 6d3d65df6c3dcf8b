#include "authprobe/exchange.h"

#include <chrono>
#include <iostream>
#include <string>
#include <utility>
#include <variant>

#include "authprobe/client_error.h"
#include "authprobe/report.h"
#include "common/colour.h"
#include "quarn/client/run_exchange.h"

namespace quarn::authprobe {

void announce_request(const AccessRequest& request, const ServerConnection& connection) {
    std::cout << tools::colourise(tools::green, " Sent Access-Request Id " +
                                                    std::to_string(request.packet.identifier) + " from " +
                                                    connection.local().text() + " to " +
                                                    connection.server().text() + " length " +
                                                    std::to_string(request.encoded.datagram().size()))
              << '\n';
    print_attributes(request.packet, request.packet.dictionary.get());
    std::cout.flush();  // what was asked is there to read while the answer is awaited
}

std::optional<utils::Bytes> exchange(const AccessRequest& request, ServerConnection& connection,
                                     const ClientSettings& settings) {
    client::Exchange attempts(request.encoded, {.tries = settings.retry,
                                                .timeout = std::chrono::seconds(settings.timeout),
                                                .policy = client::Policy::NextTry});
    const auto report_failure = [&request](const client::TryFailed&) {
        std::cerr << tools::colourise(tools::yellow, " No reply from server for ID " +
                                                         std::to_string(request.encoded.identifier()))
                  << '\n';
    };
    client::ExchangeResult result = client::run_exchange(attempts, connection.transport(),
                                                         std::chrono::steady_clock::now, report_failure);
    if (auto* const answer = std::get_if<client::Answered>(&result.outcome)) {
        return std::move(answer->packet.bytes);
    }
    const auto* const error = std::get_if<client::TransportError>(&result.outcome);
    if (error != nullptr && error->origin == client::ErrorOrigin::Send) {
        throw SystemCallError("authprobe: send", error->number);
    }
    return std::nullopt;
}

}  // namespace quarn::authprobe
