// No memory left, at every place where that can happen: the work is done wholly, or it fails by the exception
// that stands for this; nothing leaks, nothing is half done without a word, and it can be done again.
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "memory/shortages.h"
#include "quarn/radius/auth.h"
#include "quarn/radius/hiding.h"
#include "quarn/radius/listing.h"
#include "quarn/radius/packet_code.h"
#include "quarn/utils/app.h"
#include "testing/dictionaries.h"
#include "testing/fixed_random.h"
#include "testing/packets.h"
#include "testing/scratch_folder.h"
#include "testing/wire.h"

namespace quarn::test {
namespace {

using subscriber::radius::Authenticator;
using subscriber::radius::RadiusAttribute;
using subscriber::radius::RadiusDictionary;
using subscriber::radius::RadiusPacket;
using subscriber::radius::RadiusValue;
using utils::Bytes;

namespace radius = subscriber::radius;

constexpr char secret[] = "a shared secret that is kept nowhere but on the heap";

class MemoryShortage : public testing::TestWithParam<Shortage> {
  protected:
    /// Each allocation of the attempt fails in turn; there is one at least.
    template <typename Attempt>
    void for_each_allocation(Attempt attempt) {
        EXPECT_GT(test::for_each_allocation(Allocator::Cpp, GetParam(), attempt), 0U);
    }
};

INSTANTIATE_TEST_SUITE_P(For, MemoryShortage, testing::Values(Shortage::Once, Shortage::Lasts),
                         [](const auto& parameter) {
                             return parameter.param == Shortage::Once ? "OneAllocation" : "AllThatFollow";
                         });

// The dictionary.

constexpr char base_file[] = R"(
attributes:
  User-Name: {code: 1, type: text}
  User-Password: {code: 2, type: text, encrypt: 1}
  NAS-IP-Address: {code: 4, type: ipv4addr}
  Service-Type:
    code: 6
    type: enum
    values:
      Login-User: 1
      "A name of a value that does not fit into a short string": 0x20
  Tunnel-Password: {code: 69, type: text, encrypt: 2, has_tag: true}
  Message-Authenticator: {code: 80, type: octets}
  A-Name-That-Does-Not-Fit-Into-A-Short-String: {code: 250, type: text, concat: true}
  Other: {code: 251, type: a type whose name fits into no short string}
)";
// Plain JSON, which is read without yaml-cpp.
constexpr char vendor_file[] =
    R"({"vendor": {"id": 32473, "name": "A vendor with quite a long name", "format": "2,1,c"},
"attributes": {
"Vendor-Text": {"code": "26.32473.1", "type": "text"},
"Vendor-Attribute-Of-Quite-A-Long-Name": {"code": "26.32473.300", "type": "tlv"},
"Vendor-Nested-Mode": {"code": "26.32473.300.1", "type": "enum", "encrypt": 0, "values": {"Off": 0, "On-And-Ready-To-Serve": 1}}
}}
)";
constexpr char root_file[] = R"(
includes: [base.yaml, "a/folder/for/the/vendor.yaml"]
attributes:
  Long-Extended: {code: 245, type: long-extended}
  Long-Text: {code: 245.1, type: text}
  Some-Tlv: {code: 170, type: tlv}
  Some-Nested: {code: 170.1, type: integer}
  Orphan: {code: 26.32473.301.1, type: integer}
)";

struct DictionaryFiles {
    ScratchFolder folder;
    std::string base = folder.write("base.yaml", base_file);
    std::string vendor = folder.write("a/folder/for/the/vendor.yaml", vendor_file);
    std::string root = folder.write("root.yaml", root_file);
};

