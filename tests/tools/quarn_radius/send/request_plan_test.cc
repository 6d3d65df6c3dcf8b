#include "quarn_radius/send/request_plan.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "quarn_radius/dictionary/problem.h"
#include "quarn_radius/send/value_text.h"
#include "testing/dictionaries.h"
#include "testing/scratch_folder.h"
#include "testing/thrown_text.h"

namespace quarn::quarn_radius {
namespace {

using Lines = std::vector<std::string>;

SendOptions options_with(std::vector<std::string> operands, std::vector<std::string> files = {}) {
    SendOptions options;
    options.operands = std::move(operands);
    options.request_files = std::move(files);
    return options;
}

DraftSettings bare_settings() {
    DraftSettings settings;
    settings.bare = true;
    return settings;
}

FileAttribute in_profile(std::string name, std::string_view value, std::uint32_t line) {
    FileAttribute attribute;
    attribute.text = {std::move(name), value};
    attribute.line = line;
    return attribute;
}

/// "place NAME=VALUE" of each attribute.
Lines lines_of(const WrittenRequest& request) {
    Lines lines;
    for (const PlacedAttribute& attribute : request.attributes) {
        lines.push_back(attribute.place + " " + attribute.text->name + "=" +
                        std::string(std::string_view(attribute.text->value)));
    }
    return lines;
}

std::string problem_of(const SendOptions& options) {
    return test::thrown_text<std::invalid_argument>([&options] { const WrittenRequests written(options); });
}

TEST(WrittenRequests, OfTheCommandLineAloneAreOne) {
    const SendOptions options = options_with({"server", "User-Name=bob", "NAS-Port=3"});
    const WrittenRequests written(options);
    ASSERT_EQ(written.all().size(), 1U);
    EXPECT_EQ(lines_of(written.all()[0]), (Lines{" User-Name=bob", " NAS-Port=3"}));
    EXPECT_EQ(written.all()[0].origin, "");
}

TEST(WrittenRequests, OfFilesComeInOrderWithTheirPlaces) {
    const test::ScratchFolder folder;
    const std::string first = folder.write("first", "\nUser-Name = a\nNAS-Port := 1\n\nUser-Name = b\n");
    const std::string second = folder.write("second", "User-Name = c\n");
    const SendOptions options = options_with({"Class=0x01"}, {first, second});
    const WrittenRequests written(options);
    ASSERT_EQ(written.all().size(), 3U);
    EXPECT_EQ(lines_of(written.all()[0]),
              (Lines{first + ":2 User-Name=a", first + ":3 NAS-Port=1", " Class=0x01"}));
    EXPECT_EQ(written.all()[0].origin, first + ":2");
    EXPECT_EQ(written.all()[0].remarks,
              (std::vector<Remark>{{"operator", first + ":3: NAS-Port: the operator := is read as ="}}));
    EXPECT_EQ(written.all()[1].origin, first + ":5");
    EXPECT_EQ(written.all()[1].remarks, std::vector<Remark>());
    EXPECT_EQ(lines_of(written.all()[2]), (Lines{second + ":1 User-Name=c", " Class=0x01"}));
}

TEST(WrittenRequests, TakeFromTheProfileOnlyWhatNothingElseSets) {
    SendOptions options = options_with({"nas-port=1"});
    options.profile_file = "lab.yaml";
    options.profile_attributes = {in_profile("NAS-Port", "2", 4), in_profile("Class", "0x01", 5),
                                  in_profile("Class", "0x02", 6)};
    EXPECT_EQ(lines_of(WrittenRequests(options).all()[0]),
              (Lines{" nas-port=1", "lab.yaml:5 Class=0x01", "lab.yaml:6 Class=0x02"}));
}

TEST(WrittenRequests, TellWhatIsNoRequest) {
    const test::ScratchFolder folder;
    const std::string empty = folder.write("empty", "# nothing\n");
    EXPECT_EQ(problem_of(options_with({"=1"})), "\"=1\" is no attribute: its name is missing");
    EXPECT_EQ(problem_of(options_with({}, {empty})), empty + ": no request is in it");
    EXPECT_EQ(
        test::thrown_text<FileError>([] { const WrittenRequests written(options_with({}, {"/nowhere"})); }),
        "/nowhere: cannot read: No such file or directory");
}

TEST(PlanExchanges, SendsEachRequestToEachRouteUnderIdentifiersThatFollow) {
    const test::ScratchFolder folder;
    const SendOptions options =
        options_with({}, {folder.write("requests", "User-Name = a\n\nUser-Name = b\n")});
    const WrittenRequests written(options);
    const std::vector<PlannedExchange> plan =
        plan_exchanges(written, bare_settings(), 2, test::shipped_dictionary());
    ASSERT_EQ(plan.size(), 4U);
    for (std::size_t i = 0; i < plan.size(); ++i) {
        EXPECT_EQ(plan[i].route, i % 2);
        EXPECT_EQ(plan[i].origin, written.all()[i / 2].origin);
        EXPECT_EQ(plan[i].draft.packet.identifier,
                  static_cast<std::uint8_t>((plan[0].draft.packet.identifier + i) & 0xFFU));
        EXPECT_FALSE(plan[i].request);
    }
}

TEST(PlanExchanges, WithoutARouteMakesEachOnce) {
    const SendOptions options = options_with({"User-Name=bob"});
    const std::vector<PlannedExchange> plan =
        plan_exchanges(WrittenRequests(options), bare_settings(), 0, test::shipped_dictionary());
    ASSERT_EQ(plan.size(), 1U);
    EXPECT_EQ(plan[0].remarks,
              (std::vector<Remark>{
                  {"no-password", "No password was given: the request has a User-Name and no credential."}}));
}

std::string problem_of_encoding(const std::vector<std::string>& attributes) {
    const SendOptions options = options_with(attributes);
    std::vector<PlannedExchange> plan =
        plan_exchanges(WrittenRequests(options), bare_settings(), 1, test::shipped_dictionary());
    return test::thrown_text<std::invalid_argument>([&plan] { encode_plan(plan, "testing123"); });
}

TEST(EncodePlan, KeepsWhatWillBeSent) {
    const SendOptions options = options_with({"User-Name=bob"});
    std::vector<PlannedExchange> plan =
        plan_exchanges(WrittenRequests(options), bare_settings(), 1, test::shipped_dictionary());
    encode_plan(plan, "testing123");
    ASSERT_TRUE(plan[0].request);
    EXPECT_EQ(*plan[0].request, client::encode_request(plan[0].draft.packet, "testing123"));
}

TEST(EncodePlan, RefusesWhatFitsIntoNoPacket) {
    EXPECT_EQ(problem_of_encoding({"26.9.1=0x" + std::string(10000, '0')}),
              "the request has 5206 octets, and at most 4096 fit into a packet");
}

}  // namespace
}  // namespace quarn::quarn_radius
