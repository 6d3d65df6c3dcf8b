#include "quarn_radius/send/send_run.h"

#include <unistd.h>

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <utility>
#include <vector>

#include "common/terminal_text.h"
#include "quarn/client/challenge_answer.h"
#include "quarn/client/conversation.h"
#include "quarn/client/diagnosis.h"
#include "quarn/client/server.h"
#include "quarn_radius/send/expectation.h"
#include "quarn_radius/send/json_report.h"
#include "quarn_radius/send/outcome.h"
#include "quarn_radius/send/request_plan.h"
#include "quarn_radius/send/secret_source.h"
#include "quarn_radius/send/send_settings.h"
#include "quarn_radius/send/status_network.h"
#include "quarn_radius/send/text_report.h"
#include "quarn_radius/send/value_text.h"

namespace quarn::quarn_radius {

namespace {

namespace radius = subscriber::radius;

using client::Conversation;
using client::Verdict;
using tools::ExitStatus;

using SharedDictionary = std::shared_ptr<const radius::RadiusDictionary>;

SharedDictionary load_dictionary(const std::string& path) {
    auto dictionary = std::make_shared<radius::RadiusDictionary>();
    try {
        dictionary->load(path);
    } catch (const std::runtime_error& error) {
        throw FileError(error.what());
    }
    return dictionary;
}

/// A conversation that is told of when the silences have been diagnosed.
struct KeptConversation {
    std::size_t ask;
    Conversation conversation;

    bool is_silent() const { return conversation.last().verdict == Verdict::NoAnswer; }
};

class SendRun {
  public:
    SendRun(const SendOptions& options, client::Network& network, Streams streams)
        : options_(options),
          network_(network),
          streams_(streams),
          style_{options.show_secrets, options.verbose, options.quiet} {}

    ExitStatus run() {
        routes_ = make_routes(options_);
        if (routes_.empty() && !options_.dry_run) {
            throw std::invalid_argument("no server was given");
        }
        prepare();
        return options_.dry_run ? show_only() : send();
    }

  private:
    /// Everything that can fail without a packet being sent.
    void prepare() {
        conversation_options_ = make_conversation_options(options_);
        DraftSettings settings = make_draft_settings(options_);
        dictionary_ = load_dictionary(options_.dictionary);
        expectations_ = make_expectations(options_, dictionary_);
        const WrittenRequests written(options_);
        const GivenSecrets given = read_given_secrets(options_);
        if (given.password) {
            settings.password = given.password->text;
        }
        exchanges_ = plan_exchanges(written, settings, routes_.size(), dictionary_);
        choose_secret(given);
        if (ask_password(settings)) {
            exchanges_ = plan_exchanges(written, settings, routes_.size(), dictionary_);
        }
        encode_plan(exchanges_, secret_);
        answers_given_.resize(exchanges_.size());
        remarks_of_answers_.resize(exchanges_.size());
    }

    void choose_secret(const GivenSecrets& given) {
        for (const auto* const secret : {&given.secret, &given.password}) {
            if (*secret && !(*secret)->warning.empty()) {
                remarks_.push_back({"readable-by-others", (*secret)->warning});
            }
        }
        if (given.secret) {
            secret_ = given.secret->text;
        } else if (options_.dry_run) {
            if (options_.verbose) {
                throw std::invalid_argument(
                    "--verbose shows the octets of the request, which depend on the shared secret: "
                    "give one");
            }
            return;
        } else {
            secret_ = ask_shared_secret();
        }
        const std::size_t size = std::string_view(secret_).size();
        if (size <= short_secret_size) {
            remarks_.push_back({"short-secret", "The shared secret has " + std::to_string(size) +
                                                    (size == 1 ? " octet" : " octets") +
                                                    ": whoever reads one packet can guess it. Use 16 random "
                                                    "ones or more."});
        }
    }

    static utils::SecretText ask_shared_secret() {
        const auto secret = ask_secret("Shared secret: ");
        if (!secret) {
            throw std::invalid_argument(
                "no shared secret was given: name a file with --secret-file, or a variable with "
                "--secret-env");
        }
        if (secret->empty()) {
            throw std::invalid_argument("the shared secret is empty");
        }
        return *secret;
    }

