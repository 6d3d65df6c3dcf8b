// What the encoder writes without an issue, the decoder reads back: the same attributes in the same order,
// with the same types, values and tags. Shown on random packets over a dictionary that combines every value
// type and flag with every container and every vendor format.

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "quarn/radius/packet_code.h"
#include "testing/packets.h"
#include "testing/scratch_folder.h"

namespace quarn::subscriber::radius {
namespace {

/// The place of an attribute in the packet, as far as it decides about the size of a value.
struct Place {
    CodePath parent;            // the attribute's code is added to it
    std::size_t room = 253;     // bytes in one attribute on the wire, headers of TLVs included
    std::size_t tlv_depth = 0;  // TLV headers around the value
    bool marks_the_end =
        false;  // long-extended or with a continuation byte: fragments say whether more follows
    bool splits_silently = false;  // a longer value becomes several complete attributes, and no issue tells
};

struct Flags {
    bool has_tag = false;
    std::uint32_t encrypt = 0;
    bool concat = false;
};

/// An attribute that packets are built of.
struct Entry {
    CodePath path;
    Place place;
    Flags flags;
    std::string name;  // empty for an attribute that the dictionary does not define
    std::string type;
};

constexpr std::string_view type_names[] = {
    "string", "octets",   "text",       "integer",  "enum",       "time",     "signed", "integer64", "short",
    "byte",   "ipv4addr", "ipv4prefix", "ipv6addr", "ipv6prefix", "combo-ip", "ether",  "ifid"};

constexpr Flags flag_combinations[] = {
    {false, 0, false}, {true, 0, false},  {false, 1, false}, {false, 2, false}, {true, 2, false},
    {true, 1, false},  {false, 3, false}, {false, 0, true},  {true, 0, true},   {false, 2, true},
};

/// Builds the dictionary and the list of what it defines side by side.
class Catalogue {
  public:
    Catalogue() {
        add_place({{}, 253, 0, false, false}, 101);
        define({{199}, {}, {}, "Top-Tlv", "tlv"});
        add_place({{199}, 253, 1, false, false}, 1);
        define({{199, 200}, {}, {}, "Top-Tlv-Tlv", "tlv"});
        add_few({{199, 200}, 253, 2, false, false});
        define({{198}, {}, {false, 0, true}, "Concat-Tlv", "tlv"});
        add_few({{198}, 253, 1, false, false});

        define({{26}, {}, {}, "Vendor-Specific", "vsa"});
        add_extended(241, "extended", 252, false);
        add_extended(244, "extended", 252, false);
        add_extended(245, "long-extended", 251, true);
        add_extended(246, "long-extended", 251, true);
        const std::string root = std::exchange(yaml_, "");

        std::string includes = "includes:\n";
        for (std::size_t type_size = 1; type_size <= 4; ++type_size) {
            for (std::size_t length_size = 1; length_size <= 4; ++length_size) {
                for (const bool continuation : {false, true}) {
                    const std::string file = add_vendor(type_size, length_size, continuation);
                    includes += "  - " + file + "\n";
                }
            }
        }

        // What no dictionary defines.
        add_unknown({{}, 253, 0, false, false}, {0, 99, 255});
        add_unknown({{199}, 253, 1, false, false}, {250});
        add_unknown({{26, 4242}, 247, 0, false, true}, {0, 1, 255});
        add_unknown({{242}, 252, 0, false, true}, {0, 1, 255});
        add_unknown({{242, 26, 4242}, 247, 0, false, true}, {0, 255});
        add_unknown({{241}, 252, 0, false, true}, {250});
        add_unknown({{245}, 251, 0, true, false}, {250});
        add_unknown({{245, 26, 4242}, 246, 0, true, false}, {0, 255});

        auto dictionary = std::make_shared<RadiusDictionary>();
        dictionary->load(folder_.write("dictionary.yaml", includes + "attributes:\n" + root));
        dictionary_ = std::move(dictionary);
    }

    const std::vector<Entry>& entries() const { return entries_; }
    const test::SharedDictionary& dictionary() const { return dictionary_; }

  private:
    void define(Entry entry) {
        yaml_ += "  " + entry.name + ": {code: \"" + radius_code_path_to_string(entry.path) +
                 "\", type: " + entry.type + ", has_tag: " + (entry.flags.has_tag ? "true" : "false") +
                 ", encrypt: " + std::to_string(entry.flags.encrypt) +
                 ", concat: " + (entry.flags.concat ? "true" : "false") + "}\n";
    }

