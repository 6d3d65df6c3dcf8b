#include "quarn_radius/send/json_report.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "quarn/client/request.h"
#include "quarn_radius/send/attribute_text.h"
#include "testing/dictionaries.h"

namespace quarn::quarn_radius {
namespace {

namespace radius = subscriber::radius;

/// A report of a request with a hidden value and its tag, to which nothing came.
client::Report silent_report() {
    radius::RadiusPacket packet(test::shipped_dictionary());
    packet.code = 1;
    packet.identifier = 7;
    packet.authenticator.fill(1);
    EXPECT_EQ(add_attribute(packet, *split_attribute("Tunnel-Password:1=s3cret")), "");
    const client::EncodedRequest request = client::encode_request(packet, "testing123");
    client::Report report;
    report.server = "a\xFF";
    report.request.assign(request.datagram().begin(), request.datagram().end());
    report.tries = 3;
    return report;
}

std::string json_of(const Outcome& outcome, const ReportStyle& style = {}) {
    return outcome_json(outcome, style, "testing123", test::shipped_dictionary());
}

TEST(OutcomeJson, TellsEverythingOnOneLine) {
    const client::Report report = silent_report();
    Outcome outcome;
    outcome.report = &report;
    outcome.verdict = client::Verdict::NoAnswer;
    outcome.exit_status = 4;
    outcome.origin = "file:3";
    outcome.remarks = {{"no-password", "a\nb"}};
    EXPECT_EQ(json_of(outcome),
              "{\"verdict\": \"no-answer\", \"sentence\": \"" +
                  std::string(client::verdict_row(client::Verdict::NoAnswer).sentence) +
                  "\", \"exit_status\": 4, \"server\": \"a\\\\xff\", \"transport\": \"udp\", \"origin\": "
                  "\"file:3\", \"request\": {\"code\": 1, \"name\": \"Access-Request\", \"identifier\": 7, "
                  "\"length\": " +
                  std::to_string(report.request.size()) +
                  ", \"attributes\": [{\"name\": \"Tunnel-Password\", \"code\": \"69\", \"type\": \"text\", "
                  "\"tag\": 1, \"hidden\": true, \"value\": null}]}, \"reply\": null, \"tries\": 3, "
                  "\"rtt_ms\": null, \"notes\": [{\"id\": \"no-password\", \"text\": \"a\\nb\"}]}");
}

TEST(OutcomeJson, OfADryRunHasNoVerdict) {
    const client::Report report = silent_report();
    Outcome outcome;
    outcome.report = &report;
    EXPECT_TRUE(json_of(outcome).starts_with("{\"verdict\": null, \"exit_status\": 0, "));
}

TEST(OutcomeJson, OfAnAnsweredChallengeSaysSo) {
    const client::Report report = silent_report();
    Outcome outcome;
    outcome.report = &report;
    outcome.verdict = client::Verdict::Challenge;
    outcome.is_answered = true;
    EXPECT_TRUE(json_of(outcome).starts_with(
        "{\"verdict\": \"challenge\", \"sentence\": \"The server asked for more, and was answered.\", "
        "\"answered\": true, \"exit_status\": 0, "))
        << json_of(outcome);
}

TEST(OutcomeJson, ShowsHiddenValuesWhenAskedTo) {
    const client::Report report = silent_report();
    Outcome outcome;
    outcome.report = &report;
    EXPECT_NE(json_of(outcome, {.show_secrets = true})
                  .find("\"tag\": 1, \"value\": \"s3cret\", \"hex\": \"733363726574\""),
              std::string::npos)
        << json_of(outcome, {.show_secrets = true});
}

}  // namespace
}  // namespace quarn::quarn_radius
