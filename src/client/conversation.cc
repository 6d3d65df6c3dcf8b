#include "quarn/client/conversation.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <stdexcept>
#include <utility>
#include <variant>

#include "assessment.h"
#include "failure.h"
#include "lane.h"
#include "quarn/client/exchange.h"
#include "route_addresses.h"

namespace quarn::client {

namespace {

using SharedDictionary = std::shared_ptr<const subscriber::radius::RadiusDictionary>;

/// Most events taken of one transport before the others have their turn.
constexpr int max_events_in_a_row = 64;

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
    bool is_due = true;  // there may be something to do without waiting
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
          idle_lanes_(network),
          done_(job_.asks.size()),
          results_(job_.asks.size()) {}

    std::vector<Conversation> run() {
        const TimePoint begin = network_.now();
        routes_ = resolve_routes(job_.routes, begin + std::max(options_.timeout, Duration::zero()), network_);
        start_asks(network_.now() - begin);
        while (!running_.empty()) {
            for (const std::unique_ptr<Running>& running : running_) {
                if (std::exchange(running->is_due, false)) {
                    advance(*running);
                }
            }
            const std::size_t ended =
                std::erase_if(running_, [this](const auto& running) { return done_[running->number]; });
            tell_results();
            if (ended > 0) {
                start_asks(Duration::zero());
                wake_those_without_a_lane();
            } else {
                wait();
            }
        }
        return std::move(results_);
    }

  private:
    // Starting.

    /// `resolving` has been spent on resolving the servers of these asks.
    void start_asks(Duration resolving) {
        while (next_ask_ < job_.asks.size() && running_.size() < limit_) {
            auto running = std::make_unique<Running>(Running{next_ask_, std::move(job_.asks[next_ask_])});
            ++next_ask_;
            begin_round(*running);
            find_addresses(*running);
            running->resolving = resolving;
            running_.push_back(std::move(running));
        }
    }

    const Route& route_of(const Running& running) const { return job_.routes.at(running.ask.route); }

    void begin_round(Running& running) {
        const Route& route = route_of(running);
        running.report = Report();
        running.report.server = route.server.text;
        running.report.transport = route.server.transport;
        const utils::byte_span request = running.ask.request.datagram();
        running.report.request.assign(request.begin(), request.end());
        running.has_failure = false;
        for (const subscriber::radius::ParseIssue& issue : running.ask.request.issues()) {
            add_note(running.report.notes, NoteId::TruncatedValue,
                     "A value of the request was cut: " + issue.message + ".");
        }
    }

    void find_addresses(Running& running) {
        const RouteAddresses& route = routes_[running.ask.route];
        if (const net::ResolveError* const error = route.error()) {
            running.report.verdict = Verdict::ResolveFailed;
            running.report.detail =
                error->system_error == ETIMEDOUT ? "the resolver did not answer in time" : error->text();
            running.report.error_number = error->system_error;
            return;
        }
        running.addresses =
            route.with_port(route_of(running).server.port.value_or(default_port(running.ask.request.code())));
        if (const std::size_t left_out = route.left_out(); left_out > 0) {
            add_note(running.report.notes, NoteId::AddressesLeftOut,
                     "The server's name has " + std::to_string(left_out) + " more addresses than the " +
                         std::to_string(max_addresses) + " that are tried.");
        }
    }

    // Going on.

    /// Does whatever can be done without waiting.
    void advance(Running& running) {
        for (int event = 0; event < max_events_in_a_row; ++event) {
            if (done_[running.number] || (!running.exchange && !start_exchange(running)) || !step(running)) {
                return;
            }
        }
        running.is_due = true;  // after the others
    }

    /// Begins with the present address. False when there is nothing to do now: the ask is done, or has to
    /// wait for a socket.
    bool start_exchange(Running& running) {
        if (running.addresses.empty()) {
            finish_round(running);
            return false;
        }
        if (!running.lane) {
            auto lane = idle_lanes_.take(running.ask.route, route_of(running), running.addresses.front(),
                                         running.ask.request, secret_, running.report.notes);
            if (!lane && is_shortage(lane.error()) && other_lanes_in_use(running)) {
                limit_ = std::max<std::size_t>(running_.size() - 1, 1);
                return false;
            }
            if (!lane) {
                fail_address(running, failure_of_opening(lane.error(), route_of(running)), 0);
                return true;
            }
            running.lane = *std::move(lane);
        }
        const bool is_stream = running.lane->transport().is_stream();
        running.exchange.emplace(
            running.ask.request,
            ExchangeOptions{.tries = is_stream ? 1 : options_.tries,
                            .timeout = options_.timeout,
                            .policy = options_.wait_full_time ? Policy::WaitFullTime : Policy::EndAfterGrace,
                            .grace = options_.grace,
                            .already_spent = std::exchange(running.resolving, Duration::zero())},
            [this, &running](const ReceivedPacket& packet) { return judge(running, packet); });
        running.best.reset();
        running.wait_until.reset();
        return true;
    }

    /// One step of the exchange: false when it waits for the world outside.
    bool step(Running& running) {
        if (!running.exchange) {
            return true;  // the address failed at once; the next one follows
        }
        PollableTransport& transport = running.lane->transport();
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
            if (auto note = running.lane->earlier_reply(*packet, running.ask.request, secret_)) {
                add_note(running.report.notes, note->id, std::move(note->text));
                return;
            }
        }
        running.exchange->handle(std::move(event), network_.now());
    }