/// All that can be asked of a dictionary made of these files.
std::vector<std::string> content_of(const RadiusDictionary& dictionary) {
    std::vector<std::string> content;
    for (const char* const name :
         {"User-Name", "User-Password", "NAS-IP-Address", "Service-Type", "Tunnel-Password",
          "Message-Authenticator", "A-Name-That-Does-Not-Fit-Into-A-Short-String", "Vendor-Text",
          "Vendor-Attribute-Of-Quite-A-Long-Name", "Vendor-Nested-Mode", "Long-Extended", "Long-Text",
          "Some-Tlv", "Some-Nested", "Orphan"}) {
        const auto& record = dictionary.attribute_by_name(name);
        const auto& by_code = dictionary.attribute_by_code(record.code);
        const auto& top_level = dictionary.top_level_attribute(record.code.empty() ? 0 : record.code.front());
        content.push_back(record.name + " " + radius::radius_code_path_to_string(record.code) + " " +
                          record.type + " " + std::to_string(record.encrypt) +
                          (record.has_tag ? " tag" : "") + (record.concat ? " concat" : "") +
                          (record.continuation ? " continuation " : " ") +
                          (record.vendor ? record.vendor->name : "") + " by code " + by_code.name +
                          " below " + top_level.name);
        for (const std::uint32_t number : {0U, 1U, 0x20U}) {
            const auto value = dictionary.enum_name(name, number);
            if (value) {
                content.push_back(*value + " " + dictionary.enum_name_lower(name, number).value_or("?") +
                                  " " + std::to_string(dictionary.enum_value(name, *value).value_or(99)));
            }
        }
    }
    const auto* const vendor = dictionary.vendor_by_id(32473);
    content.push_back(vendor == nullptr ? "no vendor" : vendor->name + " " + vendor->format);
    const auto* const named = dictionary.vendor_by_name("A vendor with quite a long name");
    content.push_back(named == nullptr ? "no vendor" : std::to_string(named->id));
    return content;
}

/// Loads a file under every shortage.
void expect_whole_or_not_at_all(Shortage shortage, const std::string& file, std::size_t expected_warnings) {
    RadiusDictionary reference;
    reference.load(file);
    const std::vector<std::string> content = content_of(reference);

    const std::size_t failed = for_each_allocation(Allocator::Cpp, shortage, [&](const ShortageAt& here) {
        std::size_t warnings = 0;
        const App::WarningHandler count([&](std::string_view, const App::Fields&) { ++warnings; });
        RadiusDictionary dictionary;
        const Outcome outcome = here.during([&] { dictionary.load(file); });
        if (outcome.succeeded()) {
            EXPECT_EQ(content_of(dictionary), content);
            EXPECT_EQ(warnings, expected_warnings);
        } else {
            EXPECT_EQ(outcome.failure(), "out of memory");  // which is no fault of a file
            content_of(dictionary);                         // partly filled, but no trap
            dictionary.load(file);
            EXPECT_EQ(content_of(dictionary), content);
        }
        return outcome;
    });
    EXPECT_GT(failed, 20U);
}

TEST_P(MemoryShortage, LeavesNoDictionaryWithGapsReadFromYaml) {
    const DictionaryFiles files;
    expect_whole_or_not_at_all(GetParam(), files.base, 0);
}

TEST_P(MemoryShortage, LeavesNoDictionaryWithGapsReadFromJson) {
    const DictionaryFiles files;
    expect_whole_or_not_at_all(GetParam(), files.vendor, 0);
}

TEST_P(MemoryShortage, LeavesNoDictionaryWithGapsReadFromSeveralFiles) {
    const DictionaryFiles files;
    expect_whole_or_not_at_all(GetParam(), files.root, 1);  // of the orphan
}

// Packets.

const SharedDictionary& dictionary() {
    static const SharedDictionary loaded = [] {
        const DictionaryFiles files;
        auto result = std::make_shared<RadiusDictionary>();
        result->load(files.root);
        return result;
    }();
    return loaded;
}

/// The attributes that `fill` adds, by every overload.
void fill(RadiusPacket& packet) {
    packet.set_attribute("User-Name", "a user whose name is too long for a short string");
    packet.set_attribute("User-Password", "a password that is too long for a short string");
    packet.set_attribute("User-Name", "another user, who takes the place of the first one");
    packet.add_attribute("NAS-IP-Address", "192.0.2.1");
    packet.set_attribute("Service-Type", 32U);
    packet.add_attribute("A-Name-That-Does-Not-Fit-Into-A-Short-String", std::string(300, 'x'));
    packet.add_attribute("Vendor-Text", std::string(300, 'v'));
    packet.add_attribute("Vendor-Text", "again");
    packet.add_attribute("Vendor-Nested-Mode", "On-And-Ready-To-Serve");
    packet.add_attribute("Long-Text", std::string(300, 'l'));
    packet.add_attribute("Some-Nested", "7");
    packet.add_attribute("Tunnel-Password", "a password that is too long for a short string");
    packet.add_attribute("Message-Authenticator", std::string(16, '\0'));
}

RadiusPacket filled_packet() {
    RadiusPacket packet = new_packet(dictionary(), radius::ACCESS_REQUEST);
    fill(packet);
    return packet;
}

Bytes dumped(const RadiusPacket& packet) {
    const FixedRandom random(1);  // for the salt of Tunnel-Password
    Issues issues;
    return pkt_dump(packet, secret, issues);
}

