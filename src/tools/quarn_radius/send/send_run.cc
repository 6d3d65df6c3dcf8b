#include "quarn_radius/send/send_run.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <memory>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <utility>

#include "common/terminal_text.h"
#include "quarn/client/challenge_answer.h"
#include "quarn/client/conversation.h"
#include "quarn/client/diagnosis.h"
#include "quarn/client/server.h"
#include "quarn/net/endpoint.h"
#include "quarn/radius/packet_code.h"
#include "quarn/radius/random.h"
#include "quarn_radius/send/expectation.h"
#include "quarn_radius/send/json_report.h"
#include "quarn_radius/send/outcome.h"
#include "quarn_radius/send/request_draft.h"
#include "quarn_radius/send/request_file.h"
#include "quarn_radius/send/secret_source.h"
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

client::Duration duration_of(std::chrono::duration<double> seconds) {
    return std::chrono::duration_cast<client::Duration>(seconds);
}

client::RequireMessageAuthenticator parse_requirement(const std::string& text) {
    if (text == "yes") {
        return client::RequireMessageAuthenticator::Yes;
    }
    if (text == "warn") {
        return client::RequireMessageAuthenticator::Warn;
    }
    if (text == "no") {
        return client::RequireMessageAuthenticator::No;
    }
    throw std::invalid_argument("--require-message-authenticator: \"" + text +
                                "\" is neither yes, warn nor no");
}

client::CredentialMethod parse_method(const std::string& text) {
    const auto method = client::credential_method_from_word(text);
    if (!method) {
        throw std::invalid_argument("--method: \"" + text + "\" is neither pap, chap, mschap nor mschapv2");
    }
    return *method;
}

std::optional<net::Address> parse_source(const std::string& text) {
    if (text.empty()) {
        return std::nullopt;
    }
    const auto endpoint = net::parse_endpoint(text);
    const auto address =
        endpoint ? net::Address::parse(endpoint->host, endpoint->port.value_or(0)) : std::nullopt;
    if (!address) {
        throw std::invalid_argument("--source: \"" + text + "\" is no address of this machine");
    }
    return address;
}

std::vector<client::Route> make_routes(const SendOptions& options) {
    if (options.ipv4 && options.ipv6) {
        throw std::invalid_argument("-4 and -6 leave no address to ask");
    }
    std::vector<std::string> texts = options.servers;
    std::copy_if(options.operands.begin(), options.operands.end(), std::back_inserter(texts),
                 is_server_operand);
    std::vector<client::Route> routes;
    for (const std::string& text : texts) {
        const auto server = client::parse_server(text);
        if (!server) {
            throw std::invalid_argument("\"" + text + "\" is no server: " + server.error().message);
        }
        client::Route route{.server = *server};
        route.source = parse_source(options.source);
        route.interface = options.interface;
        if (options.ipv4 || options.ipv6) {
            route.family = options.ipv4 ? net::Family::IPv4 : net::Family::IPv6;
        }
        routes.push_back(std::move(route));
    }
    return routes;
}

/// A request before it is built.
struct WrittenRequest {
    std::string origin;  ///< where its first attribute stands; empty for one of the command line
    std::vector<PlacedAttribute> attributes;
    std::vector<Remark> remarks;
};