    /// Judges a packet for the exchange, and keeps it if none before was as telling.
    std::optional<Mismatch> judge(Running& running, const ReceivedPacket& packet) {
        Assessed assessed =
            assess(packet, running.lane->address(), running.ask, network_.now() - running.last_sent, secret_,
                   dictionary_, options_.require_message_authenticator);
        if (assessed.is_trusted()) {
            running.best = std::move(assessed);
            return std::nullopt;
        }
        add_note(running.report.notes, NoteId::UnacceptablePacket, assessed.refusal_text());
        if (!running.best || assessed.rank > running.best->rank) {
            running.best = std::move(assessed);
        }
        return packet.source != running.lane->address() ? Mismatch::WrongSource : Mismatch::NotAuthentic;
    }

    // Ending.

    void end_exchange(Running& running, const ExchangeResult& result) {
        running.report.local_address = running.lane->transport().local_address();
        const auto* const closed = std::get_if<Closed>(&result.outcome);
        if (closed != nullptr && !running.best && running.lane->is_used() && !running.is_reconnected) {
            // Most likely the server closed an idle connection before the request got there.
            running.is_reconnected = true;
            add_note(running.report.notes, NoteId::Reconnected,
                     "The server had closed the connection, and it was opened anew.");
            drop_lane(running);
            return;
        }
        const bool says_nothing_of_the_server = running.best && running.best->rank == 0;
        if (says_nothing_of_the_server && running.addresses.size() > 1) {
            fail_address(running, {Verdict::WrongSource, running.best->judgement.detail}, result.sends);
        } else if (running.best) {
            end_with_packet(running, result.sends);
        } else {
            fail_address(running, failure_of_exchange(result.outcome, running.lane->transport()),
                         result.sends);
        }
    }

    void end_with_packet(Running& running, int tries) {
        Report& report = running.report;
        report.address = running.lane->address();
        report.tries = tries;
        Assessed best = *std::exchange(running.best, std::nullopt);
        const bool is_trusted = best.is_trusted();
        if (is_trusted) {
            routes_[running.ask.route].prefer(running.lane->address());
        } else {
            // The packet that the verdict is about needs no note.
            const Note own{NoteId::UnacceptablePacket, best.refusal_text()};
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
        running.lane->remember(running.ask.request, is_trusted);
        running.exchange.reset();
        if (!is_trusted && running.lane->transport().is_stream()) {
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
    void fail_address(Running& running, const Failure& failure, int tries) {
        const net::Address address = running.addresses.front();
        running.addresses.erase(running.addresses.begin());
        running.exchange.reset();
        running.best.reset();
        const bool was_connected = running.lane && running.lane->transport().is_connected();
        if (running.lane) {
            running.lane->remember(running.ask.request, false);
            if (running.lane->transport().is_stream()) {
                drop_lane(running);
            } else {
                idle_lanes_.give_back(std::move(running.lane));
            }
        }
        Report& report = running.report;
        if (!running.addresses.empty()) {
            add_note(report.notes, NoteId::AddressFailed,
                     address.text() + " did not answer, " + std::string(verdict_row(failure.verdict).word) +
                         (failure.detail.empty() ? "" : ": " + failure.detail) + ".");
        }
        if (running.has_failure && failure.verdict == Verdict::Unreachable) {
            return;  // an address that was asked, and stayed silent, tells more than one without a route
        }
        running.has_failure = true;
        report.address = address;
        report.tries = tries;
        report.was_connected = was_connected;
        report.verdict = failure.verdict;
        report.detail = failure.detail;
        report.error_number = failure.error_number;
        report.icmp = failure.icmp;
    }

    void finish_round(Running& running) {
        if (running.lane) {
            idle_lanes_.give_back(std::move(running.lane));
        }
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

    static void drop_lane(Running& running) {
        running.exchange.reset();
        running.lane.reset();
    }

    bool other_lanes_in_use(const Running& running) const {
        return std::any_of(running_.begin(), running_.end(), [&](const auto& other) {
            return other.get() != &running && other->lane != nullptr;
        });
    }

    /// A socket that they wait for may be free now.
    void wake_those_without_a_lane() {
        for (const std::unique_ptr<Running>& running : running_) {
            running->is_due = running->is_due || !running->lane;
        }
    }

    // Waiting.

    /// Waits until one that runs may have something to do.
    void wait() {
        TimePoint deadline = TimePoint::max();
        std::vector<PollableTransport*> transports;
        std::vector<Running*> waiting;
        for (const std::unique_ptr<Running>& running : running_) {
            if (running->is_due) {
                return;
            }
            if (running->lane) {
                transports.push_back(&running->lane->transport());
                waiting.push_back(running.get());
                deadline = std::min(deadline, running->wait_until.value_or(TimePoint::max()));
            }
        }
        if (transports.empty()) {
            wake_those_without_a_lane();  // nobody is left who would free a socket for them
            return;
        }
        for (const std::size_t ready : network_.wait(transports, deadline)) {
            waiting[ready]->is_due = true;
        }
        const TimePoint now = network_.now();
        for (Running* const running : waiting) {
            running->is_due = running->is_due || (running->wait_until && *running->wait_until <= now);
        }
    }

    Job job_;
    std::string_view secret_;
    SharedDictionary dictionary_;
    const ConversationOptions& options_;
    Network& network_;
    const ConversationHooks& hooks_;

    std::size_t limit_;  // of asks under way at the same time
    std::vector<RouteAddresses> routes_;
    IdleLanes idle_lanes_;
    std::vector<std::unique_ptr<Running>> running_;
    std::vector<bool> done_;
    std::vector<Conversation> results_;
    std::size_t next_ask_ = 0;
    std::size_t told_ = 0;
};

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

}  // namespace quarn::client
