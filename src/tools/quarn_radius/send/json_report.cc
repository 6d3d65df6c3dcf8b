#include "quarn_radius/send/json_report.h"

#include <chrono>
#include <vector>

#include "common/json_object.h"
#include "common/terminal_text.h"
#include "quarn/client/server.h"
#include "quarn/radius/code_path.h"
#include "quarn/utils/text.h"
#include "quarn_radius/send/code_name.h"
#include "quarn_radius/send/value_text.h"

namespace quarn::quarn_radius {

namespace {

namespace radius = subscriber::radius;

using tools::JsonObject;

/// JSON is UTF-8, and any bytes may come.
std::string utf8(std::string_view text) {
    return utils::is_well_formed_utf8(text) ? std::string(text) : tools::terminal_text(text);
}

std::uint32_t narrow(std::size_t number) {
    return static_cast<std::uint32_t>(number);
}

std::string attribute_json(const radius::RadiusAttribute& attribute, const radius::RadiusValue& value,
                           const radius::RadiusDictionary* dictionary, bool show_hidden) {
    const UntaggedValue parts = without_tag(attribute, value);
    JsonObject object;
    object.add("name", utf8(attribute.display_name()));
    object.add("code", radius::radius_code_path_to_string(attribute.code_path));
    object.add("type", utf8(attribute.metadata->type));
    if (parts.tag) {
        object.add("tag", std::uint32_t{*parts.tag});
    }
    if (is_hidden_value(attribute) && !show_hidden) {
        object.add("hidden", true);
        object.add_null("value");
        return object.text();
    }
    object.add("value", value_text(attribute, value, dictionary).text);
    object.add("hex", utils::bytes_to_hex(parts.bytes.data(), parts.bytes.size()));
    return object.text();
}

JsonObject packet_json(const radius::RadiusPacket& packet, std::size_t size, bool show_hidden) {
    std::vector<std::string> attributes;
    for (const radius::RadiusAttribute* const attribute : packet.attributes()) {
        for (const radius::RadiusValue& value : attribute->values) {
            attributes.push_back(attribute_json(*attribute, value, packet.dictionary.get(), show_hidden));
        }
    }
    JsonObject object;
    object.add("code", std::uint32_t{packet.code});
    object.add("name", code_name(packet.code));
    object.add("identifier", std::uint32_t{packet.identifier});
    object.add("length", narrow(size));
    object.add_list("attributes", attributes);
    return object;
}

void add_reply(JsonObject& object, const client::Report& report, const ReportStyle& style) {
    if (!report.reply) {
        object.add_null("reply");
        return;
    }
    const radius::RadiusPacket* const packet = report.decoded ? report.decoded->unverified_packet() : nullptr;
    const bool is_trusted = client::is_trusted(report.verdict);
    JsonObject reply;
    if (packet != nullptr) {
        reply = packet_json(*packet, report.reply->size(), style.show_secrets && is_trusted);
    } else {
        reply.add("length", narrow(report.reply->size()));
    }
    if (report.reply_source) {
        reply.add("source", report.reply_source->text());
    }
    reply.add("verified", is_trusted);
    if (style.verbose || packet == nullptr) {
        reply.add("hex", utils::bytes_to_hex(report.reply->data(), report.reply->size()));
    }
    object.add("reply", reply);
}

std::string note_json(std::string_view word, std::string_view text) {
    JsonObject note;
    note.add("id", word);
    note.add("text", utf8(text));
    return note.text();
}

void add_expectations(JsonObject& object, const Outcome& outcome) {
    std::vector<std::string> expectations;
    for (const CheckedExpectation& checked : outcome.expectations) {
        JsonObject expectation;
        expectation.add("expect", utf8(checked.text));
        expectation.add("met", !checked.came);
        if (checked.came) {
            expectation.add("came", utf8(*checked.came));
        }
        expectations.push_back(expectation.text());
    }
    object.add_list("expectations", expectations);
}

void add_diagnosis(JsonObject& object, const client::Diagnosis& diagnosis) {
    std::vector<std::string> probes;
    for (const client::Probe& probe : diagnosis.probes) {
        JsonObject asked;
        asked.add("probe", client::probe_word(probe.kind));
        asked.add("verdict", client::verdict_row(probe.report.verdict).word);
        probes.push_back(asked.text());
    }
    std::vector<std::string> causes;
    for (const client::Cause& cause : diagnosis.causes) {
        causes.push_back(note_json(client::cause_word(cause.id), cause.text));
    }
    JsonObject found;
    found.add_list("probes", probes);
    found.add_list("causes", causes);
    object.add("diagnosis", found);
}

}  // namespace

std::string outcome_json(const Outcome& outcome, const ReportStyle& style, std::string_view secret,
                         const std::shared_ptr<const radius::RadiusDictionary>& dictionary) {
    const client::Report& report = *outcome.report;
    JsonObject object;
    if (outcome.verdict) {
        const client::VerdictRow& row = client::verdict_row(*outcome.verdict);
        object.add("verdict", row.word);
        object.add("sentence", sentence_of(outcome));
        if (outcome.is_answered) {
            object.add("answered", true);
        }
    } else {
        object.add_null("verdict");
    }
    if (!report.detail.empty()) {
        object.add("detail", utf8(report.detail));
    }
    object.add("exit_status", narrow(static_cast<std::size_t>(outcome.exit_status)));
    object.add("server", utf8(report.server));
    object.add("transport", client::transport_name(report.transport));
    if (report.address) {
        object.add("address", report.address->text());
    }
    if (report.local_address) {
        object.add("local_address", report.local_address->text());
    }
    if (!outcome.origin.empty()) {
        object.add("origin", utf8(outcome.origin));
    }
    const radius::RadiusPacket request =
        packet_of_request(report.request, style.show_secrets ? secret : std::string_view(), dictionary);
    JsonObject sent = packet_json(request, report.request.size(), style.show_secrets);
    if (style.verbose) {
        sent.add("hex", utils::bytes_to_hex(report.request.data(), report.request.size()));
    }
    object.add("request", sent);
    add_reply(object, report, style);
    object.add("tries", narrow(static_cast<std::size_t>(report.tries)));
    if (report.round_trip) {
        object.add("rtt_ms", std::chrono::duration<double, std::milli>(*report.round_trip).count());
    } else {
        object.add_null("rtt_ms");
    }
    if (report.offset) {
        object.add("offset", narrow(*report.offset));
    }
    if (report.error_cause) {
        object.add("error_cause", *report.error_cause);
    }
    if (!outcome.session_id.empty()) {
        object.add("session_id", utf8(outcome.session_id));
    }
    std::vector<std::string> notes;
    for (const Remark& remark : outcome.remarks) {
        notes.push_back(note_json(remark.word, remark.text));
    }
    for (const client::Note& note : report.notes) {
        notes.push_back(note_json(client::note_word(note.id), note.text));
    }
    object.add_list("notes", notes);
    if (!outcome.expectations.empty()) {
        add_expectations(object, outcome);
    }
    if (outcome.diagnosis != nullptr) {
        add_diagnosis(object, *outcome.diagnosis);
    }
    return object.text();
}

}  // namespace quarn::quarn_radius