    /// Asks for the password when a request lacks one. False when none was asked for or given.
    bool ask_password(DraftSettings& settings) const {
        const auto lacking =
            std::find_if(exchanges_.begin(), exchanges_.end(),
                         [](const PlannedExchange& exchange) { return exchange.draft.lacks_password; });
        if (lacking == exchanges_.end() || options_.dry_run) {
            return false;
        }
        settings.password = ask_secret("Password of " + user_of(*lacking) + ": ");
        return settings.password.has_value();
    }

    static std::string user_of(const PlannedExchange& exchange) {
        const radius::RadiusAttribute* const user = exchange.draft.packet.find_attribute("User-Name");
        return tools::terminal_text(value_text(*user, user->values.front(), nullptr).text);
    }

    ExitStatus show_only() {
        for (std::size_t ask = 0; ask < exchanges_.size(); ++ask) {
            const PlannedExchange& exchange = exchanges_[ask];
            client::Report report;
            if (!routes_.empty()) {
                report.server = routes_[exchange.route].server.text;
                report.transport = routes_[exchange.route].server.transport;
            }
            const utils::byte_span request = exchange.request->datagram();
            report.request.assign(request.begin(), request.end());
            print(outcome_of(ask, report));
        }
        return ExitStatus::Fine;
    }

    ExitStatus send() {
        client::Job job;
        job.routes = routes_;
        for (PlannedExchange& exchange : exchanges_) {
            job.asks.push_back({.request = *std::exchange(exchange.request, std::nullopt),
                                .route = exchange.route,
                                .mschapv2 = exchange.draft.mschapv2});
        }
        const client::ConversationHooks hooks{
            .on_challenge = [this](std::size_t ask,
                                   const Conversation& so_far) { return answer(ask, so_far); },
            .on_result = [this](std::size_t ask, Conversation& conversation) { take(ask, conversation); },
        };
        if (isatty(STDERR_FILENO) != 0 && !options_.json && !options_.quiet) {
            status_.emplace(network_, streams_.errors, exchanges_.size());
        }
        client::converse(std::move(job), secret_, dictionary_, conversation_options_, network(), hooks);
        tell_kept();
        clear_status();
        return static_cast<ExitStatus>(largest_status_);
    }

    /// The answer that was given beforehand or, at a terminal, is typed now.
    std::optional<utils::SecretText> next_answer(std::size_t ask, const radius::RadiusPacket& challenge) {
        const std::size_t number = answers_given_[ask]++;
        if (number < options_.taken.answers.size()) {
            return options_.taken.answers[number];
        }
        std::string prompt =
            "Challenge of " + tools::terminal_text(routes_[exchanges_[ask].route].server.text) + ": ";
        if (const radius::RadiusAttribute* const message = challenge.find_attribute("Reply-Message")) {
            for (const radius::RadiusValue& value : message->values) {
                prompt += tools::terminal_text(value_text(*message, value, nullptr).text) + ' ';
            }
        }
        clear_status();
        return ask_secret(prompt);
    }

    std::optional<client::Ask> answer(std::size_t ask, const Conversation& so_far) {
        PlannedExchange& exchange = exchanges_[ask];
        const radius::RadiusPacket* const challenge = so_far.last().decoded->verified();
        if (challenge == nullptr || challenge->find_attribute("EAP-Message") != nullptr) {
            return std::nullopt;
        }
        const auto text = next_answer(ask, *challenge);
        if (!text) {
            return std::nullopt;
        }
        client::challenge_answer(exchange.draft.packet, *challenge, *text);
        if (std::exchange(exchange.draft.mschapv2, std::nullopt)) {
            remarks_of_answers_[ask].push_back(
                {"mschap2-success-not-verified",
                 "A challenge was answered: whether the server knows the password (MS-CHAP2-Success) was "
                 "not verified."});
        }
        return client::Ask{.request = client::encode_request(exchange.draft.packet, secret_),
                           .route = exchange.route};
    }

    Outcome outcome_of(std::size_t ask, const client::Report& report) const {
        const PlannedExchange& exchange = exchanges_[ask];
        Outcome outcome;
        outcome.report = &report;
        outcome.origin = exchange.origin;
        outcome.session_id = exchange.draft.session_id;
        if (options_.json || !has_printed_) {
            outcome.remarks = remarks_;  // of the run: once are enough for people
        }
        outcome.remarks.insert(outcome.remarks.end(), exchange.remarks.begin(), exchange.remarks.end());
        return outcome;
    }

