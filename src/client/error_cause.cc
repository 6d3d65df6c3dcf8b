#include "quarn/client/error_cause.h"

#include <algorithm>
#include <array>

namespace quarn::client {

namespace {

constexpr std::array rows = std::to_array<ErrorCauseRow>({
    {201, "Residual Session Context Removed",
     "The session was no longer active, and what was left of it has been removed."},
    {202, "Invalid EAP Packet (Ignored)", "The server ignored an EAP packet that it could not read."},
    {401, "Unsupported Attribute", "The request has an attribute that the server does not support."},
    {402, "Missing Attribute", "The request lacks an attribute that the server needs."},
    {403, "NAS Identification Mismatch",
     "NAS-Identifier or NAS-IP-Address of the request do not name the NAS that got it."},
    {404, "Invalid Request", "Some other part of the request is not valid."},
    {405, "Unsupported Service", "The Service-Type of the request is not supported."},
    {406, "Unsupported Extension", "The server does not support this kind of packet."},
    {407, "Invalid Attribute Value", "An attribute of the request has a value that the server cannot use."},
    {501, "Administratively Prohibited",
     "The server's configuration forbids the request: it may be meant for another client or session."},
    {502, "Request Not Routable (Proxy)", "A proxy does not know where to send the request."},
    {503, "Session Context Not Found",
     "The server knows no such session: compare User-Name, Acct-Session-Id and the NAS with its list."},
    {504, "Session Context Not Removable", "The server knows the session, but cannot remove it."},
    {505, "Other Proxy Processing Error", "A proxy could not handle the request."},
    {506, "Resources Unavailable", "The server lacks the resources to do what was asked."},
    {507, "Request Initiated",
     "The server has begun to do what was asked, by sending a request of its own (Service-Type "
     "Authorize-Only)."},
    {508, "Multiple Session Selection Unsupported",
     "The request selects more than one session, which the server does not support."},
    {509, "Location-Info-Required", "The server needs to know where the user is (RFC 5580)."},
    {601, "Response Too Big", "The reply would be longer than the client can take (RFC 7930)."},
});

}  // namespace

std::span<const ErrorCauseRow> error_causes() {
    return rows;
}

const ErrorCauseRow* find_error_cause(std::uint32_t number) {
    const auto* const row = std::find_if(
        rows.begin(), rows.end(), [number](const ErrorCauseRow& entry) { return entry.number == number; });
    return row != rows.end() ? row : nullptr;
}

}  // namespace quarn::client
