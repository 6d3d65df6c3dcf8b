#include "quarn/net/resolve.h"

#include <gtest/gtest.h>
#include <netdb.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace quarn::net {
namespace {

using Texts = std::vector<std::string>;

/// The addresses' texts, or the error's.
Texts resolved(std::string_view host, const ResolveOptions& options = {}) {
    const auto addresses = resolve(host, 1812, options);
    if (!addresses) {
        return {addresses.error().text()};
    }
    Texts texts;
    for (const Address& address : *addresses) {
        texts.push_back(address.text());
    }
    return texts;
}

int code_of(std::string_view host, const ResolveOptions& options) {
    const auto addresses = resolve(host, 1812, options);
    return addresses ? 0 : addresses.error().code;
}

TEST(Resolve, TakesNumericAddresses) {
    EXPECT_EQ(resolved("127.0.0.1"), Texts{"127.0.0.1:1812"});
    EXPECT_EQ(resolved("::1"), Texts{"[::1]:1812"});
    EXPECT_EQ(resolved("fe80::1%lo"), Texts{"[fe80::1%lo]:1812"});
    EXPECT_EQ(resolved("::1", {.socket_type = SocketType::Stream}), Texts{"[::1]:1812"});
}

TEST(Resolve, TakesTheShortFormsOfIpv4) {
    EXPECT_EQ(resolved("127.1"), Texts{"127.0.0.1:1812"});
}

TEST(Resolve, FindsTheAddressesOfAName) {
    const Texts found = resolved("localhost");
    EXPECT_EQ(std::count(found.begin(), found.end(), "127.0.0.1:1812"), 1);
    EXPECT_EQ(resolved("localhost", {.family = Family::IPv4}), Texts{"127.0.0.1:1812"});
}

TEST(Resolve, KeepsToTheFamily) {
    EXPECT_EQ(code_of("::1", {.family = Family::IPv4}), EAI_ADDRFAMILY);
    EXPECT_EQ(code_of("127.0.0.1", {.family = Family::IPv6}), EAI_ADDRFAMILY);
}

TEST(Resolve, TellsWhyThereIsNoAddress) {
    using namespace std::string_view_literals;
    for (const std::string_view host : {""sv, "a.b:1812"sv, "127.0.0.1\0x"sv}) {
        const auto addresses = resolve(host, 99, {.family = Family::IPv4});
        ASSERT_FALSE(addresses) << host;
        EXPECT_EQ(addresses.error(), (ResolveError{EAI_NONAME, 0}));
        EXPECT_EQ(addresses.error().text(), gai_strerror(EAI_NONAME));
    }
}

Resolved resolved_within(const ResolveQuestion& question, std::chrono::nanoseconds time) {
    return resolve_within({&question, 1}, time).front();
}

TEST(ResolveWithin, AnswersInTheOrderOfTheQuestions) {
    const std::vector<ResolveQuestion> questions = {{"localhost", 1, {.family = Family::IPv4}},
                                                    {"a b", 2},
                                                    {"192.0.2.1", 3},
                                                    {"localhost", 4, {.family = Family::IPv4}}};
    const std::vector<Resolved> answers = resolve_within(questions, std::chrono::seconds(30));
    ASSERT_EQ(answers.size(), 4U);
    ASSERT_TRUE(answers[0] && answers[2] && answers[3]);
    EXPECT_EQ(answers[0]->front(), *Address::parse("127.0.0.1", 1));
    EXPECT_FALSE(answers[1]);
    EXPECT_EQ(*answers[2], std::vector{*Address::parse("192.0.2.1", 3)});
    EXPECT_EQ(answers[3]->front(), *Address::parse("127.0.0.1", 4));
    EXPECT_TRUE(resolve_within({}, std::chrono::seconds(30)).empty());
}

TEST(ResolveWithin, ReadsANumericAddressInNoTime) {
    for (const char* const host : {"127.0.0.1", "::1"}) {
        const auto addresses = resolved_within({.host = host, .port = 1812}, std::chrono::nanoseconds(-1));
        ASSERT_TRUE(addresses);
        EXPECT_EQ(*addresses, std::vector{*Address::parse(host, 1812)});
    }
}

TEST(ResolveWithin, HasNoAddressOfAnotherFamily) {
    const auto addresses =
        resolved_within({"127.0.0.1", 1812, {.family = Family::IPv6}}, std::chrono::hours(1));
    ASSERT_FALSE(addresses);
    EXPECT_EQ(addresses.error(), (ResolveError{EAI_ADDRFAMILY, 0}));
}

TEST(ResolveWithin, ResolvesANameAsResolveDoes) {
    const auto expected = resolve("localhost", 1812, {.family = Family::IPv4});
    const auto addresses =
        resolved_within({"localhost", 1812, {.family = Family::IPv4}}, std::chrono::nanoseconds::max());
    ASSERT_TRUE(expected && addresses);
    EXPECT_EQ(*addresses, *expected);
}

TEST(ResolveWithin, TellsWhyANameHasNoAddress) {
    const auto addresses = resolved_within({std::string("a\0b", 3), 1812}, std::chrono::seconds(30));
    ASSERT_FALSE(addresses);
    EXPECT_EQ(addresses.error(), (ResolveError{EAI_NONAME, 0}));
}

TEST(ResolveWithinDeathTest, LeavesAProcessThatEndsInPeace) {
    // The name is given up at once, and the process ends while it is being resolved.
    EXPECT_EXIT(
        {
            static_cast<void>(resolved_within({"no-such-name.invalid", 1812}, std::chrono::nanoseconds(0)));
            std::exit(0);
        },
        testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace quarn::net
