#include "route_addresses.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "client/scripted_network.h"

namespace quarn::client {
namespace {

using net::Address;

RouteAddresses resolved(std::vector<Address> addresses) {
    return RouteAddresses(net::Resolved(std::move(addresses)));
}

std::vector<std::string> texts(const std::vector<Address>& addresses) {
    std::vector<std::string> texts;
    for (const Address& address : addresses) {
        texts.push_back(address.text());
    }
    return texts;
}

using Texts = std::vector<std::string>;

TEST(RouteAddresses, KeepTheResolversOrder) {
    const RouteAddresses addresses = resolved({*Address::parse("192.0.2.2", 0), *Address::parse("::2", 0)});
    EXPECT_EQ(addresses.error(), nullptr);
    EXPECT_EQ(texts(addresses.with_port(1812)), (Texts{"192.0.2.2:1812", "[::2]:1812"}));
    EXPECT_EQ(addresses.left_out(), 0U);
}

TEST(RouteAddresses, GiveEachAddressOnce) {
    const Address address = *Address::parse("192.0.2.2", 0);
    EXPECT_EQ(texts(resolved({address, address}).with_port(1)), (Texts{"192.0.2.2:1"}));
}

TEST(RouteAddresses, TakeAnyAddressForTheLoopbackOne) {
    EXPECT_EQ(texts(resolved({*Address::parse("0.0.0.0", 0), *Address::parse("::", 0)}).with_port(1)),
              (Texts{"127.0.0.1:1", "[::1]:1"}));
}

TEST(RouteAddresses, PutTheOneThatAnsweredFirst) {
    RouteAddresses addresses = resolved(
        {*Address::parse("192.0.2.1", 0), *Address::parse("192.0.2.2", 0), *Address::parse("192.0.2.3", 0)});
    addresses.prefer(*Address::parse("192.0.2.3", 1812));
    EXPECT_EQ(texts(addresses.with_port(1813)),
              (Texts{"192.0.2.3:1813", "192.0.2.1:1813", "192.0.2.2:1813"}));
    addresses.prefer(*Address::parse("192.0.2.9", 1812));
    EXPECT_EQ(texts(addresses.with_port(1)), (Texts{"192.0.2.1:1", "192.0.2.2:1", "192.0.2.3:1"}));
}

TEST(RouteAddresses, AreSixteenAtMost) {
    std::vector<Address> many;
    for (std::uint8_t i = 1; i <= 20; ++i) {
        many.push_back(Address::ipv4({192, 0, 2, i}, 0));
    }
    const RouteAddresses addresses = resolved(many);
    EXPECT_EQ(addresses.with_port(1).size(), 16U);
    EXPECT_EQ(addresses.left_out(), 4U);
}

TEST(RouteAddresses, TellWhyThereAreNone) {
    const RouteAddresses addresses(net::Resolved(net::ResolveError{EAI_NONAME, 0}));
    ASSERT_NE(addresses.error(), nullptr);
    EXPECT_EQ(*addresses.error(), (net::ResolveError{EAI_NONAME, 0}));
}

TEST(ResolveRoutes, AsksForTheFamilyOfTheRouteOrOfItsSource) {
    test::ScriptedNetwork network;
    network.name("radius.example", {"192.0.2.1", "2001:db8::1"});
    const Server server = *parse_server("radius.example");
    const std::vector<Route> routes = {{.server = server},
                                       {.server = server, .family = net::Family::IPv6},
                                       {.server = server, .source = *Address::parse("192.0.2.9", 0)}};
    const auto addresses = resolve_routes(routes, TimePoint::max(), network);
    ASSERT_EQ(addresses.size(), 3U);
    EXPECT_EQ(texts(addresses[0].with_port(1)), (Texts{"192.0.2.1:1", "[2001:db8::1]:1"}));
    EXPECT_EQ(texts(addresses[1].with_port(1)), (Texts{"[2001:db8::1]:1"}));
    EXPECT_EQ(texts(addresses[2].with_port(1)), (Texts{"192.0.2.1:1"}));
}

}  // namespace
}  // namespace quarn::client
