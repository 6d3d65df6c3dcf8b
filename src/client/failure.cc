#include "failure.h"

#include <cerrno>
#include <system_error>
#include <variant>

namespace quarn::client {

namespace {

std::string error_text(int number) {
    return std::system_category().message(number);
}

/// What an errno value says of the way to a server.
Verdict verdict_of_error(int number) {
    switch (number) {
        case ECONNREFUSED:
            return Verdict::Refused;
        case ECONNRESET:
        case EPIPE:
            return Verdict::ConnectionClosed;
        case ETIMEDOUT:
            return Verdict::NoAnswer;
        default:
            return Verdict::Unreachable;
    }
}

std::string opening_text(const net::OpenError& error, const Route& route) {
    const std::string reason = ": " + error_text(error.number);
    switch (error.step) {
        case net::OpenStep::SelectInterface:
            return "cannot use the interface " + route.interface + reason;
        case net::OpenStep::Bind:
            return "cannot use the source address " +
                   (route.source ? route.source->text() : std::string("chosen by the kernel")) + reason;
        case net::OpenStep::Socket:
        case net::OpenStep::SetOption:
            return "cannot open a socket" + reason;
        case net::OpenStep::Connect:
            break;
    }
    return error_text(error.number);
}

/// "ICMP type 3 code 13 from 192.0.2.1", for a report from a reporter.
std::string icmp_text(const IcmpReport& icmp, net::Family family) {
    return std::string(family == net::Family::IPv4 ? "ICMP" : "ICMPv6") + " type " +
           std::to_string(icmp.type) + " code " + std::to_string(icmp.code) + " from " +
           icmp.reporter->host_text();
}

std::string transport_error_text(const TransportError& error, net::Family family) {
    std::string text = error_text(error.number);
    if (error.icmp && error.icmp->reporter) {
        text += ", " + icmp_text(*error.icmp, family);
    }
    return error.number == EPERM ? text + ": a firewall of this machine" : text;
}

std::string closed_text(const Closed& closed) {
    if (closed.unfinished == 0) {
        return "";
    }
    return "in the middle of a packet, of which " + std::to_string(closed.unfinished) + " octets had come";
}

}  // namespace

Failure failure_of_opening(const net::OpenError& error, const Route& route) {
    return {verdict_of_error(error.number), opening_text(error, route), error.number};
}

Failure failure_of_exchange(const Outcome& outcome, const PollableTransport& transport) {
    if (const auto* const error = std::get_if<TransportError>(&outcome)) {
        return {verdict_of_error(error->number),
                transport_error_text(*error, transport.remote_address().family()), error->number,
                error->icmp};
    }
    if (const auto* const closed = std::get_if<Closed>(&outcome)) {
        return {Verdict::ConnectionClosed, closed_text(*closed)};
    }
    if (!transport.is_stream()) {
        return {Verdict::NoAnswer};
    }
    return {Verdict::NoAnswer, transport.is_connected() ? "the connection was made, but no reply came"
                                                        : "no connection was made in time"};
}

}  // namespace quarn::client
