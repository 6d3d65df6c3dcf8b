#include "quarn_radius/send/text_report.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>

#include "common/colour.h"
#include "common/terminal_text.h"
#include "quarn/client/server.h"
#include "quarn/utils/text.h"
#include "quarn_radius/send/code_name.h"
#include "quarn_radius/send/value_text.h"

namespace quarn::quarn_radius {

namespace {

namespace radius = subscriber::radius;

constexpr std::string_view indent = "     ";

std::string octets_text(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " octet" : " octets");
}

std::string milliseconds_text(client::Duration duration) {
    std::array<char, 32> text{};
    const double milliseconds = std::chrono::duration<double, std::milli>(duration).count();
    const auto end =
        std::to_chars(text.data(), text.data() + text.size(), milliseconds, std::chars_format::fixed, 2);
    return std::string(text.data(), end.ptr) + " ms";
}

std::string packet_text(const radius::RadiusPacket& packet, bool show_hidden) {
    std::string text;
    for (const radius::RadiusAttribute* const attribute : packet.attributes()) {
        for (const radius::RadiusValue& value : attribute->values) {
            text += indent;
            text += is_hidden_value(*attribute) && !show_hidden
                        ? tools::terminal_text(name_with_tag(*attribute, value)) + " = (hidden)"
                        : attribute_line(*attribute, value, packet.dictionary.get());
            text += '\n';
        }
    }
    return text;
}

std::string request_text(const Outcome& outcome, const ReportStyle& style, std::string_view secret,
                         const std::shared_ptr<const radius::RadiusDictionary>& dictionary) {
    const client::Report& report = *outcome.report;
    const radius::RadiusPacket packet =
        packet_of_request(report.request, style.show_secrets ? secret : std::string_view(), dictionary);
    std::string text = !outcome.verdict ? "Would send " : report.tries > 0 ? "Sent " : "Did not send ";
    text += code_name(packet.code) + " Id " + std::to_string(packet.identifier);
    if (!report.server.empty()) {
        text += " to " + tools::terminal_text(report.server) + " (" +
                std::string(client::transport_name(report.transport)) +
                (report.address ? " " + report.address->text() : "") + ")";
    }
    text += ", " + octets_text(report.request.size());
    if (report.tries > 1) {
        text += ", " + std::to_string(report.tries) + " times";
    }
    if (!outcome.origin.empty()) {
        text += ", from " + tools::terminal_text(outcome.origin);
    }
    text += '\n' + packet_text(packet, style.show_secrets);
    return style.verbose ? text + bytes_text(report.request) : text;
}

std::string checks_text(const client::ReplyChecks& checks) {
    std::string passed;
    std::string failed;
    const auto add = [&](client::Check check, const char* name) {
        if (check != client::Check::NotMade) {
            std::string& list = check == client::Check::Passed ? passed : failed;
            list.append(list.empty() ? "" : ", ").append(name);
        }
    };
    add(checks.response_authenticator, "Response Authenticator");
    add(checks.message_authenticator, "Message-Authenticator");
    return (passed.empty() ? "" : "Verified: " + passed + "\n") +
           (failed.empty() ? "" : "Failed: " + failed + "\n");
}

std::string reply_text(const client::Report& report, const ReportStyle& style) {
    if (!report.reply) {
        return {};
    }
    const utils::Bytes& bytes = *report.reply;
    const radius::RadiusPacket* const packet = report.decoded ? report.decoded->unverified_packet() : nullptr;
    std::string text = "Received ";
    text += packet != nullptr ? code_name(packet->code) + " Id " + std::to_string(packet->identifier)
                              : "what is no packet";
    if (report.reply_source) {
        text += " from " + report.reply_source->text();
    }
    if (report.round_trip) {
        text += " after " + milliseconds_text(*report.round_trip);
    }
    text += ", " + octets_text(bytes.size()) + '\n';
    if (packet != nullptr) {
        text += packet_text(*packet, style.show_secrets && client::is_trusted(report.verdict));
        text += checks_text(report.decoded->checks());
    }
    return style.verbose ? text + bytes_text(bytes) : text;
}

std::string remarks_text(const Outcome& outcome) {
    std::string text;
    if (!outcome.session_id.empty()) {
        text += "Session: " + tools::terminal_text(outcome.session_id) + '\n';
    }
    for (const Remark& remark : outcome.remarks) {
        text += "Note: " + tools::terminal_text(remark.text) + '\n';
    }
    for (const client::Note& note : outcome.report->notes) {
        text += "Note: " + tools::terminal_text(note.text) + '\n';
    }
    for (const CheckedExpectation& expectation : outcome.expectations) {
        if (expectation.came) {
            text += "Expected " + tools::terminal_text(expectation.text) +
                    ", but: " + tools::terminal_text(*expectation.came) + '\n';
        }
    }
    return text;
}

std::string diagnosis_text(const client::Diagnosis& diagnosis) {
    std::string text;
    for (const client::Probe& probe : diagnosis.probes) {
        text += "Asked " + std::string(client::probe_word(probe.kind)) + ": " +
                std::string(client::verdict_row(probe.report.verdict).word) + '\n';
    }
    int number = 0;
    for (const client::Cause& cause : diagnosis.causes) {
        text += "Likely cause " + std::to_string(++number) + ": " + tools::terminal_text(cause.text) + '\n';
    }
    return text;
}

std::string_view colour_of(int exit_status) {
    return exit_status == 0 ? tools::green : tools::red;
}

std::string verdict_text(const Outcome& outcome, bool with_sentence) {
    const client::VerdictRow& row = client::verdict_row(*outcome.verdict);
    std::string text = tools::colourise(colour_of(outcome.exit_status), row.word);
    if (with_sentence) {
        text += ": " + std::string(sentence_of(outcome));
        if (outcome.report->offset) {
            text += " (at octet " + std::to_string(*outcome.report->offset) + ")";
        }
    } else {
        text += ' ' + tools::terminal_text(outcome.report->server);
        if (outcome.report->round_trip) {
            text += ' ' + milliseconds_text(*outcome.report->round_trip);
        }
    }
    return text + '\n';
}

/// Four hexadecimal digits, or more where they are needed.
std::string offset_text(std::size_t offset) {
    std::array<char, 16> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), offset, 16);
    const auto digits = static_cast<std::size_t>(end.ptr - text.data());
    return std::string(digits < 4 ? 4 - digits : 0, '0').append(text.data(), digits);
}

}  // namespace

