#include "quarn/net/address.h"

#include <gtest/gtest.h>
#include <net/if.h>

#include <string>

namespace quarn::net {
namespace {

constexpr std::array<std::uint8_t, 16> link_local = {0xfe, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};

/// The loopback interface has this number.
std::uint32_t loopback_interface() {
    return if_nametoindex("lo");
}

TEST(Address, IsTheIpv4AddressOfNothingByDefault) {
    const Address address;
    EXPECT_EQ(address.family(), Family::IPv4);
    EXPECT_TRUE(address.is_any());
    EXPECT_EQ(address.text(), "0.0.0.0:0");
}

TEST(Address, IsReadFromIpv4Text) {
    const auto address = Address::parse("192.0.2.10", 1812);
    ASSERT_TRUE(address);
    EXPECT_EQ(address->family(), Family::IPv4);
    EXPECT_EQ(std::vector(address->bytes().begin(), address->bytes().end()),
              (std::vector<std::uint8_t>{192, 0, 2, 10}));
    EXPECT_EQ(address->port(), 1812);
    EXPECT_EQ(address->scope_id(), 0U);
    EXPECT_EQ(address->host_text(), "192.0.2.10");
    EXPECT_EQ(address->text(), "192.0.2.10:1812");
}

TEST(Address, IsReadFromIpv6Text) {
    const auto address = Address::parse("2001:DB8:0::1", 1812);
    ASSERT_TRUE(address);
    EXPECT_EQ(address->family(), Family::IPv6);
    EXPECT_EQ(address->bytes().size(), 16U);
    EXPECT_EQ(address->host_text(), "2001:db8::1");
    EXPECT_EQ(address->text(), "[2001:db8::1]:1812");
}

TEST(Address, IsReadFromIpv6TextWithAScope) {
    const Address expected = Address::ipv6(link_local, 1812, loopback_interface());
    EXPECT_EQ(Address::parse("fe80::1%lo", 1812), expected);
    EXPECT_EQ(Address::parse("fe80::1%" + std::to_string(loopback_interface()), 1812), expected);
    EXPECT_EQ(expected.host_text(), "fe80::1%lo");
    EXPECT_EQ(expected.text(), "[fe80::1%lo]:1812");
}

TEST(Address, ShowsAScopeWithoutANameAsItsNumber) {
    EXPECT_EQ(Address::ipv6(link_local, 0, 4000000000).host_text(), "fe80::1%4000000000");
}

TEST(Address, IsNotReadFromAnythingElse) {
    using namespace std::string_view_literals;
    for (const std::string_view text :
         {""sv, "localhost"sv, "127.1"sv, "127.0.0.1 "sv, "127.0.0.256"sv, "127.0.0.1%lo"sv, "[::1]"sv,
          "::1:1812:"sv, ":::"sv, "::1%"sv, "fe80::1%no-such-interface"sv, "::1\0"sv, "127.0.0.1\0x"sv,
          "fe80::1%lo\0x"sv, "fe80::1%2\0"sv}) {
        EXPECT_EQ(Address::parse(text, 1), std::nullopt) << text;
    }
}

TEST(Address, GetsAnotherPort) {
    const Address address = *Address::parse("::1", 1812);
    EXPECT_EQ(address.with_port(1813).text(), "[::1]:1813");
    EXPECT_EQ(address.text(), "[::1]:1812");
}

TEST(Address, StandsForAnyAddress) {
    EXPECT_EQ(Address::any(Family::IPv4, 7).text(), "0.0.0.0:7");
    EXPECT_EQ(Address::any(Family::IPv6).text(), "[::]:0");
    EXPECT_TRUE(Address::any(Family::IPv6).is_any());
    EXPECT_FALSE(Address::parse("0.0.0.1", 0)->is_any());
}

TEST(Address, IsEqualWhenAllOfItIs) {
    const Address address = Address::ipv6(link_local, 1812, 2);
    EXPECT_EQ(address, Address::ipv6(link_local, 1812, 2));
    EXPECT_NE(address, Address::ipv6(link_local, 1813, 2));
    EXPECT_NE(address, Address::ipv6(link_local, 1812, 3));
    EXPECT_NE(Address::any(Family::IPv4), Address::any(Family::IPv6));
    EXPECT_NE(Address::ipv4({127, 0, 0, 1}, 1), Address::ipv4({127, 0, 0, 2}, 1));
}

}  // namespace
}  // namespace quarn::net
