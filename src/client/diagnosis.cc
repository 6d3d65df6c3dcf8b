#include "quarn/client/diagnosis.h"

#include <algorithm>
#include <array>
#include <optional>
#include <stdexcept>
#include <utility>

#include "packet_fault.h"
#include "quarn/net/buffer_writer.h"
#include "quarn/radius/packet_code.h"
#include "quarn/radius/random.h"

namespace quarn::client {

namespace radius = subscriber::radius;

namespace {

constexpr std::uint8_t eap_message_type = 79;            // RFC 3579, section 3.1
constexpr std::uint8_t message_authenticator_type = 80;  // RFC 3579, section 3.2

struct CauseRow {
    CauseId id;
    std::string_view word;
    std::string_view text;
};

constexpr std::array cause_rows = std::to_array<CauseRow>({
    {CauseId::WrongSecret, "wrong-secret",
     "The server uses another shared secret for this client, and drops what does not fit: compare the secret "
     "on both sides."},
    {CauseId::UnknownClient, "unknown-client",
     "The server does not know this client's address, and drops its requests: look at its list of clients, "
     "and at the address from which requests reach it."},
    {CauseId::RequestIgnored, "request-ignored",
     "The server is there and knows this client, but does not answer this request: look at its log for this "
     "request, at its policy, and at the back end that it waits for."},
    {CauseId::PortClosed, "port-closed",
     "Nobody listens at the port: look whether the server is running, and at its port."},
    {CauseId::Filtered, "filtered",
     "Packets do not get through: look at the firewalls on the way and whether the host is up."},
    {CauseId::WrongPort, "wrong-port", "The server listens at another port: look at its configuration."},
    {CauseId::NoStatusServer, "no-status-server",
     "The server may not answer Status-Server (RFC 5997) at all: its silence to that means nothing then."},
    {CauseId::TemporaryLoss, "temporary-loss",
     "The server answers now: packets were lost, or it was restarting. Try again."},
});

struct ProbeRow {
    ProbeKind kind;
    std::string_view word;
};

constexpr std::array probe_rows = std::to_array<ProbeRow>({
    {ProbeKind::StatusServer, "status-server"},
    {ProbeKind::WithoutMessageAuthenticator, "without-message-authenticator"},
});

/// A Status-Server with a Message-Authenticator (RFC 5997, section 3).
EncodedRequest status_server(std::uint8_t identifier, std::string_view secret,
                             std::shared_ptr<const radius::RadiusDictionary> dictionary) {
    radius::RadiusPacket packet(std::move(dictionary));
    packet.code = radius::STATUS_SERVER;
    packet.identifier = identifier;
    packet.authenticator = radius::random_authenticator();
    radius::RadiusAttribute signature(packet.dictionary->top_level_attribute(message_authenticator_type),
                                      {message_authenticator_type}, "Message-Authenticator");
    signature.values.emplace_back("octets", radius::Bytes(radius::ZERO16.size()), std::uint8_t{0}, false);
    packet.add_attribute(std::move(signature));
    return encode_request(packet, secret);
}

/// The same Access-Request under another Identifier and without its Message-Authenticator; nothing when that
/// is no valid request, or it has none. The hidden password stays valid: it depends on the Request
/// Authenticator, which stays.
std::optional<EncodedRequest> without_message_authenticator(utils::byte_span request,
                                                            std::uint8_t identifier) {
    if (fault_of_header(request) || request[0] != radius::ACCESS_REQUEST) {
        return std::nullopt;
    }
    net::BufferWriter out(request.size());
    out.append_bytes(request.first(min_packet_size));
    radius::AttributeReader attributes(request);
    bool was_signed = false;
    while (const auto attribute = attributes.next()) {
        if (attribute->type == eap_message_type) {
            return std::nullopt;
        }
        if (attribute->type == message_authenticator_type) {
            was_signed = true;
        } else {
            out.append_bytes(request.subspan(attribute->offset, attribute->value.size() + 2));
        }
    }
    if (!was_signed || attributes.fault()) {
        return std::nullopt;
    }
    const std::uint8_t new_identifier[] = {identifier};
    out.overwrite_bytes(1, new_identifier);
    out.overwrite_u16(2, static_cast<std::uint16_t>(out.size()));
    return EncodedRequest(out.take());
}

bool is_silent(const Report* report) {
    return report == nullptr || report->verdict == Verdict::NoAnswer;
}

bool has_verdict(const Report* report, Verdict verdict) {
    return report != nullptr && report->verdict == verdict;
}

/// Whether somebody who knows the secret answered, whatever the answer.
bool is_authentic(const Report* report) {
    return report != nullptr && (is_trusted(report->verdict) || report->verdict == Verdict::UnexpectedCode ||
                                 report->verdict == Verdict::MessageAuthenticatorMissing);
}

/// What silence on every question says.
std::vector<CauseId> causes_of_silence(const Report& silent, bool was_asked_unsigned) {
    if (silent.transport == TransportKind::Tcp && !silent.was_connected) {
        return {CauseId::Filtered, CauseId::WrongPort};
    }
    if (silent.transport == TransportKind::Tcp) {
        // A server closes the connections of clients that it does not know.
        return {CauseId::WrongSecret, CauseId::RequestIgnored, CauseId::UnknownClient,
                CauseId::NoStatusServer};
    }
    if (was_asked_unsigned) {
        // A server that knows the client answers a request without signature, unless it requires one.
        return {CauseId::UnknownClient, CauseId::Filtered, CauseId::WrongPort, CauseId::WrongSecret,
                CauseId::NoStatusServer};
    }
    return {CauseId::UnknownClient, CauseId::WrongSecret, CauseId::Filtered, CauseId::WrongPort,
            CauseId::NoStatusServer};
}

/// What the answers to the questions say, the likeliest cause first. `unsigned_request` may be null.
std::vector<CauseId> causes_of(const Report& silent, const Report& status, const Report* unsigned_request) {
    for (const Report* const report : {&status, unsigned_request}) {
        if (has_verdict(report, Verdict::WrongSecret)) {
            return {CauseId::WrongSecret};
        }
        if (has_verdict(report, Verdict::Refused) || has_verdict(report, Verdict::ConnectionClosed)) {
            return {CauseId::PortClosed, CauseId::WrongPort};
        }
        if (has_verdict(report, Verdict::Unreachable) || has_verdict(report, Verdict::ResolveFailed)) {
            return {CauseId::Filtered};
        }
    }
    if (is_authentic(unsigned_request)) {
        return {CauseId::TemporaryLoss};
    }
    if (is_authentic(&status)) {
        const bool is_usual_port =
            silent.address && silent.address->port() == default_port(EncodedRequest(silent.request).code());
        return is_usual_port
                   ? std::vector{CauseId::RequestIgnored, CauseId::TemporaryLoss}
                   : std::vector{CauseId::RequestIgnored, CauseId::WrongPort, CauseId::TemporaryLoss};
    }
    if (!is_silent(&status) || !is_silent(unsigned_request)) {
        return {CauseId::RequestIgnored};
    }
    return causes_of_silence(silent, unsigned_request != nullptr);
}

/// The questions about one silence.
struct Questions {
    std::vector<ProbeKind> kinds;
    std::vector<EncodedRequest> requests;  // one a kind
};

Questions questions_about(const Report& silent, std::string_view secret,
                          const std::shared_ptr<const radius::RadiusDictionary>& dictionary) {
    const EncodedRequest request(silent.request);
    const auto first = static_cast<std::uint8_t>((request.identifier() + 1) % 256);
    const auto second = static_cast<std::uint8_t>((request.identifier() + 2) % 256);
    Questions questions;
    questions.kinds.push_back(ProbeKind::StatusServer);
    questions.requests.push_back(status_server(first, secret, dictionary));
    if (auto unsigned_request = without_message_authenticator(silent.request, second)) {
        questions.kinds.push_back(ProbeKind::WithoutMessageAuthenticator);
        questions.requests.push_back(*std::move(unsigned_request));
    }
    return questions;
}

/// The way to the address that stayed silent.
Route route_to(const Silence& silence) {
    Route route = *silence.route;
    if (silence.report->address) {
        route.server.host = silence.report->address->host_text();
        route.server.port = silence.report->address->port();
    }
    return route;
}

Diagnosis diagnosis_of(const Report& silent, std::vector<Probe> probes) {
    Diagnosis diagnosis;
    diagnosis.probes = std::move(probes);
    const Report* const unsigned_request =
        diagnosis.probes.size() > 1 ? &diagnosis.probes[1].report : nullptr;
    for (const CauseId id : causes_of(silent, diagnosis.probes[0].report, unsigned_request)) {
        diagnosis.causes.push_back({id, std::string(cause_rows[static_cast<std::size_t>(id)].text)});
    }
    return diagnosis;
}

}  // namespace

std::string_view cause_word(CauseId id) {
    return cause_rows[static_cast<std::size_t>(id)].word;
}

std::string_view probe_word(ProbeKind kind) {
    return probe_rows[static_cast<std::size_t>(kind)].word;
}

std::vector<Diagnosis> diagnose(std::span<const Silence> silences, std::string_view secret,
                                std::shared_ptr<const radius::RadiusDictionary> dictionary,
                                const ConversationOptions& options, Network& network) {
    if (!dictionary) {
        throw std::invalid_argument("diagnose: dictionary required");
    }
    Job job;
    std::vector<std::vector<ProbeKind>> kinds;
    for (const Silence& silence : silences) {
        Questions questions = questions_about(*silence.report, secret, dictionary);
        for (EncodedRequest& request : questions.requests) {
            job.asks.push_back({.request = std::move(request), .route = job.routes.size()});
        }
        kinds.push_back(std::move(questions.kinds));
        job.routes.push_back(route_to(silence));
    }
    ConversationOptions once = options;
    once.tries = 1;
    once.parallel = job.asks.size();
    std::vector<Conversation> conversations =
        converse(std::move(job), secret, std::move(dictionary), once, network);

    std::vector<Diagnosis> diagnoses;
    auto conversation = conversations.begin();
    for (std::size_t i = 0; i < silences.size(); ++i) {
        std::vector<Probe> probes;
        for (const ProbeKind kind : kinds[i]) {
            probes.push_back({kind, std::move(conversation->last())});
            ++conversation;
        }
        diagnoses.push_back(diagnosis_of(*silences[i].report, std::move(probes)));
    }
    return diagnoses;
}

}  // namespace quarn::client