void expect_consistent(const RadiusPacket& packet) {
    EXPECT_EQ(packet.attribute_order.size(), packet.attribute_map.size());
    for (const RadiusAttribute* const attribute : packet.attribute_order) {
        ASSERT_NE(attribute, nullptr);
        EXPECT_LE(attribute->values.size(), 2U);
    }
    listing(packet);
}

TEST_P(MemoryShortage, LeavesAPacketThatCanBeUsedWhenBuildingItFails) {
    const Lines reference = listing(filled_packet());
    for_each_allocation([&](const ShortageAt& here) {
        RadiusPacket packet = new_packet(dictionary(), radius::ACCESS_REQUEST);
        const Outcome outcome = here.during([&] { fill(packet); });
        expect_consistent(packet);
        if (outcome.succeeded()) {
            EXPECT_EQ(listing(packet), reference);
        } else {
            EXPECT_EQ(outcome.failure(), "out of memory");
        }
        return outcome;
    });
}

TEST_P(MemoryShortage, SendsNoPartOfAPacket) {
    const RadiusPacket packet = filled_packet();
    const std::string reference = to_hex(dumped(packet));
    for_each_allocation([&](const ShortageAt& here) {
        const FixedRandom random(1);
        Bytes wire;
        Issues issues;
        const Outcome outcome = here.during([&] { wire = pkt_dump(packet, secret, issues); });
        EXPECT_EQ(to_hex(wire), outcome.succeeded() ? reference : "");
        EXPECT_EQ(outcome.failure(), outcome.succeeded() ? "" : "out of memory");
        return outcome;
    });
}

TEST_P(MemoryShortage, ReportsWhatItTruncatesOrFails) {
    RadiusPacket packet = new_packet(dictionary(), radius::ACCESS_REQUEST);
    packet.add_attribute("User-Name", std::string(300, 'x'));
    for_each_allocation([&](const ShortageAt& here) {
        Bytes wire;
        Issues issues;
        const Outcome outcome = here.during([&] { wire = pkt_dump(packet, secret, issues); });
        EXPECT_EQ(wire.size(), outcome.succeeded() ? 275U : 0U);
        EXPECT_TRUE(issues.size() == 1 || !outcome.succeeded());
        return outcome;
    });
}

TEST_P(MemoryShortage, ReadsAllOfAPacketOrFails) {
    Bytes wire = dumped(filled_packet());
    const Bytes odd = joined({attribute(26, hex("000009")), attribute(245, hex("01 80 41"))});
    wire.insert(wire.end(), odd.begin(), odd.end());
    wire[2] = static_cast<std::uint8_t>(wire.size() >> 8);
    wire[3] = static_cast<std::uint8_t>(wire.size());
    const Decoded reference = decode(dictionary(), wire, secret);
    ASSERT_EQ(reference.issues.size(), 2U);

    for_each_allocation([&](const ShortageAt& here) {
        RadiusPacket packet(dictionary());
        Issues issues;
        const Outcome outcome =
            here.during([&] { issues = pkt_load(packet, wire.data(), wire.size(), secret); });
        if (outcome.succeeded()) {
            EXPECT_EQ(listing(packet), reference.lines());
            EXPECT_EQ(issues.size(), 2U);
            EXPECT_EQ(packet.raw, wire);
        } else {
            EXPECT_EQ(outcome.failure(), "out of memory");
        }
        return outcome;
    });
}

/// A reply to a request whose Authenticator is `test_authenticator`.
RadiusPacket decoded_reply(const std::string& signed_with) {
    const Bytes request = datagram(radius::ACCESS_REQUEST, "");
    const Bytes wire = reply_to(request, {.code = radius::ACCESS_ACCEPT, .secret = signed_with});
    RadiusPacket reply(dictionary());
    pkt_load(reply, wire.data(), wire.size(), "");
    reply.request_authenticator = test_authenticator;
    return reply;
}

TEST_P(MemoryShortage, AcceptsNoReplyThatIsNotAuthentic) {
    const RadiusPacket authentic = decoded_reply(secret);
    const RadiusPacket forged = decoded_reply("another secret");
    for_each_allocation([&](const ShortageAt& here) {
        auto error = radius::ValidationError::None;
        const Outcome outcome = here.during([&] { error = authentic.validate(secret).error; });
        EXPECT_EQ(outcome.failure(), outcome.succeeded() ? "" : "out of memory");
        EXPECT_EQ(error, radius::ValidationError::None);
        return outcome;
    });
    for_each_allocation([&](const ShortageAt& here) {
        auto error = radius::ValidationError::InvalidMessageAuthenticator;
        const Outcome outcome = here.during([&] { error = forged.validate(secret).error; });
        EXPECT_EQ(outcome.failure(), outcome.succeeded() ? "" : "out of memory");
        EXPECT_EQ(error, radius::ValidationError::InvalidMessageAuthenticator);
        return outcome;
    });
}