    void add(const Place& place, std::uint32_t code, std::string_view type, Flags flags) {
        Entry entry{place.parent, place, flags, "", std::string(type)};
        entry.path.push_back(code);
        entry.name = "A-" + radius_code_path_to_string(entry.path);
        define(entry);
        entries_.push_back(std::move(entry));
    }

    /// Every type without a flag and with a tag, and octets and numbers with every combination of flags.
    void add_place(const Place& place, std::uint32_t first_code) {
        std::uint32_t code = first_code;
        for (const std::string_view type : type_names) {
            add(place, code++, type, {});
            add(place, code++, type, {true, 0, false});
        }
        for (const std::string_view type : {"octets", "integer"}) {
            for (const Flags& flags : flag_combinations) {
                add(place, code++, type, flags);
            }
        }
    }

    void add_few(const Place& place) {
        add(place, 1, "octets", {});
        add(place, 2, "integer", {true, 0, false});
        add(place, 3, "text", {true, 2, false});
        add(place, 255, "text", {false, 1, false});
    }

    /// The TLVs of a container: those of one level, and those of a level more.
    void add_tlvs(const Place& container, std::uint32_t code, const std::string& name) {
        Place place = container;
        place.splits_silently = false;
        for (std::size_t level = 1; level <= 2; ++level) {
            place.parent.push_back(code);
            place.tlv_depth = level;
            define({place.parent, {}, {}, name + "-Tlv-" + std::to_string(level), "tlv"});
            add_few(place);
        }
    }

    void add_extended(std::uint32_t type, const std::string& type_name, std::size_t room, bool long_form) {
        const std::string name = "Extended-" + std::to_string(type);
        define({{type}, {}, {}, name, type_name});
        add_place({{type}, room, 0, long_form, !long_form}, 101);
        add_tlvs({{type}, room, 0, long_form, !long_form}, 200, name);
        define({{type, 26}, {}, {}, name + "-Vendor", "evs"});
        const Place vendor{{type, 26, 4711}, room - 5, 0, long_form, !long_form};
        add_place(vendor, 101);
        add_tlvs(vendor, 200, name + "-Vendor");
    }

    std::string add_vendor(std::size_t type_size, std::size_t length_size, bool continuation) {
        const std::uint32_t id = next_vendor_++;
        const std::string format =
            std::to_string(type_size) + "," + std::to_string(length_size) + (continuation ? ",c" : "");
        const std::string name = "Vendor-" + std::to_string(id);
        const std::size_t room = 253 - 4 - type_size - length_size - (continuation ? 1 : 0);
        const Place place{{26, id}, room, 0, continuation, !continuation};
        add_place(place, 101);
        add(place, static_cast<std::uint32_t>((std::uint64_t{1} << 8 * type_size) - 1), "octets", {});
        add_tlvs(place, 200, name);
        return write(name + ".yaml", "vendor: {id: " + std::to_string(id) + ", name: " + name +
                                         ", format: \"" + format + "\"}\nattributes:\n" +
                                         std::exchange(yaml_, ""));
    }

    void add_unknown(const Place& place, std::initializer_list<std::uint32_t> codes) {
        for (const std::uint32_t code : codes) {
            Entry entry{place.parent, place, {}, "", "octets"};
            entry.path.push_back(code);
            entries_.push_back(std::move(entry));
        }
    }

    std::string write(const std::string& file, const std::string& content) {
        folder_.write(file, content);
        return file;
    }

    test::ScratchFolder folder_;
    std::string yaml_;
    std::uint32_t next_vendor_ = 7000;
    std::vector<Entry> entries_;
    test::SharedDictionary dictionary_;
};

const Catalogue& catalogue() {
    static const Catalogue built;
    return built;
}

/// A packet's Authenticator is computed when the packet is complete: it replaces the one that values were
/// hidden with.
bool has_computed_authenticator(std::uint8_t code) {
    return is_response_code(code) || is_zero_authenticator_code(code);
}

class RandomPacket {
  public:
    RandomPacket(std::uint32_t seed, std::string_view secret) : random_(seed), secret_(secret) {}

