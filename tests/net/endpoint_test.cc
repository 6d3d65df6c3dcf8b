#include "quarn/net/endpoint.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <string_view>

namespace quarn::net {

void PrintTo(const Endpoint& endpoint, std::ostream* out) {
    *out << endpoint.host << " port " << (endpoint.port ? std::to_string(*endpoint.port) : "none");
}

namespace {

Endpoint parsed(std::string_view text) {
    const auto result = parse_endpoint(text);
    return result ? *result : Endpoint{"error: " + result.error().message};
}

std::string error_of(std::string_view text) {
    const auto result = parse_endpoint(text);
    return result ? "no error" : result.error().message;
}

TEST(Endpoint, IsAName) {
    EXPECT_EQ(parsed("radius.example.net"), (Endpoint{"radius.example.net"}));
    EXPECT_EQ(parsed("radius.example.net:1645"), (Endpoint{"radius.example.net", 1645}));
    EXPECT_EQ(parsed("r\xc3\xa4"
                     "dius"),
              (Endpoint{"r\xc3\xa4"
                        "dius"}));
}

TEST(Endpoint, IsAnIpv4Address) {
    EXPECT_EQ(parsed("10.0.0.1"), (Endpoint{"10.0.0.1"}));
    EXPECT_EQ(parsed("10.0.0.1:1812"), (Endpoint{"10.0.0.1", 1812}));
    EXPECT_EQ(parsed("10.0.0.1:65535"), (Endpoint{"10.0.0.1", 65535}));
    EXPECT_EQ(parsed("10.0.0.1:1"), (Endpoint{"10.0.0.1", 1}));
}

TEST(Endpoint, IsAnIpv6Address) {
    EXPECT_EQ(parsed("::1"), (Endpoint{"::1"}));
    EXPECT_EQ(parsed("2001:db8::1"), (Endpoint{"2001:db8::1"}));
    EXPECT_EQ(parsed("fe80::1%eth0"), (Endpoint{"fe80::1%eth0"}));
    EXPECT_EQ(parsed("::ffff:10.0.0.1"), (Endpoint{"::ffff:10.0.0.1"}));
}

TEST(Endpoint, IsAnIpv6AddressInBrackets) {
    EXPECT_EQ(parsed("[::1]"), (Endpoint{"::1"}));
    EXPECT_EQ(parsed("[::1]:1812"), (Endpoint{"::1", 1812}));
    EXPECT_EQ(parsed("[fe80::1%eth0]:1812"), (Endpoint{"fe80::1%eth0", 1812}));
}

TEST(Endpoint, NeedsAHost) {
    EXPECT_EQ(error_of(""), "no host");
    EXPECT_EQ(error_of(":1812"), "no host");
    EXPECT_EQ(error_of(":"), "no host");
}

TEST(Endpoint, HasNoBlanksAndNoControlCharacters) {
    using namespace std::string_view_literals;
    for (const std::string_view text :
         {" "sv, "a b"sv, "a:1812 "sv, "a\tb"sv, "a\0b"sv, "a\x7f"sv, "[::1]\n"sv}) {
        EXPECT_EQ(error_of(text), "blank or control character in the host") << text;
    }
}

TEST(Endpoint, NeedsAPortAfterAColon) {
    EXPECT_EQ(error_of("a:"), "no port after the last colon");
    EXPECT_EQ(error_of("[::1]:"), "no port after the last colon");
}

TEST(Endpoint, NeedsANumberForAPort) {
    for (const std::string_view text :
         {"a:0", "a:65536", "a:-1", "a:+1", "a:radius", "a:1812x", "[::1]:0", "a:0x10"}) {
        EXPECT_EQ(error_of(text), "port is not a number from 1 to 65535") << text;
    }
}

TEST(Endpoint, HasNothingButAnIpv6AddressInBrackets) {
    EXPECT_EQ(error_of("["), "no closing bracket");
    EXPECT_EQ(error_of("[::1"), "no closing bracket");
    EXPECT_EQ(error_of("[]"), "not an IPv6 address in brackets");
    EXPECT_EQ(error_of("[10.0.0.1]:1812"), "not an IPv6 address in brackets");
    EXPECT_EQ(error_of("[name]"), "not an IPv6 address in brackets");
    EXPECT_EQ(error_of("[[::1]]"), "only a port may follow the closing bracket");
    EXPECT_EQ(error_of("[::1]1812"), "only a port may follow the closing bracket");
    EXPECT_EQ(error_of("[::1%]"), "not an IPv6 address in brackets");
}

TEST(Endpoint, TakesSeveralColonsForAnIpv6Address) {
    constexpr char wanted[] = "not an IPv6 address; a port follows one in brackets: [ADDRESS]:PORT";
    EXPECT_EQ(error_of("a:b:c"), wanted);
    EXPECT_EQ(error_of("::1:65536:x"), wanted);
    EXPECT_EQ(error_of("::"), "no error");
    EXPECT_EQ(error_of("::1%"), wanted);
    EXPECT_EQ(error_of("::1]"), wanted);
}

// The port would become a part of the interface's name, and the host one that cannot be resolved.
TEST(Endpoint, TakesNoPortForAScope) {
    EXPECT_EQ(error_of("fe80::1%eth0:1812"),
              "not an IPv6 address; a port follows one in brackets: [ADDRESS]:PORT");
    EXPECT_EQ(error_of("[fe80::1%eth0:1812]"), "not an IPv6 address in brackets");
    EXPECT_EQ(error_of("[fe80::1%eth0]:1812"), "no error");
}

}  // namespace
}  // namespace quarn::net
