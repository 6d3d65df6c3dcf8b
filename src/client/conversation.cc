#include "quarn/client/conversation.h"

#include <netdb.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <deque>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <variant>

#include "quarn/client/exchange.h"
#include "quarn/radius/packet_code.h"
#include "quarn/radius/random.h"
#include "quarn/radius/signature.h"
#include "quarn/utils/secret.h"

namespace quarn::client {

namespace radius = subscriber::radius;

namespace {

using SharedDictionary = std::shared_ptr<const radius::RadiusDictionary>;
using utils::byte_span;

/// Most events taken of one transport before the others have their turn.
constexpr int max_events_in_a_row = 64;

/// Most packets thrown away before a request is sent: what is older than the request does not answer it.
constexpr int max_stale_events = 1024;

std::string error_text(int number) {
    return std::system_category().message(number);
}

/// "ICMP type 3 code 13 from 192.0.2.1", for a report from a reporter.
std::string icmp_text(const IcmpReport& icmp, net::Family family) {
    return std::string(family == net::Family::IPv4 ? "ICMP" : "ICMPv6") + " type " +
           std::to_string(icmp.type) + " code " + std::to_string(icmp.code) + " from " +
           icmp.reporter->host_text();
}

std::string open_error_text(const net::OpenError& error, const Route& route) {
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

/// A packet for any address of this machine goes to the loopback one, and is answered from there.
net::Address reachable(const net::Address& address) {
    if (!address.is_any()) {
        return address;
    }
    return *net::Address::parse(address.family() == net::Family::IPv4 ? "127.0.0.1" : "::1", address.port());
}

/// The datagram as far as its Length goes, if it has one that can be.
byte_span packet_in(byte_span datagram) {
    if (datagram.size() < min_packet_size) {
        return datagram;
    }
    const std::size_t length = static_cast<std::size_t>(datagram[2] << 8 | datagram[3]);
    return length >= min_packet_size && length <= datagram.size() ? datagram.first(length) : datagram;
}

/// A request that was sent earlier on a lane: as much of it as its replies are verified with.
struct PastRequest {
    std::uint8_t identifier;
    radius::Authenticator authenticator;
    bool is_answered;
};

/// A transport to one address, used by one request after the other.
struct Lane {
    std::size_t route;
    net::Address address;
    std::unique_ptr<PollableTransport> transport;
    std::deque<PastRequest> past;  // the newest last, one for each Identifier at most

    bool is_used() const { return !past.empty(); }

    void remember(const EncodedRequest& request, bool is_answered) {
        std::erase_if(past,
                      [&](const PastRequest& entry) { return entry.identifier == request.identifier(); });
        past.push_back({request.identifier(), request.authenticator(), is_answered});
    }
};

/// How telling a reply is that cannot be accepted: of several, the one with the highest rank stands.
int rank_of(Verdict verdict, bool is_from_elsewhere) {
    constexpr int verified_from_elsewhere = 6;
    switch (verdict) {
        case Verdict::MessageAuthenticatorMissing:
            return 7;
        case Verdict::UnexpectedCode:
            return 5;
        case Verdict::NotAuthentic:
            return 4;
        case Verdict::WrongSecret:
            return 3;
        case Verdict::WrongIdentifier:
            return 2;
        case Verdict::Malformed:
            return 1;
        default:
            return is_from_elsewhere ? verified_from_elsewhere : 0;
    }
}

/// A packet that arrived, and what it is.
struct Assessed {
    ReceivedPacket packet;
    Judgement judgement;
    Duration round_trip;
    int rank = 0;
};

/// Why an address did not answer.
struct Failure {
    Verdict verdict;
    std::string detail;
    int error_number = 0;
    std::optional<IcmpReport> icmp = {};
};

/// One ask on its way: the addresses that are left, and the exchange with the present one.
struct Running {
    std::size_t number;
    Ask ask;
    Conversation conversation = {};
    std::vector<net::Address> addresses = {};  // still to be tried, the present one first
    Duration resolving = {};                   // taken off the first try
    std::unique_ptr<Lane> lane = {};
    std::optional<Exchange> exchange = {};
    Report report = {};  // of the present round
    TimePoint last_sent = {};
    std::optional<TimePoint> wait_until = {};
    std::optional<Assessed> best = {};  // the reply, or the most telling of the others
    bool has_failure = false;           // the report tells of an address that did not answer
    bool is_reconnected = false;
};

class Conversations {
  public:
    Conversations(Job job, std::string_view secret, SharedDictionary dictionary,
                  const ConversationOptions& options, Network& network, const ConversationHooks& hooks)
        : job_(std::move(job)),
          secret_(secret),
          dictionary_(std::move(dictionary)),
          options_(options),
          network_(network),
          hooks_(hooks),
          limit_(std::max<std::size_t>(options.parallel, 1)),
          routes_(job_.routes.size()),
          done_(job_.asks.size()),
          results_(job_.asks.size()) {}

    std::vector<Conversation> run() {
        while (next_ask_ < job_.asks.size() || !running_.empty()) {
            start_asks();
            for (const std::unique_ptr<Running>& running : running_) {
                advance(*running);
            }
            const std::size_t ended =
                std::erase_if(running_, [this](const auto& running) { return done_[running->number]; });
            tell_results();
            if (ended == 0) {  // else others can begin at once, or have a socket
                wait();
            }
        }
        return std::move(results_);
    }

  private:
    struct ResolvedRoute {
        std::optional<utils::Result<std::vector<net::Address>, net::ResolveError>> addresses;
        std::optional<net::Address> preferred;  // that answered last, whatever the port
    };

    // Starting.

    void start_asks() {
        while (next_ask_ < job_.asks.size() && running_.size() < limit_) {
            auto running = std::make_unique<Running>(Running{next_ask_, std::move(job_.asks[next_ask_])});
            ++next_ask_;
            begin_round(*running);
            resolve(*running);
            running_.push_back(std::move(running));
        }
    }

    const Route& route_of(const Running& running) const { return job_.routes.at(running.ask.route); }

    void begin_round(Running& running) {
        const Route& route = route_of(running);
        running.report = Report();
        running.report.server = route.server.text;
        running.report.transport = route.server.transport;
        const byte_span request = running.ask.request.datagram();
        running.report.request.assign(request.begin(), request.end());
        running.has_failure = false;
        for (const radius::ParseIssue& issue : running.ask.request.issues()) {
            add_note(running.report.notes, NoteId::TruncatedValue,
                     "A value of the request was cut: " + issue.message + ".");
        }
    }

    void resolve(Running& running) {
        const Route& route = route_of(running);
        ResolvedRoute& resolved = routes_[running.ask.route];
        if (!resolved.addresses) {
            const TimePoint begin = network_.now();
            std::optional<net::Family> family = route.family;
            if (!family && route.source) {
                family = route.source->family();
            }
            const bool is_stream = route.server.transport == TransportKind::Tcp;
            resolved.addresses = network_.resolve(
                route.server.host, 0,
                {.family = family,
                 .socket_type = is_stream ? net::SocketType::Stream : net::SocketType::Datagram},
                begin + std::max(options_.timeout, Duration::zero()));
            running.resolving = network_.now() - begin;
        }
        if (!*resolved.addresses) {
            const net::ResolveError& error = resolved.addresses->error();
            running.report.verdict = Verdict::ResolveFailed;
            running.report.detail =
                error.system_error == ETIMEDOUT ? "the resolver did not answer in time" : error.text();
            running.report.error_number = error.system_error;
            return;
        }
        const std::uint16_t port = route.server.port.value_or(default_port(running.ask.request.code()));
        for (const net::Address& address : **resolved.addresses) {
            const net::Address with_port = reachable(address.with_port(port));
            if (std::find(running.addresses.begin(), running.addresses.end(), with_port) ==
                running.addresses.end()) {
                running.addresses.push_back(with_port);
            }
        }
        if (resolved.preferred) {
            const auto preferred = std::find(running.addresses.begin(), running.addresses.end(),
                                             resolved.preferred->with_port(port));
            if (preferred != running.addresses.end()) {
                std::rotate(running.addresses.begin(), preferred, running.addresses.end());
            }
        }
    }

    // Going on.

    /// Does whatever can be done without waiting.
    void advance(Running& running) {
        for (int event = 0; event < max_events_in_a_row && !done_[running.number]; ++event) {
            if (!running.exchange && !start_exchange(running)) {
                return;
            }
            if (!step(running)) {
                return;
            }
        }
    }

    /// Begins with the present address. False when there is nothing to do now: the ask is done, or has to
    /// wait for a socket.
    bool start_exchange(Running& running) {
        if (running.addresses.empty()) {
            finish_round(running);
            return false;
        }
        const net::Address& address = running.addresses.front();
        if (!running.lane) {
            const auto error = take_lane(running, address);
            if (error && is_shortage(*error) && other_lanes_in_use(running)) {
                limit_ = std::max<std::size_t>(running_.size() - 1, 1);
                return false;
            }
            if (error) {
                fail_address(running,
                             {verdict_of_error(error->number), open_error_text(*error, route_of(running)),
                              error->number},
                             0);
                return true;
            }
        }
        const bool is_stream = running.lane->transport->is_stream();
        running.exchange.emplace(
            running.ask.request,
            ExchangeOptions{.tries = is_stream ? 1 : options_.tries,
                            .timeout = options_.timeout,
                            .policy = options_.wait_full_time ? Policy::WaitFullTime : Policy::EndAfterGrace,
                            .grace = options_.grace,
                            .already_spent = std::exchange(running.resolving, Duration::zero())},
            [this, &running](const ReceivedPacket& packet) { return assess(running, packet); });
        running.best.reset();
        running.wait_until.reset();
        return true;
    }

    /// One step of the exchange: false when it waits for the world outside.
    bool step(Running& running) {
        if (!running.exchange) {
            return true;  // the address failed at once; the next one follows
        }
        PollableTransport& transport = *running.lane->transport;
        if (running.wait_until) {
            Event event = transport.receive(network_.now());
            if (std::holds_alternative<TimedOut>(event)) {
                if (network_.now() < *running.wait_until) {
                    return false;
                }
            } else {
                take(running, std::move(event));
            }
            running.wait_until.reset();
        }
        const TimePoint now = network_.now();
        Action action = running.exchange->next(now);
        if (const auto* const send = std::get_if<SendRequest>(&action)) {
            running.last_sent = now;
            if (const auto error = transport.send(send->datagram)) {
                running.exchange->handle(*error, network_.now());
            }
        } else if (const auto* const wait = std::get_if<WaitUntil>(&action)) {
            running.wait_until = wait->time;
        } else if (const auto* const done = std::get_if<Done>(&action)) {
            end_exchange(running, done->result);
        }
        return true;
    }

    void take(Running& running, Event event) {
        if (const auto* const packet = std::get_if<ReceivedPacket>(&event)) {
            if (note_if_late(running, *packet)) {
                return;
            }
        }
        running.exchange->handle(std::move(event), network_.now());
    }

    /// Whether the packet answers an earlier request on the lane, and not the present one.
    bool note_if_late(Running& running, const ReceivedPacket& received) {
        const byte_span packet = packet_in(received.bytes);
        const Lane& lane = *running.lane;
        if (packet.size() < min_packet_size || received.source != lane.address || secret_.empty()) {
            return false;
        }
        const EncodedRequest& present = running.ask.request;
        if (packet[1] == present.identifier() &&
            radius::response_authenticator_fits(packet, present.authenticator(), secret_)) {
            return false;
        }
        const auto past = std::find_if(lane.past.begin(), lane.past.end(), [&](const PastRequest& entry) {
            return entry.identifier == packet[1] &&
                   radius::response_authenticator_fits(packet, entry.authenticator, secret_);
        });
        if (past == lane.past.end()) {
            return false;
        }
        const std::string what = " reply to an earlier request (Identifier " + std::to_string(packet[1]) +
                                 ") arrived and was left alone.";
        if (past->is_answered) {
            add_note(running.report.notes, NoteId::SecondReply, "A second" + what);
        } else {
            add_note(running.report.notes, NoteId::LateReply, "A late" + what);
        }
        return true;
    }

    /// Judges a packet for the exchange, and keeps it if none before was as telling.
    std::optional<Mismatch> assess(Running& running, const ReceivedPacket& packet) {
        Assessed assessed{
            packet,
            judge_reply(packet.bytes, running.ask.request, secret_, dictionary_,
                        {.require_message_authenticator = options_.require_message_authenticator,
                         .mschapv2 = running.ask.mschapv2}),
            network_.now() - running.last_sent};
        const bool is_from_elsewhere = packet.source != running.lane->address;
        const bool is_trusted = assessed.judgement.is_trusted();
        if (!is_from_elsewhere && is_trusted) {
            running.best = std::move(assessed);
            return std::nullopt;
        }
        // Bytes from anywhere else say nothing about the server, unless they verify.
        assessed.rank =
            is_from_elsewhere && !is_trusted ? 0 : rank_of(assessed.judgement.verdict, is_from_elsewhere);
        if (is_from_elsewhere) {
            assessed.judgement.verdict = Verdict::WrongSource;
            assessed.judgement.detail = "from " + packet.source.text() + " instead of " +
                                        running.lane->address.text() +
                                        (is_trusted ? "; it is authentic otherwise" : "");
            assessed.judgement.offset.reset();
        }
        add_note(running.report.notes, NoteId::UnacceptablePacket, unacceptable_text(assessed));
        if (!running.best || assessed.rank > running.best->rank) {
            running.best = std::move(assessed);
        }
        return is_from_elsewhere ? Mismatch::WrongSource : Mismatch::NotAuthentic;
    }

    static std::string unacceptable_text(const Assessed& assessed) {
        const Judgement& judgement = assessed.judgement;
        return "A packet from " + assessed.packet.source.text() + " was not accepted, " +
               std::string(verdict_row(judgement.verdict).word) +
               (judgement.detail.empty() ? "" : ": " + judgement.detail) + ".";
    }

    // Ending.

    void end_exchange(Running& running, const ExchangeResult& result) {
        running.report.local_address = running.lane->transport->local_address();
        const auto* const closed = std::get_if<Closed>(&result.outcome);
        if (closed != nullptr && !running.best && running.lane->is_used() && !running.is_reconnected) {
            // Most likely the server closed an idle connection before the request got there.
            running.is_reconnected = true;
            add_note(running.report.notes, NoteId::Reconnected,
                     "The server had closed the connection, and it was opened anew.");
            drop_lane(running);
            return;
        }
        if (running.best) {
            end_with_packet(running, result.sends);
        } else {
            fail_address(running, failure_from(result.outcome, *running.lane), result.sends);
        }
    }

    /// What an exchange in which no packet came says of the address.
    static Failure failure_from(const Outcome& outcome, const Lane& lane) {
        if (const auto* const error = std::get_if<TransportError>(&outcome)) {
            return {verdict_of_error(error->number), transport_error_text(*error, lane.address.family()),
                    error->number, error->icmp};
        }
        if (const auto* const closed = std::get_if<Closed>(&outcome)) {
            return {Verdict::ConnectionClosed,
                    closed->unfinished == 0 ? ""
                                            : "in the middle of a packet, of which " +
                                                  std::to_string(closed->unfinished) + " octets had come"};
        }
        if (!lane.transport->is_stream()) {
            return {Verdict::NoAnswer, ""};
        }
        return {Verdict::NoAnswer, lane.transport->is_connected()
                                       ? "the connection was made, but no reply came"
                                       : "no connection was made in time"};
    }

    static std::string transport_error_text(const TransportError& error, net::Family family) {
        std::string text = error_text(error.number);
        if (error.icmp && error.icmp->reporter) {
            text += ", " + icmp_text(*error.icmp, family);
        }
        return error.number == EPERM ? text + ": a firewall of this machine" : text;
    }

    void end_with_packet(Running& running, int tries) {
        Report& report = running.report;
        report.address = running.lane->address;
        report.tries = tries;
        Assessed best = *std::exchange(running.best, std::nullopt);
        const bool is_trusted = best.judgement.is_trusted();
        if (!is_trusted) {
            // The packet that the verdict is about needs no note.
            const Note own{NoteId::UnacceptablePacket, unacceptable_text(best)};
            const auto found = std::find(report.notes.begin(), report.notes.end(), own);
            if (found != report.notes.end()) {
                report.notes.erase(found);
            }
        }
        report.verdict = best.judgement.verdict;
        report.detail = std::move(best.judgement.detail);
        report.offset = best.judgement.offset;
        report.error_cause = best.judgement.error_cause;
        report.reply_source = best.packet.source;
        report.reply = std::move(best.packet.bytes);
        report.decoded = std::move(best.judgement.reply);
        report.round_trip = best.round_trip;
        report.error_number = 0;
        report.icmp.reset();
        std::move(best.judgement.notes.begin(), best.judgement.notes.end(), std::back_inserter(report.notes));
        routes_[running.ask.route].preferred = running.lane->address;
        running.lane->remember(running.ask.request, is_trusted);
        running.exchange.reset();
        if (!is_trusted && running.lane->transport->is_stream()) {
            drop_lane(running);  // RFC 6613, section 2.6.4
        }
        if (report.verdict == Verdict::Challenge && answer_challenge(running)) {
            return;
        }
        finish_round(running);
    }

    /// Whether a further round has begun.
    bool answer_challenge(Running& running) {
        if (!hooks_.on_challenge) {
            return false;
        }
        running.conversation.rounds.push_back(std::move(running.report));
        const std::size_t rounds = running.conversation.rounds.size();
        std::optional<Ask> next;
        if (rounds >= static_cast<std::size_t>(std::max(options_.max_rounds, 1))) {
            add_note(
                running.conversation.last().notes, NoteId::TooManyRounds,
                "The server asked again after " + std::to_string(rounds) + " rounds, which is the limit.");
        } else {
            next = hooks_.on_challenge(running.number, running.conversation);
        }
        if (!next) {
            running.report = std::move(running.conversation.rounds.back());
            running.conversation.rounds.pop_back();
            return false;
        }
        next->route = running.ask.route;
        running.ask = *std::move(next);
        running.is_reconnected = false;
        running.addresses.resize(1);  // the address that sent the challenge
        begin_round(running);
        return true;
    }

    /// The present address did not answer. The next one is tried, if there is one.
    void fail_address(Running& running, Failure failure, int tries) {
        const net::Address address = running.addresses.front();
        running.addresses.erase(running.addresses.begin());
        running.exchange.reset();
        if (running.lane) {
            running.lane->remember(running.ask.request, false);
            if (running.lane->transport->is_stream()) {
                drop_lane(running);
            } else {
                give_lane_back(running);
            }
        }
        Report& report = running.report;
        if (!running.addresses.empty()) {
            add_note(report.notes, NoteId::AddressFailed,
                     address.text() + " did not answer, " + std::string(verdict_row(failure.verdict).word) +
                         (failure.detail.empty() ? "" : ": " + failure.detail) + ".");
        }
        // An address without a route says less than one that was asked.
        if (running.has_failure && failure.verdict == Verdict::Unreachable) {
            return;
        }
        running.has_failure = true;
        report.address = address;
        report.tries = tries;
        report.verdict = failure.verdict;
        report.detail = std::move(failure.detail);
        report.error_number = failure.error_number;
        report.icmp = failure.icmp;
    }

    void finish_round(Running& running) {
        give_lane_back(running);
        running.conversation.rounds.push_back(std::move(running.report));
        results_[running.number] = std::move(running.conversation);
        done_[running.number] = true;
    }

    void tell_results() {
        while (told_ < done_.size() && done_[told_]) {
            if (hooks_.on_result) {
                hooks_.on_result(told_, results_[told_]);
            }
            ++told_;
        }
    }

    // Lanes.

    /// Takes an idle lane to the address, or opens one. Returns why there is none.
    std::optional<net::OpenError> take_lane(Running& running, const net::Address& address) {
        while (true) {
            const auto idle = std::find_if(idle_.begin(), idle_.end(), [&](const auto& lane) {
                return lane->route == running.ask.route && lane->address == address;
            });
            if (idle == idle_.end()) {
                return open_lane(running, address);
            }
            running.lane = std::move(*idle);
            idle_.erase(idle);
            if (empty_lane(running)) {
                return std::nullopt;
            }
            drop_lane(running);  // the connection has ended meanwhile
        }
    }

    std::optional<net::OpenError> open_lane(Running& running, const net::Address& address) {
        const Route& route = route_of(running);
        const TransportOptions options{route.server.transport, route.source, route.interface};
        auto opened = network_.open(address, options);
        if (!opened && is_shortage(opened.error()) && !idle_.empty()) {
            idle_.clear();
            opened = network_.open(address, options);
        }
        if (!opened) {
            return opened.error();
        }
        running.lane = std::make_unique<Lane>(Lane{running.ask.route, address, *std::move(opened), {}});
        return std::nullopt;
    }

    /// Takes what has arrived on an idle lane, which cannot answer a request that was not sent yet. False
    /// when the connection has ended.
    bool empty_lane(Running& running) {
        for (int i = 0; i < max_stale_events; ++i) {
            const Event event = running.lane->transport->receive(network_.now());
            if (std::holds_alternative<TimedOut>(event)) {
                return true;
            }
            if (const auto* const packet = std::get_if<ReceivedPacket>(&event)) {
                note_if_late(running, *packet);
            } else if (running.lane->transport->is_stream()) {
                return false;
            }
        }
        return !running.lane->transport->is_stream();
    }

    void give_lane_back(Running& running) {
        if (running.lane) {
            idle_.push_back(std::move(running.lane));
        }
    }

    static void drop_lane(Running& running) {
        running.exchange.reset();
        running.lane.reset();
    }

    /// Whether a socket could not be opened because there are too many, or because another one has the port.
    static bool is_shortage(const net::OpenError& error) {
        // A second connection from one port to the same server.
        const bool is_connected_already =
            error.step == net::OpenStep::Connect && error.number == EADDRNOTAVAIL;
        return error.number == EMFILE || error.number == ENFILE || error.number == EADDRINUSE ||
               is_connected_already;
    }

    bool other_lanes_in_use(const Running& running) const {
        return std::any_of(running_.begin(), running_.end(), [&](const auto& other) {
            return other.get() != &running && other->lane != nullptr;
        });
    }

    // Waiting.

    void wait() {
        TimePoint deadline = TimePoint::max();
        std::vector<PollableTransport*> transports;
        transports.reserve(running_.size());
        for (const std::unique_ptr<Running>& running : running_) {
            if (!running->lane) {
                continue;  // waits for a socket that another one holds
            }
            transports.push_back(running->lane->transport.get());
            // One that has had its turn of events goes on at once.
            deadline = std::min(deadline, running->wait_until.value_or(network_.now()));
        }
        if (transports.empty()) {
            return;  // the sockets are free now
        }
        network_.wait(transports, deadline);
    }

    Job job_;
    std::string_view secret_;
    SharedDictionary dictionary_;
    const ConversationOptions& options_;
    Network& network_;
    const ConversationHooks& hooks_;

    std::size_t limit_;  // of asks under way at the same time
    std::vector<ResolvedRoute> routes_;
    std::vector<std::unique_ptr<Lane>> idle_;
    std::vector<std::unique_ptr<Running>> running_;
    std::vector<bool> done_;
    std::vector<Conversation> results_;
    std::size_t next_ask_ = 0;
    std::size_t told_ = 0;
};

/// Whether the code path is one of those by which a password is proved, or EAP is carried.
bool is_credential(const radius::CodePath& path) {
    static const std::array<radius::CodePath, 7> credentials = {{
        {2},            // User-Password
        {3},            // CHAP-Password
        {60},           // CHAP-Challenge
        {79},           // EAP-Message
        {26, 311, 1},   // MS-CHAP-Response
        {26, 311, 11},  // MS-CHAP-Challenge
        {26, 311, 25},  // MS-CHAP2-Response
    }};
    return std::find(credentials.begin(), credentials.end(), path) != credentials.end();
}

bool is_state(const radius::CodePath& path) {
    return path == radius::CodePath{24};
}

/// Removes attributes, and wipes their values: a password may be among them.
template <typename Condition>
void remove_attributes(radius::RadiusPacket& packet, Condition condition) {
    std::vector<std::string> keys;
    for (const auto& [key, attribute] : packet.attribute_map) {
        if (condition(attribute.code_path)) {
            keys.push_back(key);
        }
    }
    for (const std::string& key : keys) {
        const auto entry = packet.attribute_map.find(key);
        for (radius::RadiusValue& value : entry->second.values) {
            utils::wipe(value.data);
        }
        std::erase(packet.attribute_order, &entry->second);
        packet.attribute_map.erase(entry);
    }
}

}  // namespace

std::vector<Conversation> converse(Job job, std::string_view secret, SharedDictionary dictionary,
                                   const ConversationOptions& options, Network& network,
                                   const ConversationHooks& hooks) {
    if (!dictionary) {
        throw std::invalid_argument("converse: dictionary required");
    }
    if (std::any_of(job.asks.begin(), job.asks.end(),
                    [&](const Ask& ask) { return ask.route >= job.routes.size(); })) {
        throw std::out_of_range("converse: no such route");
    }
    return Conversations(std::move(job), secret, std::move(dictionary), options, network, hooks).run();
}

void challenge_answer(radius::RadiusPacket& packet, const radius::RadiusPacket& challenge,
                      std::string_view answer) {
    remove_attributes(packet,
                      [](const radius::CodePath& path) { return is_credential(path) || is_state(path); });
    for (const radius::RadiusAttribute* const attribute : challenge.attributes()) {
        if (is_state(attribute->code_path)) {
            packet.add_attribute(radius::RadiusAttribute(*attribute));
        }
    }
    packet.identifier = static_cast<std::uint8_t>((packet.identifier + 1) % 256);
    packet.authenticator = radius::random_authenticator();
    packet.set_attribute("User-Password", answer);  // in clear: the encoder hides it
}

}  // namespace quarn::client