    /// A packet of the given entries and some repeated ones.
    RadiusPacket build(std::span<const Entry* const> entries) {
        // A computed Authenticator replaces the one that values were hidden with, which a receiver then needs
        // from elsewhere: hidden values travel in packets that choose their Authenticator.
        static constexpr std::uint8_t choosing_codes[] = {1, 1, 1, 12, 99};
        static constexpr std::uint8_t codes[] = {1, 2, 3, 4, 5, 11, 12, 40, 41, 42, 43, 44, 45, 99};
        const bool hides = std::any_of(entries.begin(), entries.end(),
                                       [this](const Entry* entry) { return is_hidden(entry->flags); });
        RadiusPacket packet(catalogue().dictionary());
        packet.code =
            hides ? choosing_codes[below(std::size(choosing_codes))] : codes[below(std::size(codes))];
        packet.identifier = byte();
        for (std::uint8_t& octet : packet.authenticator) {
            octet = byte();
        }
        if (packet.code == ACCESS_REQUEST && below(4) == 0) {
            packet.authenticator = ZERO16;
        }
        packet.request_authenticator.emplace();
        for (std::uint8_t& octet : *packet.request_authenticator) {
            octet = byte();
        }
        for (const Entry* const entry : entries) {
            add(packet, *entry);
        }
        return packet;
    }

  private:
    std::size_t below(std::size_t limit) { return random_() % limit; }
    std::uint8_t byte() { return static_cast<std::uint8_t>(random_()); }

    bool is_hidden(const Flags& flags) const {
        return !secret_.empty() && (flags.encrypt == 1 || flags.encrypt == 2);
    }

    /// The bytes of a value on the wire, tag included and hidden, before any framing.
    std::size_t wire_size(const Entry& entry, std::size_t size) const {
        const std::size_t tag = entry.flags.has_tag ? 1 : 0;
        if (is_hidden(entry.flags)) {
            const auto padded = [](std::size_t length) { return (length + 15) / 16 * 16; };
            return tag + (entry.flags.encrypt == 1 ? std::max<std::size_t>(padded(size), 16)
                                                   : 2 + padded(1 + size));
        }
        const std::size_t width = fixed_size_of(classify_value_type(entry.type));
        return tag == 1 && width > 1 && size == width ? size : tag + size;
    }

    /// Whether the wire form of a value, by the protocol's own rules, tells it apart from every other one.
    bool survives(const Entry& entry, const Bytes& data) const {
        const bool hidden = is_hidden(entry.flags);
        // User-Password is padded with zero bytes (RFC 2865, section 5.2): trailing ones of its own are lost.
        if (hidden && entry.flags.encrypt == 1 && !data.empty() && data.back() == 0) {
            return false;
        }
        // Tunnel-Password has one byte for its length (RFC 2868, section 3.5).
        if (hidden && entry.flags.encrypt == 2 && data.size() > 255) {
            return false;
        }
        // The tag takes the place of a number's top byte (RFC 2868, section 3.1), so that byte is lost unless
        // it is zero, and a value shorter by one byte reads like a number whose top byte is zero.
        const std::size_t width = fixed_size_of(classify_value_type(entry.type));
        if (entry.flags.has_tag && !hidden && width > 1 &&
            ((data.size() == width && data.front() != 0) || data.size() + 1 == width)) {
            return false;
        }
        // A TLV has one byte for its size (RFC 6929, section 2.3).
        const std::size_t size = wire_size(entry, data.size()) + 2 * entry.place.tlv_depth;
        if (entry.place.tlv_depth > 0 && size > 255) {
            return false;
        }
        // Complete attributes in a row are several values unless the dictionary says that they join.
        return size <= entry.place.room || !entry.place.splits_silently || entry.flags.concat;
    }

    std::size_t some_size(const Entry& entry) {
        const std::size_t width = fixed_size_of(classify_value_type(entry.type));
        switch (below(10)) {
            case 0:
                return 0;
            case 1:
                return entry.place.room - std::min(entry.place.room, below(24));  // about full
            case 2:
                return below(entry.place.marks_the_end || entry.flags.concat ? 900 : 120);
            case 3:
                return below(20) == 0 ? entry.place.room + below(50) : below(60);  // rarely too long
            default:
                return width > 0 && below(4) != 0 ? width : below(40);
        }
    }

    Bytes some_value(const Entry& entry) {
        for (;;) {
            Bytes data(some_size(entry));
            for (std::uint8_t& octet : data) {
                octet = below(5) == 0 ? std::uint8_t{0} : byte();
            }
            if (entry.flags.has_tag && !data.empty() && below(2) == 0) {
                data.front() = 0;
            }
            if (survives(entry, data)) {
                return data;
            }
        }
    }