std::string bytes_text(utils::byte_span bytes) {
    constexpr std::size_t line_size = 16;
    std::string text;
    for (std::size_t offset = 0; offset < bytes.size(); offset += line_size) {
        const utils::byte_span line = bytes.subspan(offset, std::min(line_size, bytes.size() - offset));
        text += "  " + offset_text(offset) + ' ';
        std::string characters;
        for (const std::uint8_t byte : line) {
            text += ' ' + utils::bytes_to_hex(&byte, 1);
            characters += byte >= 0x20 && byte < 0x7F ? static_cast<char>(byte) : '.';
        }
        text.append(3 * (line_size - line.size()) + 2, ' ').append(characters).append("\n");
    }
    return text;
}

std::string outcome_text(const Outcome& outcome, const ReportStyle& style, std::string_view secret,
                         const std::shared_ptr<const radius::RadiusDictionary>& dictionary) {
    if (style.quiet) {
        return outcome.verdict ? verdict_text(outcome, false) : std::string();
    }
    std::string text = request_text(outcome, style, secret, dictionary);
    text += reply_text(*outcome.report, style);
    text += remarks_text(outcome);
    if (outcome.diagnosis != nullptr) {
        text += diagnosis_text(*outcome.diagnosis);
    }
    if (!outcome.report->detail.empty()) {
        text += "Detail: " + tools::terminal_text(outcome.report->detail) + '\n';
    }
    if (outcome.verdict) {
        text += verdict_text(outcome, true);
    }
    return text;
}

}  // namespace quarn::quarn_radius