/// One exchange to make.
struct Exchange {
    RequestDraft draft;
    std::string origin;
    std::vector<Remark> remarks;  ///< on how the request was written
    std::size_t route = 0;
    std::size_t answers_given = 0;
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
        conversation_options_ = {
            .tries = options_.tries,
            .timeout = duration_of(std::chrono::duration<double>(options_.timeout)),
            .grace = duration_of(std::chrono::duration<double, std::milli>(options_.grace)),
            .wait_full_time = options_.wait,
            .parallel = static_cast<std::size_t>(options_.parallel),
            .require_message_authenticator = parse_requirement(options_.require_message_authenticator),
        };
        settings_.method = parse_method(options_.method);
        const auto code = parse_request_code(options_.code);
        if (!code) {
            throw std::invalid_argument(
                "--code: \"" + options_.code +
                "\" is neither access, accounting, coa, disconnect, status nor a number "
                "from 1 to 255");
        }
        settings_.code = *code;
        settings_.bare = options_.bare;
        settings_.username = options_.username;
        settings_.mac_address = options_.mac_address;
        settings_.session_id = options_.session_id;
        dictionary_ = load_dictionary(options_.dictionary);
        for (const std::string& text : options_.expectations) {
            expectations_.push_back(Expectation::parse(text, dictionary_));
        }
        const std::vector<WrittenRequest> requests = read_requests();
        read_secrets(requests);
        make_exchanges(requests);
    }

    static SecretSource source_of(const std::optional<utils::SecretText>& taken, const std::string& text,
                                  const std::string& file, const std::string& variable) {
        SecretSource source{.text = taken, .file = file, .variable = variable};
        if (!source.text && !text.empty()) {
            source.text = text;
        }
        return source;
    }

    /// A password is asked for when there is a user who might have one.
    bool lacks_password(const std::vector<WrittenRequest>& requests) const {
        const bool has_attributes =
            std::any_of(requests.begin(), requests.end(), [](const WrittenRequest& request) {
                return std::any_of(request.attributes.begin(), request.attributes.end(),
                                   [](const PlacedAttribute& attribute) {
                                       return attribute.text->name.find("Password") != std::string::npos ||
                                              attribute.text->name == "EAP-Message";
                                   });
            });
        return settings_.code == radius::ACCESS_REQUEST && !settings_.username.empty() &&
               settings_.mac_address.empty() && !settings_.password && !has_attributes;
    }

    void read_secrets(const std::vector<WrittenRequest>& requests) {
        auto secret = read_secret(
            source_of(options_.taken.secret, options_.secret, options_.secret_file, options_.secret_variable),
            "secret");
        settings_.password = read_secret(source_of(options_.taken.password, options_.password,
                                                   options_.password_file, options_.password_variable),
                                         "password");
        if (secret && std::string_view(*secret).empty()) {
            // It would sign nothing, and passwords would be sent in clear.
            throw std::invalid_argument("the shared secret is empty");
        }
        if (options_.dry_run) {
            if (!secret && options_.verbose) {
                throw std::invalid_argument(
                    "--verbose shows the octets of the request, which depend on the shared secret: "
                    "give one");
            }
            secret_ = secret.value_or(utils::SecretText());
            return;
        }
        if (!secret) {
            secret = ask_secret("Shared secret: ");
        }
        if (!secret) {
            throw std::invalid_argument(
                "no shared secret was given: name a file with --secret-file, or a variable with "
                "--secret-env");
        }
        if (lacks_password(requests)) {
            settings_.password = ask_secret("Password of " + tools::terminal_text(settings_.username) + ": ");
        }
        secret_ = *secret;
        const std::size_t size = std::string_view(secret_).size();
        if (size <= short_secret_size) {
            remarks_.push_back({"short-secret", "The shared secret has " + std::to_string(size) +
                                                    (size == 1 ? " octet" : " octets") +
                                                    ": whoever reads one packet can guess it. Use 16 random "
                                                    "ones or more."});
        }
    }

    std::vector<WrittenRequest> read_requests() {
        for (const std::string& operand : options_.operands) {
            if (is_server_operand(operand)) {
                continue;
            }
            auto attribute = split_attribute(operand);
            if (!attribute) {
                throw std::invalid_argument("\"" + operand + "\" is no attribute: its name is missing");
            }
            typed_.push_back(*std::move(attribute));
        }
        for (const std::string& path : options_.request_files) {
            files_.push_back(read_request_file(path));
            if (files_.back().requests.empty()) {
                throw std::invalid_argument(files_.back().name + ": no request is in it");
            }
        }
        std::vector<WrittenRequest> requests;
        for (const RequestFile& file : files_) {
            for (const FileRequest& request : file.requests) {
                WrittenRequest written;
                written.origin = place_text({file.name, request.attributes.front().line});
                for (const FileAttribute& attribute : request.attributes) {
                    written.attributes.push_back({&attribute.text, place_text({file.name, attribute.line})});
                }
                for (const Problem& note : request.notes) {
                    written.remarks.push_back(
                        {"operator", place_text({note.file, note.line}) + ": " + note.text});
                }
                requests.push_back(std::move(written));
            }
        }
        if (options_.request_files.empty()) {
            requests.emplace_back();
        }
        for (WrittenRequest& request : requests) {
            add_common_attributes(request);
        }
        return requests;
    }

    /// The attributes of the command line, and those of the profile that nothing else sets.
    void add_common_attributes(WrittenRequest& request) const {
        for (const AttributeText& attribute : typed_) {
            request.attributes.push_back({&attribute, std::string()});
        }
        const std::vector<PlacedAttribute> own = request.attributes;
        for (const FileAttribute& attribute : options_.profile_attributes) {
            const bool is_set =
                std::any_of(own.begin(), own.end(), [&attribute](const PlacedAttribute& other) {
                    return utils::CaseInsensitiveEqual{}(other.text->name, attribute.text.name);
                });
            if (!is_set) {
                request.attributes.push_back(
                    {&attribute.text, place_text({options_.profile_file, attribute.line})});
            }
        }
    }

    void make_exchanges(const std::vector<WrittenRequest>& requests) {
        std::uint8_t identifier = radius::random_authenticator().front();
        const NasFacts facts = facts_of_this_machine();
        for (const WrittenRequest& request : requests) {
            for (std::size_t route = 0; route < std::max<std::size_t>(routes_.size(), 1); ++route) {
                RequestDraft draft =
                    make_draft(settings_, request.attributes, identifier, dictionary_, facts);
                exchanges_.push_back({std::move(draft), request.origin, request.remarks, route, 0});
                identifier = static_cast<std::uint8_t>((identifier + 1U) & 0xFFU);
            }
        }
        for (const Exchange& exchange : exchanges_) {
            check_size(exchange);
        }
    }

    void check_size(const Exchange& exchange) const {
        constexpr std::size_t max_size = 4096;  // RFC 2865, section 3
        const client::EncodedRequest request = client::encode_request(exchange.draft.packet, secret_);
        const std::string place = exchange.origin.empty() ? "" : exchange.origin + ": ";
        if (!request.issues().empty()) {
            throw std::invalid_argument(place + "the value of " + request.issues().front().context +
                                        " is too long for an attribute");
        }
        if (request.datagram().size() > max_size) {
            throw std::invalid_argument(place + "the request has " +
                                        std::to_string(request.datagram().size()) +
                                        " octets, and at most 4096 fit into a packet");
        }
    }

    client::Ask ask_for(Exchange& exchange) const {
        return {.request = client::encode_request(exchange.draft.packet, secret_),
                .route = exchange.route,
                .mschapv2 = exchange.draft.mschapv2};
    }

    ExitStatus show_only() {
        for (Exchange& exchange : exchanges_) {
            client::Report report;
            if (!routes_.empty()) {
                report.server = routes_[exchange.route].server.text;
                report.transport = routes_[exchange.route].server.transport;
            }
            const client::EncodedRequest request = client::encode_request(exchange.draft.packet, secret_);
            report.request.assign(request.datagram().begin(), request.datagram().end());
            Outcome outcome = outcome_of(exchange, report);
            print(outcome);
        }
        return ExitStatus::Fine;
    }

    ExitStatus send() {
        client::Job job;
        job.routes = routes_;
        for (Exchange& exchange : exchanges_) {
            job.asks.push_back(ask_for(exchange));
        }
        const client::ConversationHooks hooks{
            .on_challenge = [this](std::size_t ask,
                                   const Conversation& so_far) { return answer(ask, so_far); },
            .on_result = [this](std::size_t ask, Conversation& conversation) { tell(ask, conversation); },
        };
        client::converse(std::move(job), secret_, dictionary_, conversation_options_, network_, hooks);
        return static_cast<ExitStatus>(largest_status_);
    }

    /// The answer that was given beforehand or, at a terminal, is typed now.
    std::optional<utils::SecretText> next_answer(Exchange& exchange, const radius::RadiusPacket& challenge) {
        const std::size_t number = exchange.answers_given++;
        if (number < options_.taken.answers.size()) {
            return options_.taken.answers[number];
        }
        if (number < options_.answers.size() && options_.taken.answers.empty()) {
            return utils::SecretText(options_.answers[number]);
        }
        std::string prompt =
            "Challenge of " + tools::terminal_text(routes_[exchange.route].server.text) + ": ";
        if (const radius::RadiusAttribute* const message = challenge.find_attribute("Reply-Message")) {
            for (const radius::RadiusValue& value : message->values) {
                prompt += tools::terminal_text(value_text(*message, value, nullptr).text) + ' ';
            }
        }
        return ask_secret(prompt);
    }

    std::optional<client::Ask> answer(std::size_t ask, const Conversation& so_far) {
        Exchange& exchange = exchanges_[ask];
        const radius::RadiusPacket* const challenge = so_far.last().decoded->verified();
        if (challenge == nullptr || challenge->find_attribute("EAP-Message") != nullptr) {
            return std::nullopt;
        }
        const auto text = next_answer(exchange, *challenge);
        if (!text) {
            return std::nullopt;
        }
        client::challenge_answer(exchange.draft.packet, *challenge, *text);
        exchange.draft.mschapv2.reset();
        return ask_for(exchange);
    }

    Outcome outcome_of(const Exchange& exchange, const client::Report& report) const {
        Outcome outcome;
        outcome.report = &report;
        outcome.origin = exchange.origin;
        outcome.session_id = exchange.draft.session_id;
        outcome.remarks = remarks_;
        outcome.remarks.insert(outcome.remarks.end(), exchange.remarks.begin(), exchange.remarks.end());
        for (const std::string& note : exchange.draft.notes) {
            outcome.remarks.push_back({"passed-over", note});
        }
        return outcome;
    }

    void tell(std::size_t ask, Conversation& conversation) {
        const Exchange& exchange = exchanges_[ask];
        for (std::size_t round = 0; round < conversation.rounds.size(); ++round) {
            const client::Report& report = conversation.rounds[round];
            Outcome outcome = outcome_of(exchange, report);
            outcome.verdict = report.verdict;
            outcome.exit_status = client::verdict_row(report.verdict).exit_status;
            const bool is_last = round + 1 == conversation.rounds.size();
            outcome.is_answered = !is_last;
            std::optional<client::Diagnosis> diagnosis;
            if (is_last) {
                check_expectations(outcome);
                if (options_.diagnose && report.verdict == Verdict::NoAnswer) {
                    const client::Silence silence{&report, &routes_[exchange.route]};
                    diagnosis = std::move(
                        client::diagnose({&silence, 1}, secret_, dictionary_, conversation_options_, network_)
                            .front());
                    outcome.diagnosis = &*diagnosis;
                }
                largest_status_ = std::max(largest_status_, outcome.exit_status);
            }
            print(outcome);
        }
    }

    /// Looks at what a verified reply brought. The verdict stays when the server's answer is all that is
    /// wrong; a success that lacks something is none.
    void check_expectations(Outcome& outcome) const {
        const Verdict verdict = *outcome.verdict;
        const radius::RadiusPacket* const reply =
            outcome.report->decoded ? outcome.report->decoded->verified() : nullptr;
        if (expectations_.empty() || !client::is_trusted(verdict) || reply == nullptr) {
            return;
        }
        bool names_kind = false;
        bool all_hold = true;
        for (const Expectation& expectation : expectations_) {
            const auto came = expectation.difference(*reply);
            outcome.expectations.push_back({expectation.text(), came});
            names_kind = names_kind || expectation.kind();
            all_hold = all_hold && !came;
        }
        if (!names_kind && verdict != Verdict::Accepted) {
            return;  // success was expected, and the verdict says what came instead
        }
        if (!all_hold) {
            outcome.verdict = Verdict::ExpectationFailed;
        }
        outcome.exit_status = all_hold ? 0 : client::verdict_row(Verdict::ExpectationFailed).exit_status;
    }

    void print(const Outcome& outcome) {
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

    std::vector<client::Route> routes_;
    client::ConversationOptions conversation_options_;
    DraftSettings settings_;
    utils::SecretText secret_;
    SharedDictionary dictionary_;
    std::vector<Expectation> expectations_;
    std::vector<AttributeText> typed_;
    std::vector<RequestFile> files_;
    std::vector<Remark> remarks_;
    std::vector<Exchange> exchanges_;
    int largest_status_ = 0;
    bool has_printed_ = false;
};

}  // namespace

ExitStatus run_send(const SendOptions& options, client::Network& network, Streams streams) {
    return SendRun(options, network, streams).run();
}

}  // namespace quarn::quarn_radius
