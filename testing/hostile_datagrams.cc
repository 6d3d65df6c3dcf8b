#include "testing/hostile_datagrams.h"

#include <algorithm>
#include <array>
#include <string>
#include <unordered_map>

#include "quarn/radius/authenticator.h"
#include "quarn/radius/packet.h"
#include "quarn/radius/pkt_dump.h"
#include "quarn/radius/pkt_load.h"
#include "quarn/utils/case_insensitive.h"
#include "testing/every_kind.h"

namespace quarn::test {

namespace {

using fuzz::Code;
using subscriber::radius::bytes_from_u32;
using utils::byte_span;
using utils::Bytes;

constexpr std::uint8_t vendor_specific = 26;
constexpr std::uint8_t long_extended = 245;
constexpr std::size_t max_value = 253;

Bytes header() {
    Bytes bytes = {1, 7, 0, 0};
    bytes.resize(20, 0x5a);
    return bytes;
}

Bytes finished(Bytes datagram) {
    datagram[2] = static_cast<std::uint8_t>(datagram.size() >> 8);
    datagram[3] = static_cast<std::uint8_t>(datagram.size());
    return datagram;
}

void append(Bytes& bytes, byte_span more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

void append_attribute(Bytes& datagram, std::uint8_t type, byte_span value) {
    datagram.push_back(type);
    datagram.push_back(static_cast<std::uint8_t>(2 + value.size()));
    append(datagram, value);
}

/// A sub-attribute with fields of one byte each; `content` begins with the continuation byte if there is one.
void append_vendor_attribute(Bytes& datagram, std::uint32_t vendor, std::uint8_t type, byte_span content) {
    Bytes value;
    append(value, bytes_from_u32(vendor));
    value.push_back(type);
    value.push_back(static_cast<std::uint8_t>(2 + content.size()));
    append(value, content);
    append_attribute(datagram, vendor_specific, value);
}

Bytes nested_tlvs(std::size_t levels) {
    Bytes nested;
    for (std::size_t level = 0; level < levels; ++level) {
        nested.push_back(1);
        nested.push_back(static_cast<std::uint8_t>(2 * (levels - level)));
    }
    return nested;
}

Bytes one_attribute_of_nested_tlvs(std::size_t levels) {
    Bytes datagram = header();
    append_attribute(datagram, Code::bottomless_tlv, nested_tlvs(levels));
    return finished(std::move(datagram));
}

Bytes attributes_of_nested_tlvs(std::size_t attributes) {
    Bytes datagram = header();
    for (std::size_t i = 0; i < attributes; ++i) {
        append_attribute(datagram, Code::bottomless_tlv, nested_tlvs(fuzz::tlv_levels));
    }
    return finished(std::move(datagram));
}

Bytes empty_attributes(std::size_t attributes) {
    Bytes datagram = header();
    for (std::size_t i = 0; i < attributes; ++i) {
        append_attribute(datagram, Code::first_type, {});
    }
    return finished(std::move(datagram));
}

/// A list of the smallest TLVs, cut into attributes wherever one is full.
Bytes long_list_of_tlvs(std::size_t tlvs) {
    Bytes list;
    for (std::size_t i = 0; i < tlvs; ++i) {
        list.push_back(static_cast<std::uint8_t>(i));
        list.push_back(2);
    }
    Bytes datagram = header();
    for (byte_span rest = list; !rest.empty();) {
        const byte_span piece = rest.first(std::min(rest.size(), max_value));
        append_attribute(datagram, Code::concat_tlv, piece);
        rest = rest.subspan(piece.size());
    }
    return finished(std::move(datagram));
}

Bytes pieces_of_one_value(std::size_t pieces) {
    Bytes datagram = header();
    for (std::size_t i = 0; i < pieces; ++i) {
        append_attribute(datagram, Code::concat_octets, std::array<std::uint8_t, 1>{'x'});
    }
    return finished(std::move(datagram));
}

Bytes vendor_fragments_of_one_value(std::size_t fragments) {
    Bytes datagram = header();
    for (std::size_t i = 1; i <= fragments; ++i) {
        const std::uint8_t flags = i < fragments ? 0x80 : 0;
        append_vendor_attribute(datagram, 1111, Code::first_type, std::array<std::uint8_t, 2>{flags, 'x'});
    }
    return finished(std::move(datagram));
}

Bytes long_extended_fragments_of_one_value(std::size_t fragments) {
    Bytes datagram = header();
    for (std::size_t i = 1; i <= fragments; ++i) {
        const std::uint8_t flags = i < fragments ? 0x80 : 0;
        append_attribute(datagram, long_extended, std::array<std::uint8_t, 3>{Code::first_type, flags, 'x'});
    }
    return finished(std::move(datagram));
}

Bytes values_never_finished(std::size_t values) {
    Bytes datagram = header();
    for (std::size_t i = 0; i < values; ++i) {
        Bytes value = {vendor_specific, 0x80};
        append(value, bytes_from_u32(static_cast<std::uint32_t>(i)));
        value.push_back(1);
        append_attribute(datagram, long_extended, value);
    }
    return finished(std::move(datagram));
}

Bytes malformed_vendor_attributes(std::size_t attributes) {
    Bytes datagram = header();
    for (std::size_t i = 0; i < attributes; ++i) {
        Bytes value;
        append(value, bytes_from_u32(static_cast<std::uint32_t>(i)));
        value.insert(value.end(), {1, 0});
        append_attribute(datagram, vendor_specific, value);
    }
    return finished(std::move(datagram));
}

Bytes unknown_attributes(std::size_t attributes) {
    Bytes datagram = header();
    for (std::size_t i = 0; i < attributes; ++i) {
        append_vendor_attribute(datagram, static_cast<std::uint32_t>(1000000 + i), 1, {});
    }
    return finished(std::move(datagram));
}

using NameMap = std::unordered_map<std::string, int, utils::CaseInsensitiveHash, utils::CaseInsensitiveEqual>;

/// Attributes whose names all fall into one bucket of a map with that many: anyone can look for such vendor
/// numbers beforehand.
Bytes colliding_attributes(std::size_t attributes, std::size_t buckets) {
    Bytes datagram = header();
    for (std::uint32_t vendor = 1000000; attributes > 0; ++vendor) {
        const std::string name = "attr-26." + std::to_string(vendor) + ".1";
        if (utils::CaseInsensitiveHash{}(name) % buckets == 0) {
            append_vendor_attribute(datagram, vendor, 1, {});
            --attributes;
        }
    }
    return finished(std::move(datagram));
}

/// For a map that is made for them.
Bytes attributes_colliding_at_once(std::size_t attributes) {
    NameMap map;
    map.reserve(attributes);
    return colliding_attributes(attributes, map.bucket_count());
}

/// For a map that grows with them.
Bytes attributes_colliding_at_last(std::size_t attributes) {
    NameMap map;
    for (std::size_t i = 0; i < attributes; ++i) {
        map.emplace(std::to_string(i), 0);
    }
    return colliding_attributes(attributes, map.bucket_count());
}

constexpr std::array shapes = std::to_array<HostileShape>({
    {"one-attribute-of-nested-tlvs", 31, one_attribute_of_nested_tlvs},
    {"attributes-of-nested-tlvs", 60, attributes_of_nested_tlvs},
    {"empty-attributes", 8000, empty_attributes},
    {"long-list-of-tlvs", 8000, long_list_of_tlvs},
    {"pieces-of-one-value", 5000, pieces_of_one_value},
    {"vendor-fragments-of-one-value", 1500, vendor_fragments_of_one_value},
    {"long-extended-fragments-of-one-value", 3000, long_extended_fragments_of_one_value},
    {"values-never-finished", 1800, values_never_finished},
    {"malformed-vendor-attributes", 2000, malformed_vendor_attributes},
    {"unknown-attributes", 2000, unknown_attributes},
    {"attributes-colliding-at-once", 400, attributes_colliding_at_once},
    {"attributes-colliding-at-last", 400, attributes_colliding_at_last},
});

}  // namespace

std::span<const HostileShape> hostile_shapes() {
    return shapes;
}

std::size_t process(utils::byte_span datagram) {
    subscriber::radius::RadiusPacket packet(fuzz::dictionary_of_every_kind());
    subscriber::radius::pkt_load(packet, datagram.data(), datagram.size(), fuzz::shared_secret);
    std::size_t values = 0;
    for (const subscriber::radius::RadiusAttribute* const attribute : packet.attributes()) {
        for (const subscriber::radius::RadiusValue& value : attribute->values) {
            value.as_string();
            value.as_hex();
            ++values;
        }
    }
    packet.validate(fuzz::shared_secret);
    std::vector<subscriber::radius::ParseIssue> issues;
    subscriber::radius::pkt_dump(packet, fuzz::shared_secret, issues);
    return values;
}

}  // namespace quarn::test
