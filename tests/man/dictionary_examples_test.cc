// The examples of quarn-radius-dictionary.5, loaded as they are printed: each defines what its heading says,
// and its attributes travel as their kind does.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <memory>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "quarn/radius/dictionary.h"
#include "quarn/radius/packet.h"
#include "quarn/radius/packet_code.h"
#include "quarn/radius/pkt_dump.h"
#include "quarn/radius/pkt_load.h"
#include "quarn/utils/text.h"
#include "testing/dictionaries.h"
#include "testing/scratch_folder.h"
#include "testing/warnings.h"

namespace quarn::test {
namespace {

using subscriber::radius::ParseIssue;
using subscriber::radius::RadiusDictionary;
using subscriber::radius::RadiusPacket;
using utils::Bytes;

constexpr char page_path[] = QUARN_SOURCE_DIR "/docs/man/quarn-radius-dictionary.5";
constexpr std::string_view default_root = "/opt/quarn/share/quarn/radius/dictionary.yaml";
constexpr std::size_t header_size = 20;

/// The page's literal blocks that begin with "# " and a file name, by that name.
std::map<std::string, std::string> read_examples() {
    std::ifstream page(page_path);
    std::map<std::string, std::string> examples;
    std::string* example = nullptr;
    bool at_start = false;
    for (std::string line; std::getline(page, line);) {
        if (line.starts_with(".Bd -literal")) {
            at_start = true;
        } else if (line.starts_with(".Ed")) {
            example = nullptr;
        } else if (std::exchange(at_start, false) && line.starts_with("# ")) {
            example = &examples[line.substr(2)];
        } else if (example != nullptr) {
            *example += line + "\n";
        }
    }
    return examples;
}

std::string example(const std::string& name) {
    const auto examples = read_examples();
    const auto found = examples.find(name);
    EXPECT_NE(found, examples.end()) << page_path << " has no example " << name;
    return found == examples.end() ? "" : found->second;
}

/// Loads an example, which must give no warning.
std::shared_ptr<const RadiusDictionary> load_example(const std::string& name) {
    const WarningRecorder recorder;
    auto dictionary = dictionary_from(example(name));
    EXPECT_EQ(recorder.warnings(), std::vector<Warning>{}) << name;
    return dictionary;
}

/// One attribute's bytes in an Access-Accept, in hexadecimal, and the values that are read back from them.
struct Travelled {
    std::string wire;
    std::vector<std::string> values;
    std::vector<int> tags;
};

Travelled travel(const std::shared_ptr<const RadiusDictionary>& dictionary, const std::string& name,
                 const std::string& text, std::uint8_t tag = 0, std::string_view secret = "") {
    RadiusPacket sent(dictionary);
    sent.code = subscriber::radius::ACCESS_REQUEST;
    sent.authenticator.fill(0x11);
    sent.add_attribute(name, text);
    sent.attribute_map.at(name).values.front().tag = tag;
    std::vector<ParseIssue> issues;
    const Bytes datagram = pkt_dump(sent, secret, issues);
    EXPECT_EQ(issues, std::vector<ParseIssue>{}) << name;

    RadiusPacket received(dictionary);
    EXPECT_EQ(pkt_load(received, datagram.data(), datagram.size(), secret), std::vector<ParseIssue>{});
    Travelled result;
    result.wire = utils::bytes_to_hex(datagram.data() + header_size, datagram.size() - header_size);
    for (const auto* attribute : received.attributes()) {
        EXPECT_EQ(attribute->display_name(), name);
        for (const auto& value : attribute->values) {
            result.values.push_back(value.as_string());
            result.tags.push_back(value.tag);
        }
    }
    return result;
}

void expect_travels(const std::shared_ptr<const RadiusDictionary>& dictionary, const std::string& name,
                    const std::string& text, const std::string& wire, const std::string& read_back) {
    const Travelled travelled = travel(dictionary, name, text);
    EXPECT_EQ(travelled.wire, wire) << name;
    EXPECT_EQ(travelled.values, std::vector<std::string>{read_back}) << name;
}

TEST(DictionaryPage, HasAnExampleForEachKindOfAttribute) {
    std::set<std::string> names;
    for (const auto& [name, content] : read_examples()) {
        names.insert(name);
    }
    EXPECT_EQ(names,
              (std::set<std::string>{"own.yaml", "plain.yaml", "enum.yaml", "vendor.yaml", "vendor-2-2.yaml",
                                     "vendor-1-1-c.yaml", "tlv.yaml", "extended.yaml", "long-extended.yaml",
                                     "evs.yaml", "tagged.yaml", "hidden.yaml", "concat.yaml"}));
}

/// Loads a dictionary that includes the default one, which is not installed here.
std::shared_ptr<const RadiusDictionary> load_beside_the_shipped_one(std::string text) {
    const std::size_t root = text.find(default_root);
    EXPECT_NE(root, std::string::npos);
    text.replace(root, default_root.size(), shipped_dictionary_path());
    const WarningRecorder recorder;
    auto dictionary = dictionary_from(text);
    EXPECT_EQ(recorder.warnings(), std::vector<Warning>{});
    return dictionary;
}

TEST(DictionaryPage, OwnFileAddsToTheShippedOne) {
    const auto dictionary = load_beside_the_shipped_one(example("own.yaml"));
    EXPECT_TRUE(dictionary->attribute_by_name("User-Name").known);
    expect_travels(dictionary, "Example-Role", "staff", "1a0d00007ed901077374616666", "staff");
}

TEST(DictionaryPage, PlainAttributesTravelAsTypeLengthAndValue) {
    const auto dictionary = load_example("plain.yaml");
    expect_travels(dictionary, "Example-Door", "west", "e10677657374", "west");
    expect_travels(dictionary, "Example-Opened", "2026-11-21T08:30:00Z", "e2066b015688",
                   "2026-11-21T08:30:00Z");
}

TEST(DictionaryPage, EnumeratedAttributesHaveNames) {
    const auto dictionary = load_example("enum.yaml");
    EXPECT_EQ(dictionary->enum_name("Example-Mode", 16), "Auto");
    expect_travels(dictionary, "Example-Mode", "auto", "e30600000010", "16");
}

TEST(DictionaryPage, VendorAttributesTravelInTheVendorsFormat) {
    expect_travels(load_example("vendor.yaml"), "Example-Role", "staff", "1a0d00007ed901077374616666",
                   "staff");
    expect_travels(load_example("vendor-2-2.yaml"), "Example-Level", "5", "1a0e00007ed9012c000800000005",
                   "5");
}

TEST(DictionaryPage, ContinuationCarriesAValueOnInTheNextAttribute) {
    const std::string value(300, 'x');
    const Travelled travelled = travel(load_example("vendor-1-1-c.yaml"), "Example-Policy", value);
    const std::string x246 = utils::bytes_to_hex(reinterpret_cast<const std::uint8_t*>(value.data()), 246);
    const std::string x54 = utils::bytes_to_hex(reinterpret_cast<const std::uint8_t*>(value.data()), 54);
    EXPECT_EQ(travelled.wire, "1aff00007ed901f980" + x246 + "1a3f00007ed9013900" + x54);
    EXPECT_EQ(travelled.values, std::vector<std::string>{value});
}

TEST(DictionaryPage, TlvsTravelInsideTheirParent) {
    const auto dictionary = load_example("tlv.yaml");
    expect_travels(dictionary, "Example-Session-Name", "a",
                   "1a0b00007ed90505"
                   "010361",
                   "a");
    expect_travels(dictionary, "Example-Session-Limit", "9",
                   "1a0c00007ed90506"
                   "02040009",
                   "9");
}

TEST(DictionaryPage, ExtendedAttributesHaveASecondType) {
    expect_travels(load_example("extended.yaml"), "Example-Extended", "192.0.2.5", "f107c8c0000205",
                   "192.0.2.5");
    expect_travels(load_example("long-extended.yaml"), "Example-Long", "a", "f505c80061", "a");
    expect_travels(load_example("evs.yaml"), "Example-Zone", "3", "f1091a00007ed90703", "3");
}

TEST(DictionaryPage, TagsPrecedeTextsAndReplaceTheTopByteOfNumbers) {
    const auto dictionary = load_example("tagged.yaml");
    const Travelled rank = travel(dictionary, "Example-Tunnel-Rank", "7", 1);
    EXPECT_EQ(rank.wire, "e40601000007");
    EXPECT_EQ(rank.values, std::vector<std::string>{"7"});
    EXPECT_EQ(rank.tags, std::vector<int>{1});
    const Travelled label = travel(dictionary, "Example-Tunnel-Label", "a", 2);
    EXPECT_EQ(label.wire, "e5040261");
    EXPECT_EQ(label.values, std::vector<std::string>{"a"});
    EXPECT_EQ(label.tags, std::vector<int>{2});
}

TEST(DictionaryPage, HiddenAttributesAreRevealedWithTheSecret) {
    const auto dictionary = load_example("hidden.yaml");
    const Travelled pin = travel(dictionary, "Example-Pin", "1234", 0, "s3cret");
    EXPECT_EQ(pin.values, std::vector<std::string>{"1234"});
    EXPECT_EQ(pin.wire.substr(0, 4), "e612");  // one block of 16 bytes
    EXPECT_EQ(pin.wire.find("31323334"), std::string::npos);
    const Travelled key = travel(dictionary, "Example-Tunnel-Key", "1234", 3, "s3cret");
    EXPECT_EQ(key.values, std::vector<std::string>{"1234"});
    EXPECT_EQ(key.tags, std::vector<int>{3});
    EXPECT_EQ(key.wire.substr(0, 6), "e71503");  // tag, salt of 2 bytes, one block
}

TEST(DictionaryPage, ConcatJoinsWhatIsCutIntoSeveralAttributes) {
    const std::string value(300, 'x');
    const Travelled travelled = travel(load_example("concat.yaml"), "Example-Certificate", value);
    EXPECT_EQ(travelled.wire.substr(0, 4), "e8ff");
    EXPECT_EQ(travelled.wire.substr(510, 4), "e831");
    EXPECT_EQ(travelled.values, std::vector<std::string>{value});
}

TEST(ReadMe, DictionaryOfOnesOwnAddsToTheShippedOne) {
    std::ifstream page(QUARN_SOURCE_DIR "/README.md");
    std::string text;
    bool inside = false;
    for (std::string line; std::getline(page, line);) {
        if (line.starts_with("```")) {
            inside = text.empty() && line == "```yaml";
        } else if (inside) {
            text += line + "\n";
        }
    }
    const auto dictionary = load_beside_the_shipped_one(text);
    EXPECT_TRUE(dictionary->attribute_by_name("User-Name").known);
    expect_travels(dictionary, "Example-Role", "staff", "1a0d0000fbf001077374616666", "staff");
    expect_travels(dictionary, "Example-Mode", "On", "1a0c0000fbf0020600000001", "1");
}

// Rows such as "| `1,1` | `1a 0a 00007ed9 05 04 0a0b` |".
TEST(WireFormatsPage, VendorFormatsGiveTheBytesOfTheirRows) {
    std::ifstream page(QUARN_SOURCE_DIR "/docs/wire-formats.md");
    const std::regex row(R"(\| `(\d,\d(?:,c)?)` \| `([0-9a-f ]+)` \|)");
    int rows = 0;
    for (std::string line; std::getline(page, line);) {
        std::smatch found;
        if (!std::regex_match(line, found, row)) {
            continue;
        }
        ++rows;
        std::string wire = found[2];
        std::erase(wire, ' ');
        const auto dictionary =
            dictionary_from("vendor: {id: 32473, name: Example, format: \"" + found[1].str() +
                            "\"}\nattributes: {Example: {code: 26.32473.5, type: octets}}");
        EXPECT_EQ(travel(dictionary, "Example", "0x0a0b").wire, wire) << line;
    }
    EXPECT_EQ(rows, 3);
}

}  // namespace
}  // namespace quarn::test
