#include "quarn/radius/packet.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <new>
#include <optional>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include "testing/codec_dictionary.h"
#include "testing/dictionaries.h"

namespace {

/// How many more allocations of this thread succeed; without a number, all do.
thread_local std::optional<std::size_t> allocations_left;

}  // namespace

// Kept out of line: g++ 12 else compares malloc with the library's own delete, and warns.
[[gnu::noinline]] void* operator new(std::size_t size) {
    if (allocations_left && *allocations_left == 0) {
        allocations_left.reset();
        throw std::bad_alloc();
    }
    if (allocations_left) {
        --*allocations_left;
    }
    if (void* const block = std::malloc(size > 0 ? size : 1)) {
        return block;
    }
    throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* block) noexcept {
    std::free(block);
}

[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}

namespace quarn::subscriber::radius {
namespace {

using test::add_unknown;
using test::add_value;
using test::hex;
using test::Lines;
using test::listing;

RadiusPacket packet() {
    return RadiusPacket(test::codec_dictionary());
}

/// An attribute of the dictionary without any value.
RadiusAttribute without_values(const RadiusPacket& packet, std::string_view name) {
    const AttributeMetadata& record = packet.dictionary->attribute_by_name(name);
    return {record, record.code, ""};
}

/// Each entry of the map has one pointer in the order, and each pointer an entry of the map.
void expect_map_and_order_to_agree(const RadiusPacket& packet) {
    EXPECT_EQ(packet.attribute_order.size(), packet.attribute_map.size());
    for (const RadiusAttribute* const ordered : packet.attribute_order) {
        std::size_t found = 0;
        for (const auto& [key, attribute] : packet.attribute_map) {
            found += &attribute == ordered;
        }
        EXPECT_EQ(found, 1U);
    }
}

template <typename Error, typename Work>
std::string thrown(Work work) {
    try {
        work();
    } catch (const Error& error) {
        return error.what();
    }
    return "nothing thrown";
}

TEST(NewPacket, IsEmpty) {
    const RadiusPacket packet;
    EXPECT_EQ(packet.dictionary, nullptr);
    EXPECT_EQ(packet.code, 0);
    EXPECT_EQ(packet.identifier, 0);
    EXPECT_EQ(packet.authenticator, ZERO16);
    EXPECT_EQ(packet.request_authenticator, std::nullopt);
    EXPECT_TRUE(packet.attribute_map.empty());
    EXPECT_TRUE(packet.attribute_order.empty());
    EXPECT_TRUE(packet.attributes().empty());
    EXPECT_TRUE(packet.raw.empty());
}

TEST(NewPacket, SharesTheDictionaryThatItIsGiven) {
    auto dictionary = std::make_shared<RadiusDictionary>();
    const std::weak_ptr<RadiusDictionary> watched = dictionary;
    {
        const RadiusPacket packet(std::move(dictionary));
        EXPECT_FALSE(watched.expired());
    }
    EXPECT_TRUE(watched.expired());
}

TEST(Packet, CannotBeCopied) {
    EXPECT_FALSE(std::is_copy_constructible_v<RadiusPacket>);
    EXPECT_FALSE(std::is_copy_assignable_v<RadiusPacket>);
}

TEST(Packet, KeepsItsAttributesWhenItIsMoved) {
    RadiusPacket original = packet();
    original.add_attribute("User-Name", "bob");
    original.add_attribute("NAS-Port", "3");
    const Lines lines = listing(original);

    RadiusPacket moved = std::move(original);
    EXPECT_EQ(listing(moved), lines);
    expect_map_and_order_to_agree(moved);

    RadiusPacket assigned = packet();
    assigned.add_attribute("Class", "gone");
    assigned = std::move(moved);
    EXPECT_EQ(listing(assigned), lines);
    expect_map_and_order_to_agree(assigned);
}

TEST(AddAttribute, AppendsOneValueOfTheDictionarysType) {
    RadiusPacket request = packet();
    request.add_attribute("NAS-IP-Address", "192.168.1.16");
    ASSERT_EQ(request.attributes().size(), 1U);
    const RadiusAttribute& attribute = *request.attributes()[0];
    EXPECT_EQ(attribute.metadata, &request.dictionary->attribute_by_name("NAS-IP-Address"));
    EXPECT_EQ(attribute.code_path, CodePath{4});
    EXPECT_EQ(attribute.name, "");
    ASSERT_EQ(attribute.values.size(), 1U);
    EXPECT_EQ(attribute.values[0].type, "ipv4addr");
    EXPECT_EQ(attribute.values[0].value_type, ValueType::Ipv4Addr);
    EXPECT_EQ(test::to_hex(attribute.values[0].data), "c0a80110");
    EXPECT_EQ(attribute.values[0].tag, 0);
    EXPECT_FALSE(attribute.values[0].has_tag);
    EXPECT_EQ(attribute.values[0].string_cache, std::nullopt);
}

TEST(AddAttribute, GivesATaggedAttributeTag0) {
    RadiusPacket request = packet();
    request.add_attribute("Tunnel-Type", "L2TP");
    request.add_attribute("Tunnel-Client-Endpoint", "10.0.0.1");
    EXPECT_EQ(listing(request),
              (Lines{"Tunnel-Type (64) #0:00000003", "Tunnel-Client-Endpoint (66) #0:31302e302e302e31"}));
}

TEST(AddAttribute, KeepsValuesOfOneAttributeTogetherAtThePlaceOfTheFirst) {
    RadiusPacket reply = packet();
    reply.add_attribute("User-Name", "bob");
    reply.add_attribute("Reply-Message", "one");
    reply.add_attribute("NAS-Port", "3");
    reply.add_attribute("Reply-Message", "two");
    EXPECT_EQ(listing(reply),
              (Lines{"User-Name (1) 626f62", "Reply-Message (18) 6f6e65 74776f", "NAS-Port (5) 00000003"}));
    expect_map_and_order_to_agree(reply);
}

TEST(AddAttribute, MatchesNamesWithoutRegardToCaseAndKeepsTheDictionarysSpelling) {
    RadiusPacket request = packet();
    request.add_attribute("User-Name", "a");
    request.add_attribute("user-name", "b");
    request.add_attribute("USER-NAME", "c");
    EXPECT_EQ(listing(request), (Lines{"User-Name (1) 61 62 63"}));
    EXPECT_EQ(request.attribute_map.begin()->first, "User-Name");
}

TEST(AddAttribute, KeepsTheDictionarysSpellingAlsoWhenAnotherOneComesFirst) {
    RadiusPacket request = packet();
    request.add_attribute("user-name", "b");
    EXPECT_EQ(request.attribute_map.begin()->first, "User-Name");
}

TEST(AddAttribute, TakesAnAttributeWithoutACode) {
    RadiusPacket request = packet();
    request.add_attribute("Codeless", "a");
    EXPECT_EQ(listing(request), (Lines{"Codeless () 61"}));
}

TEST(AddAttribute, ThrowsForANameThatTheDictionaryLacksAndChangesNothing) {
    RadiusPacket request = packet();
    request.add_attribute("User-Name", "bob");
    EXPECT_EQ(thrown<std::runtime_error>([&] { request.add_attribute("No-Such", "x"); }),
              "RadiusPacket: unknown attribute No-Such");
    EXPECT_EQ(thrown<std::runtime_error>([&] { request.add_attribute("", "x"); }),
              "RadiusPacket: unknown attribute ");
    EXPECT_EQ(listing(request), (Lines{"User-Name (1) 626f62"}));
}

TEST(AddAttribute, ThrowsWithoutADictionary) {
    RadiusPacket request;
    EXPECT_EQ(thrown<std::runtime_error>([&] { request.add_attribute("User-Name", "bob"); }),
              "RadiusPacket: unknown attribute User-Name");
    EXPECT_TRUE(request.attribute_map.empty());
}

TEST(AddAttribute, LeavesANewAttributeWithoutValuesWhenTheTextIsMalformed) {
    RadiusPacket request = packet();
    EXPECT_EQ(thrown<std::invalid_argument>([&] { request.add_attribute("NAS-IP-Address", "1.2.3"); }),
              "invalid ipv4addr: 1.2.3");
    EXPECT_EQ(listing(request), (Lines{"NAS-IP-Address (4)"}));
    expect_map_and_order_to_agree(request);
}

TEST(AddAttribute, KeepsEarlierValuesWhenTheTextIsMalformed) {
    RadiusPacket request = packet();
    request.add_attribute("NAS-IP-Address", "10.0.0.1");
    EXPECT_EQ(thrown<std::invalid_argument>([&] { request.add_attribute("NAS-IP-Address", "1.2.3"); }),
              "invalid ipv4addr: 1.2.3");
    EXPECT_EQ(listing(request), (Lines{"NAS-IP-Address (4) 0a000001"}));
}

TEST(AddAttribute, DropsANumberThatDoesNotFitWithoutAnError) {
    RadiusPacket request = packet();
    request.add_attribute("NAS-Port", "4294967296");
    request.add_attribute("Framed-Protocol", "PPX");
    EXPECT_EQ(listing(request), (Lines{"NAS-Port (5)", "Framed-Protocol (7)"}));
    request.add_attribute("Framed-Protocol", "ppp");
    request.add_attribute("Framed-Protocol", "PPX");
    EXPECT_EQ(listing(request), (Lines{"NAS-Port (5)", "Framed-Protocol (7) 00000001"}));
}

TEST(AddAttribute, DropsATextThatIsNotUtf8WithoutAnError) {
    RadiusPacket request = packet();
    request.add_attribute("User-Name", "\xff");
    EXPECT_EQ(listing(request), (Lines{"User-Name (1)"}));
}

TEST(AddWholeAttribute, MakesAnEntryUnderTheDictionarysName) {
    RadiusPacket reply = packet();
    add_value(reply, "class", hex("01"));
    ASSERT_EQ(reply.attribute_map.size(), 1U);
    EXPECT_EQ(reply.attribute_map.begin()->first, "Class");
    EXPECT_EQ(listing(reply), (Lines{"Class (25) 01"}));
}

TEST(AddWholeAttribute, KeysAnUnknownOneByItsPath) {
    RadiusPacket reply = packet();
    add_unknown(reply, {26, 9, 77}, hex("01"));
    ASSERT_EQ(reply.attribute_map.size(), 1U);
    EXPECT_EQ(reply.attribute_map.begin()->first, "attr-26.9.77");
}

TEST(AddWholeAttribute, JoinsASecondUnknownOneAtTheSamePathWithTheFirst) {
    RadiusPacket reply = packet();
    add_unknown(reply, {26, 9, 77}, hex("01"));
    add_unknown(reply, {26, 9, 78}, hex("02"));
    add_unknown(reply, {26, 9, 77}, hex("03"));
    EXPECT_EQ(listing(reply), (Lines{"attr-26.9.77 (26.9.77) 01 03", "attr-26.9.78 (26.9.78) 02"}));
    expect_map_and_order_to_agree(reply);
}

TEST(AddWholeAttribute, KeysAnUnknownOneByItsGivenNameWhereThereIsOne) {
    RadiusPacket reply = packet();
    add_unknown(reply, {222}, hex("01"), "Some-Name");
    add_unknown(reply, {223}, hex("02"), "SOME-NAME");
    EXPECT_EQ(reply.attribute_map.begin()->first, "Some-Name");
    EXPECT_EQ(listing(reply), (Lines{"Some-Name (222) 01 02"}));
}

TEST(AddWholeAttribute, AppendsItsValuesInTheirOrderAndDropsTheRestOfIt) {
    RadiusPacket reply = packet();
    add_value(reply, "Class", hex("01"));
    add_value(reply, "NAS-Port", hex("00000003"));
    // The same key, but another path.
    RadiusAttribute more(reply.dictionary->attribute_by_name("Class"), {99}, "");
    more.values.emplace_back("octets", hex("02"), std::uint8_t{0}, false);
    more.values.emplace_back("octets", hex("03"), std::uint8_t{0}, false);
    reply.add_attribute(std::move(more));
    EXPECT_EQ(listing(reply), (Lines{"Class (25) 01 02 03", "NAS-Port (5) 00000003"}));
}

TEST(AddWholeAttribute, MakesAnEntryWithoutValuesForANewKey) {
    RadiusPacket reply = packet();
    reply.add_attribute(without_values(reply, "Class"));
    EXPECT_EQ(listing(reply), (Lines{"Class (25)"}));
    expect_map_and_order_to_agree(reply);
}

TEST(AddWholeAttribute, WithoutValuesChangesNothingWhereTheKeyExists) {
    RadiusPacket reply = packet();
    add_value(reply, "Class", hex("01"));
    add_value(reply, "NAS-Port", hex("00000003"));
    reply.add_attribute(without_values(reply, "Class"));
    EXPECT_EQ(listing(reply), (Lines{"Class (25) 01", "NAS-Port (5) 00000003"}));
}

TEST(AddWholeAttribute, KeepsPointersToEarlierEntriesValid) {
    RadiusPacket reply = packet();
    add_unknown(reply, {1000}, hex("01"));
    const RadiusAttribute* const first = reply.attributes()[0];
    for (std::uint32_t type = 0; type < 500; ++type) {
        add_unknown(reply, {type}, hex("02"));
    }
    EXPECT_EQ(reply.attributes()[0], first);
    EXPECT_EQ(first->display_name(), "attr-1000");
    expect_map_and_order_to_agree(reply);
}

TEST(SetAttribute, LeavesOneValueAndMovesTheAttributeToTheEnd) {
    RadiusPacket reply = packet();
    reply.add_attribute("User-Name", "bob");
    reply.add_attribute("Reply-Message", "one");
    reply.add_attribute("Reply-Message", "two");
    reply.add_attribute("Reply-Message", "three");
    reply.add_attribute("NAS-Port", "3");
    reply.add_attribute("Class", "c");
    reply.set_attribute("Reply-Message", "new");
    EXPECT_EQ(listing(reply), (Lines{"User-Name (1) 626f62", "NAS-Port (5) 00000003", "Class (25) 63",
                                     "Reply-Message (18) 6e6577"}));
    expect_map_and_order_to_agree(reply);
}

TEST(SetAttribute, FindsTheAttributeWhateverTheCaseOfItsName) {
    RadiusPacket request = packet();
    request.add_attribute("User-Name", "a");
    request.add_attribute("NAS-Port", "3");
    request.set_attribute("user-NAME", "b");
    EXPECT_EQ(listing(request), (Lines{"NAS-Port (5) 00000003", "User-Name (1) 62"}));
    expect_map_and_order_to_agree(request);
}

TEST(SetAttribute, AddsAnAttributeThatIsNotThere) {
    RadiusPacket request = packet();
    request.add_attribute("NAS-Port", "3");
    request.set_attribute("User-Name", "bob");
    EXPECT_EQ(listing(request), (Lines{"NAS-Port (5) 00000003", "User-Name (1) 626f62"}));
}

TEST(SetAttribute, TakesANumber) {
    RadiusPacket request = packet();
    request.set_attribute("NAS-Port", std::uint32_t{0});
    EXPECT_EQ(listing(request), (Lines{"NAS-Port (5) 00000000"}));
    request.set_attribute("NAS-Port", std::uint32_t{4294967295});
    EXPECT_EQ(listing(request), (Lines{"NAS-Port (5) ffffffff"}));
}

TEST(SetAttribute, StoresANumberAsItsDecimalText) {
    RadiusPacket request = packet();
    request.set_attribute("User-Name", std::uint32_t{0});
    EXPECT_EQ(request.attributes()[0]->values[0].as_string(), "0");
    request.set_attribute("User-Name", std::uint32_t{4294967295});
    EXPECT_EQ(request.attributes()[0]->values[0].as_string(), "4294967295");
}

TEST(SetAttribute, TakesNumbersOfEveryIntegerType) {
    RadiusPacket request = packet();
    const auto stored = [&](auto number) {
        request.set_attribute("NAS-Port", number);
        return test::to_hex(request.find_attribute("NAS-Port")->values.front().data);
    };
    EXPECT_EQ(stored(3), "00000003");
    EXPECT_EQ(stored(std::int8_t{127}), "0000007f");
    EXPECT_EQ(stored(std::uint8_t{255}), "000000ff");
    EXPECT_EQ(stored(std::uint16_t{65535}), "0000ffff");
    EXPECT_EQ(stored(std::int64_t{4294967295}), "ffffffff");
    EXPECT_EQ(stored(std::size_t{0}), "00000000");
}

TEST(SetAttribute, RefusesNumbersThatTheTypeCannotHold) {
    RadiusPacket request = packet();
    request.add_attribute("NAS-Port", "3");
    request.add_attribute("User-Name", "bob");
    const Lines before = listing(request);
    const auto refusal = [&](auto number) {
        return thrown<std::out_of_range>([&] { request.set_attribute("NAS-Port", number); });
    };
    EXPECT_EQ(refusal(-1), "RadiusPacket: number out of range: -1");
    EXPECT_EQ(refusal(5'000'000'000), "RadiusPacket: number out of range: 5000000000");
    EXPECT_EQ(refusal(std::numeric_limits<std::int64_t>::min()),
              "RadiusPacket: number out of range: -9223372036854775808");
    EXPECT_EQ(refusal(std::numeric_limits<std::uint64_t>::max()),
              "RadiusPacket: number out of range: 18446744073709551615");
    EXPECT_EQ(listing(request), before);
}

TEST(SetAttribute, KeepsWideAndNegativeNumbersWhereTheTypeHoldsThem) {
    RadiusPacket request(test::dictionary_from(R"(
attributes:
  Octet-Count: {code: "1", type: integer64}
  Temperature: {code: "2", type: signed}
  Note: {code: "3", type: text}
)"));
    request.set_attribute("Octet-Count", 5'000'000'000);
    request.set_attribute("Temperature", -1);
    request.set_attribute("Note", -5'000'000'000);
    EXPECT_EQ(listing(request), (Lines{"Octet-Count (1) 000000012a05f200", "Temperature (2) ffffffff",
                                       "Note (3) 2d35303030303030303030"}));
    EXPECT_EQ(thrown<std::out_of_range>([&] { request.set_attribute("Octet-Count", -1); }),
              "RadiusPacket: number out of range: -1");
    EXPECT_EQ(thrown<std::out_of_range>([&] { request.set_attribute("Temperature", -2'147'483'649); }),
              "RadiusPacket: number out of range: -2147483649");
}

TEST(SetAttribute, DropsA32BitNumberThatANarrowTypeCannotHoldWhateverTheIntegerType) {
    RadiusPacket request = packet();
    request.set_attribute("Tagged-Byte", std::uint32_t{256});
    request.set_attribute("Tagged-Short", 65'536);
    EXPECT_EQ(listing(request), (Lines{"Tagged-Byte (193)", "Tagged-Short (194)"}));
}

TEST(SetAttribute, ThrowsForAWideNumberOfANameThatTheDictionaryLacks) {
    RadiusPacket request = packet();
    EXPECT_EQ(thrown<std::runtime_error>([&] { request.set_attribute("No-Such", -1); }),
              "RadiusPacket: unknown attribute No-Such");
    EXPECT_EQ(thrown<std::runtime_error>([] { RadiusPacket().set_attribute("User-Name", -1); }),
              "RadiusPacket: unknown attribute User-Name");
}

template <typename Value>
concept Settable = requires(RadiusPacket& packet, Value value) {
    packet.set_attribute("NAS-Port", value);
};

TEST(SetAttribute, DoesNotCompileForWhatIsNoNumberAndNoText) {
    EXPECT_TRUE(Settable<int> && Settable<std::uint32_t> && Settable<unsigned long long>);
    EXPECT_TRUE(Settable<const char*> && Settable<std::string> && Settable<std::string_view>);
    EXPECT_FALSE(Settable<bool>);
    EXPECT_FALSE(Settable<char> || Settable<wchar_t> || Settable<char8_t> || Settable<char32_t>);
    EXPECT_FALSE(Settable<float> || Settable<double>);
}

TEST(SetAttribute, ThrowsForANameThatTheDictionaryLacks) {
    RadiusPacket request = packet();
    EXPECT_EQ(thrown<std::runtime_error>([&] { request.set_attribute("No-Such", "x"); }),
              "RadiusPacket: unknown attribute No-Such");
    EXPECT_TRUE(request.attribute_map.empty());
}

TEST(SetAttribute, HasRemovedAnUndefinedAttributeWhenItThrows) {
    RadiusPacket request = packet();
    request.add_attribute("User-Name", "bob");
    add_unknown(request, {222}, hex("01"));
    EXPECT_EQ(thrown<std::runtime_error>([&] { request.set_attribute("attr-222", "x"); }),
              "RadiusPacket: unknown attribute attr-222");
    EXPECT_EQ(listing(request), (Lines{"User-Name (1) 626f62"}));
    expect_map_and_order_to_agree(request);
}

TEST(SetAttribute, LeavesNoValueWhenTheTextIsMalformed) {
    RadiusPacket request = packet();
    request.add_attribute("NAS-IP-Address", "10.0.0.1");
    request.add_attribute("User-Name", "bob");
    EXPECT_EQ(thrown<std::invalid_argument>([&] { request.set_attribute("NAS-IP-Address", "10"); }),
              "invalid ipv4addr: 10");
    EXPECT_EQ(listing(request), (Lines{"User-Name (1) 626f62", "NAS-IP-Address (4)"}));
    expect_map_and_order_to_agree(request);
}

TEST(SetAttribute, MayBeGivenViewsOfTheValueThatItReplaces) {
    RadiusPacket request = packet();
    request.add_attribute("User-Name", "a name longer than any text that fits into a string itself");
    const RadiusAttribute& attribute = *request.attributes()[0];
    request.set_attribute(request.attribute_map.begin()->first, attribute.values[0].as_string());
    EXPECT_EQ(request.attributes()[0]->values[0].as_string(),
              "a name longer than any text that fits into a string itself");
}

/// Lets the first allocation of `change` fail, then the second, and so on, each time on a new packet of two
/// attributes, until the change succeeds.
template <typename Change>
void expect_no_half_built_entries(Change change) {
    std::size_t failures = 0;
    for (bool succeeded = false; !succeeded; ++failures) {
        ASSERT_LT(failures, 1000U);
        RadiusPacket changed = packet();
        changed.add_attribute("User-Name", "bob");
        changed.add_attribute("NAS-Port", "3");
        allocations_left = failures;
        try {
            change(changed);
            succeeded = true;
        } catch (const std::bad_alloc&) {
        }
        allocations_left.reset();
        expect_map_and_order_to_agree(changed);
        EXPECT_NE(changed.find_attribute("NAS-Port"), nullptr);
    }
    EXPECT_GT(failures, 1U);
}

TEST(Packet, HoldsNoHalfBuiltEntryWhenMemoryRunsOut) {
    const std::string name = "a name longer than any text that fits into a string itself";
    expect_no_half_built_entries(
        [&](RadiusPacket& changed) { changed.add_attribute("Reply-Message", name); });
    expect_no_half_built_entries([&](RadiusPacket& changed) { changed.add_attribute("User-Name", name); });
    expect_no_half_built_entries([&](RadiusPacket& changed) { changed.set_attribute("User-Name", name); });
    expect_no_half_built_entries(
        [&](RadiusPacket& changed) { add_unknown(changed, {222}, hex("01"), name); });
}

TEST(Attributes, IsACopyOfTheOrder) {
    RadiusPacket request = packet();
    request.add_attribute("User-Name", "bob");
    const std::vector<const RadiusAttribute*> before = request.attributes();
    request.add_attribute("NAS-Port", "3");
    EXPECT_EQ(before.size(), 1U);
    EXPECT_EQ(request.attributes().size(), 2U);
    EXPECT_EQ(request.attributes()[0], before[0]);
}

TEST(FindAttribute, FindsAnEntryWhateverTheCaseOfItsKey) {
    RadiusPacket request = packet();
    request.add_attribute("User-Name", "bob");
    add_unknown(request, {222}, hex("01"));
    EXPECT_EQ(request.find_attribute("USER-name"), request.attributes()[0]);
    EXPECT_EQ(request.find_attribute("attr-222"), request.attributes()[1]);
}

TEST(FindAttribute, FindsNothingWhereThereIsNoEntry) {
    RadiusPacket request = packet();
    EXPECT_EQ(request.find_attribute("User-Name"), nullptr);
    EXPECT_EQ(RadiusPacket().find_attribute(""), nullptr);
}

}  // namespace
}  // namespace quarn::subscriber::radius
