// What was decoded can be encoded, and decoding that gives the same packet again.
//
// The same but for what the wire itself cannot tell apart, or replaces on purpose. `after_round_trip` is the
// whole list of these.
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "quarn/radius/hiding.h"
#include "quarn/radius/packet.h"
#include "quarn/radius/packet_code.h"
#include "quarn/radius/path_shape.h"
#include "quarn/radius/pkt_dump.h"
#include "quarn/radius/pkt_load.h"
#include "quarn/radius/wire_format.h"
#include "quarn/utils/text.h"
#include "testing/check.h"
#include "testing/every_kind.h"
#include "wire/container_format.h"

namespace {

using namespace quarn::fuzz;
using namespace quarn::subscriber::radius;

constexpr std::size_t max_packet_size = 65535;  // what the Length field can say

struct Value {
    std::string type;
    bool has_tag = false;
    std::uint8_t tag = 0;
    Bytes data;
    bool is_replaced = false;  ///< what comes back is not what was sent, nor has it to be

    bool operator==(const Value&) const = default;
};

struct Attribute {
    std::string name;
    CodePath path;
    std::vector<Value> values;

    bool operator==(const Attribute&) const = default;
};

bool is_message_authenticator(const RadiusAttribute& attribute) {
    return attribute.code_path == CodePath{message_authenticator_type};
}

/// A digest of the packet that is written in its Authenticator field only after the values were hidden with
/// something else, which the decoder is not told.
bool has_computed_authenticator(const RadiusPacket& packet) {
    return is_response_code(packet.code) || is_zero_authenticator_code(packet.code);
}

/// Whether values of the attribute that follow each other are read as one. Nested TLVs, long-extended
/// attributes and vendors' continuation bytes say themselves where a value ends.
bool joins(const RadiusPacket& packet, const RadiusAttribute& attribute) {
    const CodePath& path = attribute.code_path;
    if (!attribute.metadata->concat) {
        return false;
    }
    const ContainerKind container = top_level_container(packet.dictionary.get(), path.front());
    const PathShape shape = shape_of(path, container);
    if (path.size() != shape.nesting_start || container == ContainerKind::LongExtended) {
        return false;
    }
    return shape.space != PathShape::Space::Vendor ||
           !vendor_format(packet.dictionary.get(), path[shape.vendor_at]).continuation;
}

/// A value that is not hidden, as it is on the wire. The tag takes the place of a number's top byte (RFC
/// 2868, section 3.1), so that byte is lost unless it is zero.
Bytes wire_bytes(const AttributeMetadata& record, const Value& value) {
    if (!value.has_tag) {
        return value.data;
    }
    const bool replaces = record.fixed_size > 1 && value.data.size() == record.fixed_size;
    Bytes bytes(value.data.begin() + (replaces ? 1 : 0), value.data.end());
    bytes.insert(bytes.begin(), value.tag);
    return bytes;
}

void read_wire_bytes(const AttributeMetadata& record, Bytes bytes, Value& value) {
    if (value.has_tag) {
        value.tag = bytes.front();
        if (record.fixed_size > 1 && bytes.size() == record.fixed_size) {
            bytes.front() = 0;
        } else {
            bytes.erase(bytes.begin());
        }
    }
    value.data = std::move(bytes);
}

std::vector<Value> values_of(const RadiusAttribute& attribute) {
    std::vector<Value> values;
    for (const RadiusValue& value : attribute.values) {
        values.push_back({value.type, value.has_tag, value.tag, value.data});
    }
    return values;
}

/// The values as they are to come back.
std::vector<Value> after_round_trip(const RadiusPacket& packet, const RadiusAttribute& attribute,
                                    std::string_view secret) {
    const AttributeMetadata& record = *attribute.metadata;
    const bool hidden = !secret.empty() && is_hidden(record.encrypt);
    std::vector<Value> values = values_of(attribute);

    // A digest, or sixteen zero bytes where there is no secret, whatever was there.
    if (is_message_authenticator(attribute)) {
        for (Value& value : values) {
            value.is_replaced = true;
        }
        return values;
    }
    // Values that were apart are now side by side, and are joined; hidden ones cannot be revealed together.
    if (joins(packet, attribute) && values.size() > 1) {
        Bytes joined;
        for (const Value& value : values) {
            const Bytes bytes = wire_bytes(record, value);
            joined.insert(joined.end(), bytes.begin(), bytes.end());
        }
        values.resize(1);
        values.front().is_replaced = hidden;
        if (!hidden) {
            read_wire_bytes(record, std::move(joined), values.front());
        }
        return values;
    }
    for (Value& value : values) {
        if (!hidden) {
            read_wire_bytes(record, wire_bytes(record, value), value);
        } else if (has_computed_authenticator(packet)) {
            value.is_replaced = true;
        } else if (record.encrypt == hidden_as_tunnel_password && value.data.size() > 255) {
            value.data.resize(value.data.size() % 256);  // its length has one byte (RFC 2868, section 3.5)
        }
    }
    return values;
}

std::vector<Attribute> attributes_after_round_trip(const RadiusPacket& packet, std::string_view secret) {
    std::vector<Attribute> attributes;
    for (const RadiusAttribute* const attribute : packet.attributes()) {
        attributes.push_back(
            {attribute->display_name(), attribute->code_path, after_round_trip(packet, *attribute, secret)});
    }
    return attributes;
}

/// The attributes of the second packet, without what is expected to be replaced.
std::vector<Attribute> attributes_that_came_back(const RadiusPacket& packet,
                                                 const std::vector<Attribute>& expected) {
    std::vector<Attribute> attributes;
    for (const RadiusAttribute* const attribute : packet.attributes()) {
        attributes.push_back({attribute->display_name(), attribute->code_path, values_of(*attribute)});
        const std::size_t index = attributes.size() - 1;
        std::vector<Value>& values = attributes.back().values;
        if (index < expected.size() && expected[index].values.size() == values.size()) {
            for (std::size_t i = 0; i < values.size(); ++i) {
                if (const Value& value = expected[index].values[i]; value.is_replaced) {
                    values[i] = value;
                }
            }
        }
    }
    return attributes;
}

std::string text_of(const std::vector<Attribute>& attributes) {
    std::string text;
    for (const Attribute& attribute : attributes) {
        text += attribute.name + " (" + radius_code_path_to_string(attribute.path) + ")";
        for (const Value& value : attribute.values) {
            text +=
                " " + value.type + (value.has_tag ? "#" + std::to_string(value.tag) : "") + ":" +
                (value.is_replaced ? "*" : quarn::utils::bytes_to_hex(value.data.data(), value.data.size()));
        }
        text += "\n";
    }
    return text;
}

bool any_joined(const RadiusPacket& packet) {
    for (const RadiusAttribute* const attribute : packet.attributes()) {
        if (joins(packet, *attribute) && attribute->values.size() > 1) {
            return true;
        }
    }
    return false;
}

void round_trip(byte_span datagram, std::string_view secret) {
    RadiusPacket packet(dictionary_of_every_kind());
    try {
        pkt_load(packet, datagram.data(), datagram.size(), secret);
    } catch (const std::runtime_error&) {
        return;
    }
    packet.request_authenticator = request_authenticator;

    std::vector<ParseIssue> issues;
    const Bytes wire = pkt_dump(packet, secret, issues);
    // A vendor's sub-attributes come in one attribute each: the packet may have grown beyond what it can say.
    // And what was truncated is lost: a TLV that was joined from several attributes, when only single ones
    // can be written.
    if (wire.size() > max_packet_size || !issues.empty()) {
        return;
    }

    RadiusPacket again(dictionary_of_every_kind());
    issues = pkt_load(again, wire.data(), wire.size(), secret);
    require(issues.empty(), "what was encoded decodes without an issue",
            issues.empty() ? "" : issues.front().message + " in " + issues.front().context);
    require(again.code == packet.code && again.identifier == packet.identifier, "the header comes back");
    const bool is_drawn = packet.code == ACCESS_REQUEST && packet.authenticator == ZERO16;
    if (secret.empty() || !(has_computed_authenticator(packet) || is_drawn)) {
        require(again.authenticator == packet.authenticator, "the Authenticator comes back");
    }

    const std::vector<Attribute> expected = attributes_after_round_trip(packet, secret);
    const std::vector<Attribute> found = attributes_that_came_back(again, expected);
    require(found == expected, "the attributes come back",
            "expected:\n" + text_of(expected) + "found:\n" + text_of(found));

    again.request_authenticator = packet.request_authenticator;
    const RadiusAttribute* const digest = again.find_attribute("Message-Authenticator");
    if (is_supported_code(again.code) && (digest == nullptr || digest->values.size() == 1)) {
        const RadiusPacketValRes result = again.validate(secret);
        require(result.error == ValidationError::None, "what was encoded is authentic", result.message);
    }
    if (secret.empty() && !any_joined(packet)) {
        require(pkt_dump(again, secret, issues) == wire, "the same packet has the same bytes");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    round_trip({data, size}, "");
    round_trip({data, size}, shared_secret);
    return 0;
}
