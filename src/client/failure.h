// Why an address did not answer: the verdict of an error, and its words. Internal to the layer.
#pragma once

#include <optional>
#include <string>

#include "quarn/client/conversation.h"
#include "quarn/client/exchange.h"
#include "quarn/client/transport.h"
#include "quarn/client/verdict.h"
#include "quarn/net/udp_socket.h"

namespace quarn::client {

/// What is reported of an address that did not answer.
struct Failure {
    Verdict verdict = Verdict::NoAnswer;
    std::string detail = {};              ///< for people; may be empty
    int error_number = 0;                 ///< errno value, or 0
    std::optional<IcmpReport> icmp = {};  ///< the ICMP message, if it was one
};

/// What a transport that cannot be opened says of the address.
Failure failure_of_opening(const net::OpenError& error, const Route& route);

/// What an exchange over this transport says of the address when no packet came.
Failure failure_of_exchange(const Outcome& outcome, const PollableTransport& transport);

}  // namespace quarn::client