// Values.

TEST_P(MemoryShortage, RendersAValueOrFails) {
    const Bytes data = hex("00402001 0db80001 00020003 00040005 0006");
    for (const char* const type :
         {"text", "octets", "integer", "time", "signed", "integer64", "short", "byte", "ipv4addr",
          "ipv4prefix", "ipv6addr", "ipv6prefix", "combo-ip", "ether", "ifid"}) {
        SCOPED_TRACE(type);
        // As long as each type wants it.
        for (const std::size_t size : {4U, 6U, 16U, 18U}) {
            const Bytes bytes(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(size));
            const std::string reference_text = RadiusValue(type, bytes, 0, false).as_string();
            const std::string reference_digits = RadiusValue(type, bytes, 0, false).as_hex();
            test::for_each_allocation(Allocator::Cpp, GetParam(), [&](const ShortageAt& here) {
                const RadiusValue value(type, bytes, 0, false);
                std::string text;
                std::string digits;
                const Outcome outcome = here.during([&] {
                    text = value.as_string();
                    digits = value.as_hex();
                });
                EXPECT_EQ(outcome.failure(), outcome.succeeded() ? "" : "out of memory");
                EXPECT_EQ(value.as_string(), reference_text);  // no half of it was kept
                EXPECT_EQ(digits, outcome.succeeded() ? reference_digits : "");
                return outcome;
            });
        }
    }
}

TEST_P(MemoryShortage, ListsAPacketOrFails) {
    const RadiusPacket packet = filled_packet();
    const std::string reference = subscriber::radius::attribute_listing(packet, dictionary().get());
    for_each_allocation([&](const ShortageAt& here) {
        std::string text;
        const Outcome outcome =
            here.during([&] { text = subscriber::radius::attribute_listing(packet, dictionary().get()); });
        EXPECT_EQ(outcome.failure(), outcome.succeeded() ? "" : "out of memory");
        EXPECT_EQ(text, outcome.succeeded() ? reference : "");
        return outcome;
    });
}

TEST_P(MemoryShortage, HidesAndRevealsAValueOrFails) {
    const std::string password = "a password that is too long for a short string";
    const Bytes hidden = radius::encrypt_user_password(utils::as_bytes(password), secret, test_authenticator);
    const Bytes tunnel =
        radius::encrypt_tunnel_password(utils::as_bytes(password), secret, test_authenticator);
    for_each_allocation([&](const ShortageAt& here) {
        Bytes cipher;
        const Outcome outcome = here.during([&] {
            cipher = radius::encrypt_user_password(utils::as_bytes(password), secret, test_authenticator);
        });
        EXPECT_EQ(cipher, outcome.succeeded() ? hidden : Bytes());
        return outcome;
    });
    for_each_allocation([&](const ShortageAt& here) {
        std::string text;
        const Outcome outcome =
            here.during([&] { text = radius::decrypt_user_password(hidden, secret, test_authenticator); });
        EXPECT_EQ(text, outcome.succeeded() ? password : "");
        return outcome;
    });
    for_each_allocation([&](const ShortageAt& here) {
        std::string text;
        const Outcome outcome =
            here.during([&] { text = radius::decrypt_tunnel_password(tunnel, secret, test_authenticator); });
        EXPECT_EQ(text, outcome.succeeded() ? password : "");
        return outcome;
    });
}

TEST_P(MemoryShortage, MakesACredentialOrFails) {
    const std::string password = "a password that is too long for a short string";
    const std::string reference = radius::auth::chap_password(7, password, "challenge");
    for_each_allocation([&](const ShortageAt& here) {
        std::string value;
        const Outcome outcome =
            here.during([&] { value = radius::auth::chap_password(7, password, "challenge"); });
        EXPECT_EQ(value, outcome.succeeded() ? reference : "");
        return outcome;
    });
    const std::string response = radius::auth::mschapv2_response(7, "bob", password, {1}, {2});
    for_each_allocation([&](const ShortageAt& here) {
        std::string value;
        const Outcome outcome =
            here.during([&] { value = radius::auth::mschapv2_response(7, "bob", password, {1}, {2}); });
        EXPECT_EQ(value, outcome.succeeded() ? response : "");
        return outcome;
    });
}

}  // namespace
}  // namespace quarn::test