    /// Tells of a conversation, or keeps it when it, or one before it, has to be diagnosed first.
    void take(std::size_t ask, Conversation& conversation) {
        if (status_) {
            status_->count_answer();
        }
        if (options_.diagnose && (!kept_.empty() || conversation.last().verdict == Verdict::NoAnswer)) {
            kept_.push_back({ask, std::move(conversation)});
        } else {
            tell(ask, conversation, nullptr);
        }
    }

    /// Diagnoses all silences together, once for each server and code, and tells of what was kept.
    void tell_kept() {
        std::vector<client::Silence> silences;
        std::map<std::pair<std::size_t, std::uint8_t>, std::size_t> numbers;  // of the silences
        for (const KeptConversation& kept : kept_) {
            if (kept.is_silent() && numbers.try_emplace(place_of(kept.ask), silences.size()).second) {
                silences.push_back({&kept.conversation.last(), &routes_[exchanges_[kept.ask].route]});
            }
        }
        const std::vector<client::Diagnosis> diagnoses =
            client::diagnose(silences, secret_, dictionary_, conversation_options_, network());
        for (const KeptConversation& kept : kept_) {
            tell(kept.ask, kept.conversation,
                 kept.is_silent() ? &diagnoses[numbers.at(place_of(kept.ask))] : nullptr);
        }
    }

    /// Where a request goes: requests with the same route and code have the same diagnosis.
    std::pair<std::size_t, std::uint8_t> place_of(std::size_t ask) const {
        return {exchanges_[ask].route, exchanges_[ask].draft.packet.code};
    }

    void tell(std::size_t ask, const Conversation& conversation, const client::Diagnosis* diagnosis) {
        for (const client::Report& report : conversation.rounds) {
            Outcome outcome = outcome_of(ask, report);
            outcome.verdict = report.verdict;
            outcome.is_answered = &report != &conversation.last();
            if (!outcome.is_answered) {
                const std::vector<Remark>& remarks = remarks_of_answers_[ask];
                outcome.remarks.insert(outcome.remarks.end(), remarks.begin(), remarks.end());
                check_reply(outcome);
                outcome.diagnosis = diagnosis;
            }
            largest_status_ = std::max(largest_status_, outcome.exit_status);
            print(outcome);
        }
    }

    /// Sets the exit status, and what became of the expectations.
    void check_reply(Outcome& outcome) const {
        const radius::RadiusPacket* const reply =
            outcome.report->decoded ? outcome.report->decoded->verified() : nullptr;
        CheckedReply checked = check_expectations(expectations_, *outcome.verdict, reply);
        outcome.verdict = checked.verdict;
        outcome.exit_status = checked.exit_status;
        outcome.expectations = std::move(checked.expectations);
    }

    client::Network& network() { return status_ ? *status_ : network_; }

    void clear_status() {
        if (status_) {
            status_->clear();
        }
    }

    void print(const Outcome& outcome) {
        clear_status();
        if (options_.json) {
            streams_.output << outcome_json(outcome, style_, secret_, dictionary_) << '\n';
        } else {
            if (has_printed_ && !style_.quiet) {
                streams_.output << '\n';
            }
            streams_.output << outcome_text(outcome, style_, secret_, dictionary_);
            has_printed_ = true;
        }
        streams_.output.flush();
    }

    const SendOptions& options_;
    client::Network& network_;
    Streams streams_;
    ReportStyle style_;
    std::optional<StatusNetwork> status_;  // on terminals

    std::vector<client::Route> routes_;
    client::ConversationOptions conversation_options_;
    utils::SecretText secret_;
    SharedDictionary dictionary_;
    std::vector<Expectation> expectations_;
    std::vector<Remark> remarks_;
    std::vector<PlannedExchange> exchanges_;
    std::vector<std::size_t> answers_given_;               // by exchange
    std::vector<std::vector<Remark>> remarks_of_answers_;  // by exchange
    std::vector<KeptConversation> kept_;                   // in order
    int largest_status_ = 0;
    bool has_printed_ = false;
};

}  // namespace

ExitStatus run_send(const SendOptions& options, client::Network& network, Streams streams) {
    return SendRun(options, network, streams).run();
}

}  // namespace quarn::quarn_radius
