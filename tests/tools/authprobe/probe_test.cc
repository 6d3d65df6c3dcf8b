#include "authprobe/probe.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "authprobe/client_error.h"

namespace quarn::authprobe {
namespace {

ClientSettings settings_with(std::string method, std::string nas_port, std::string server) {
    ClientSettings settings;
    settings.password_given = true;
    settings.auth_type = std::move(method);
    settings.nas_port = std::move(nas_port);
    settings.server = std::move(server);
    return settings;
}

std::string failure_of(ClientSettings settings) {
    try {
        check_settings(std::move(settings));
        return "no failure";
    } catch (const ClientError& error) {
        return error.what();
    }
}

TEST(CheckSettings, GivesTheMethodTheNumberAndTheServersParts) {
    const Probe probe = check_settings(settings_with("chap", "7", "server:1645"));
    EXPECT_EQ(probe.method, find_auth_method("chap"));
    EXPECT_EQ(probe.nas_port, 7U);
    EXPECT_EQ(probe.settings.server, "server");
    EXPECT_EQ(probe.settings.server_port, 1645);
}

TEST(CheckSettings, LooksAtNoMethodWithoutAPassword) {
    ClientSettings settings = settings_with("foo", "", "server");
    settings.password_given = false;
    EXPECT_EQ(check_settings(settings).method, nullptr);
}

TEST(CheckSettings, TellsTheFirstProblemInAFixedOrder) {
    EXPECT_EQ(failure_of(settings_with("foo", "x", "server:0")),
              "authprobe: unknown auth type \"foo\" (pap, chap, mschap, mschapv2)\n");
    EXPECT_EQ(failure_of(settings_with("pap", "x", "server:0")), "authprobe: invalid --nas-port \"x\"\n");
    EXPECT_EQ(failure_of(settings_with("pap", "1", "server:0")), "authprobe: invalid port in \"server:0\"\n");
}

std::optional<std::uint32_t> nas_port_of(std::string text) {
    ClientSettings settings;
    settings.nas_port = std::move(text);
    return parse_nas_port(settings);
}

TEST(NasPort, IsNothingWhenNotGiven) {
    EXPECT_EQ(parse_nas_port({}), std::nullopt);
    EXPECT_EQ(nas_port_of(""), std::nullopt);
}

TEST(NasPort, KeepsTheLow32BitsOfTheNumber) {
    EXPECT_EQ(nas_port_of("0"), 0U);
    EXPECT_EQ(nas_port_of("17"), 17U);
    EXPECT_EQ(nas_port_of(" 17x"), 17U);
    EXPECT_EQ(nas_port_of("4294967295"), 4294967295U);
    EXPECT_EQ(nas_port_of("4294967296"), 0U);
    EXPECT_EQ(nas_port_of("4294967301"), 5U);
    EXPECT_EQ(nas_port_of("-1"), 4294967295U);
    EXPECT_EQ(nas_port_of("18446744073709551615"), 4294967295U);
}

TEST(NasPort, RefusesATextThatIsNoNumber) {
    for (const std::string text : {"x", " ", "-", "18446744073709551616"}) {
        try {
            nas_port_of(text);
            FAIL() << "accepted \"" << text << '"';
        } catch (const ClientError& error) {
            EXPECT_EQ(error.what(), "authprobe: invalid --nas-port \"" + text + "\"\n");
        }
    }
}

ClientSettings split(std::string server) {
    ClientSettings settings;
    settings.server = std::move(server);
    split_server_operand(settings);
    return settings;
}

TEST(ServerOperand, IsAHostWithoutAColon) {
    const ClientSettings settings = split("radius.example");
    EXPECT_EQ(settings.server, "radius.example");
    EXPECT_EQ(settings.server_port, 1812);
}

TEST(ServerOperand, IsSplitAtItsLastColon) {
    struct Row {
        std::string operand;
        std::string host;
        int port;
    };
    for (const auto& [operand, host, port] : std::vector<Row>{
             {"radius.example:1645", "radius.example", 1645},
             {"a.b:1812:99", "a.b:1812", 99},
             {"::1:99", "::1", 99},
             {"[::1]:99", "[::1]", 99},
             {":99", "", 99},
             {"host:1", "host", 1},
             {"host:65535", "host", 65535},
             {"host: 99", "host", 99},
             {"host:+99", "host", 99},
             {"host:99/udp", "host", 99},
         }) {
        SCOPED_TRACE(operand);
        const ClientSettings settings = split(operand);
        EXPECT_EQ(settings.server, host);
        EXPECT_EQ(settings.server_port, port);
    }
}

TEST(ServerOperand, RefusesAPortOutsideOf1To65535) {
    for (const std::string operand : {"host:", "host:0", "host:65536", "host:-1", "host:radius", ":",
                                      "a:1:", "host:18446744073709551616", "host:4294967297"}) {
        try {
            split(operand);
            FAIL() << "accepted \"" << operand << '"';
        } catch (const ClientError& error) {
            EXPECT_EQ(error.what(), "authprobe: invalid port in \"" + operand + "\"\n");
        }
    }
}

}  // namespace
}  // namespace quarn::authprobe