    void add(RadiusPacket& packet, const Entry& entry) {
        // Values of a concat attribute that follow each other join into one, unless their container tells
        // where each ends; TLVs tell that too.
        const bool joins = entry.flags.concat && !entry.place.marks_the_end && entry.place.tlv_depth == 0;
        const std::size_t values = joins ? 1 : 1 + (below(3) == 0 ? below(3) : 0);
        for (std::size_t i = 0; i < values; ++i) {
            if (entry.name.empty()) {
                test::add_unknown(packet, entry.path, some_value(entry));
            } else {
                test::add_value(packet, entry.name, some_value(entry), entry.flags.has_tag ? byte() : 0);
            }
        }
    }

    std::mt19937 random_;
    std::string_view secret_;
};

/// `listing`, with the type of each value.
std::vector<std::string> described(const RadiusPacket& packet) {
    std::vector<std::string> lines = test::listing(packet);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        for (const RadiusValue& value : packet.attributes()[i]->values) {
            lines[i] += " " + value.type;
        }
    }
    return lines;
}

/// Encodes and decodes; the packet must be the same. Returns false for a packet that has an issue when
/// encoded.
bool comes_back(const RadiusPacket& packet, std::string_view secret) {
    test::Issues issues;
    const Bytes wire = pkt_dump(packet, secret, issues);
    if (!issues.empty()) {
        return false;
    }
    test::Decoded decoded = test::decode(packet.dictionary, wire, secret);
    EXPECT_EQ(decoded.issues, test::Issues());
    EXPECT_EQ(described(decoded.packet), described(packet));
    EXPECT_EQ(decoded.packet.code, packet.code);
    EXPECT_EQ(decoded.packet.identifier, packet.identifier);
    EXPECT_EQ(test::to_hex(decoded.packet.raw), test::to_hex(wire));

    const bool chosen = packet.code == ACCESS_REQUEST && packet.authenticator == ZERO16;
    if (secret.empty() || !(has_computed_authenticator(packet.code) || chosen)) {
        EXPECT_EQ(decoded.packet.authenticator, packet.authenticator);
    }
    if (is_supported_code(packet.code)) {
        decoded.packet.request_authenticator = packet.request_authenticator;
        EXPECT_EQ(decoded.packet.validate(secret), RadiusPacketValRes());
    }
    return true;
}

/// Sends every entry of the catalogue through random packets, several times over.
void check_random_packets(std::string_view secret) {
    constexpr std::uint32_t rounds = 3;
    constexpr std::size_t entries_per_packet = 8;

    std::set<const Entry*> came_back;
    std::size_t packets = 0;
    std::size_t without_issue = 0;
    std::uint32_t seed = 0;
    for (std::uint32_t round = 0; round < rounds; ++round) {
        std::vector<const Entry*> order;
        for (const Entry& entry : catalogue().entries()) {
            order.push_back(&entry);
        }
        std::shuffle(order.begin(), order.end(), std::mt19937(round));
        for (std::span<const Entry* const> left = order; !left.empty();) {
            const std::span<const Entry* const> chosen =
                left.first(std::min(entries_per_packet, left.size()));
            left = left.subspan(chosen.size());
            ++seed;
            SCOPED_TRACE("round " + std::to_string(round) + ", seed " + std::to_string(seed));
            const RadiusPacket packet = RandomPacket(seed, secret).build(chosen);
            ++packets;
            if (comes_back(packet, secret)) {
                ++without_issue;
                for (const Entry* const entry : chosen) {
                    const bool present =
                        std::any_of(packet.attribute_order.begin(), packet.attribute_order.end(),
                                    [&](const RadiusAttribute* attribute) {
                                        return attribute->code_path == entry->path;
                                    });
                    if (present) {
                        came_back.insert(entry);
                    }
                }
            }
            if (testing::Test::HasFailure()) {
                return;  // one seed is enough to go by
            }
        }
    }
    // The property says something only if nearly all packets could be encoded, and every entry was among
    // them.
    EXPECT_GT(without_issue, packets * 8 / 10);
    for (const Entry& entry : catalogue().entries()) {
        EXPECT_TRUE(came_back.contains(&entry)) << radius_code_path_to_string(entry.path);
    }
}

TEST(RoundTrip, WithoutASecretChangesNothing) {
    check_random_packets("");
}

TEST(RoundTrip, WithASecretChangesNothing) {
    check_random_packets("xyzzy5461");
}

}  // namespace
}  // namespace quarn::subscriber::radius
