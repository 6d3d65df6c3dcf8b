// Any text becomes a value of the right width or is refused, whatever the type; what shows as text is read
// back as the same bytes. The input's first byte chooses the attribute; the rest is the text.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "quarn/radius/packet.h"
#include "quarn/radius/value_encoding.h"
#include "testing/check.h"
#include "testing/every_kind.h"

namespace {

using namespace quarn::fuzz;
using namespace quarn::subscriber::radius;

std::string attribute_name(std::uint8_t choice) {
    constexpr std::size_t types = type_names.size();
    const std::size_t code =
        choice % 2 == 0 ? first_type + choice / 2 % types : first_tagged_type + choice / 2 % types;
    return "A-" + std::to_string(code);
}

/// Whether the size is one that the type allows.
bool is_allowed_size(ValueType type, std::size_t size) {
    switch (type) {
        case ValueType::Ipv4Addr:
            return size == 4;
        case ValueType::Ipv4Prefix:
            return size == 6;
        case ValueType::Ipv6Addr:
            return size == 16;
        case ValueType::Ipv6Prefix:
            return size >= 2 && size <= 18;
        case ValueType::ComboIp:
            return size == 4 || size == 16;
        default:
            return fixed_size_of(type) == 0 || size == fixed_size_of(type);
    }
}

/// As much of a text as an exception can tell: it ends at a NUL.
std::string shown(std::string_view text) {
    return std::string(text.substr(0, text.find('\0')));
}

std::optional<Bytes> encoded(const AttributeMetadata& record, std::string_view text) {
    try {
        return encode_text_value(*dictionary_of_every_kind(), record, text);
    } catch (const std::invalid_argument& error) {
        require(std::string_view(error.what()).ends_with(shown(text)), "a refusal shows the whole text",
                error.what());
        return std::nullopt;
    }
}

void encode_and_show(const AttributeMetadata& record, std::string_view text) {
    const std::optional<Bytes> data = encoded(record, text);
    if (!data) {
        return;
    }
    require(is_allowed_size(record.value_type, data->size()), "a value has its type's size", record.type);
    const RadiusValue value(record, *data, 0);
    // Octets show as they are; shown, they may look like a hexadecimal literal.
    if (record.value_type != ValueType::Octets) {
        require(encoded(record, value.as_string()) == data, "what is shown reads back as the same value",
                record.type + ": " + value.as_hex() + " shows as " + value.as_string());
    }
    // "0x" alone is no hexadecimal literal.
    require(data->empty() ||
                encoded(dictionary_of_every_kind()->attribute_by_name("A-102"), value.as_hex()) == data,
            "what shows in hexadecimal reads back as octets", value.as_hex());
}

/// The same by way of a packet.
void add_to_packet(const AttributeMetadata& record, std::string_view text) {
    RadiusPacket packet(dictionary_of_every_kind());
    std::size_t values = 0;
    try {
        packet.add_attribute(record.name, text);
        values = packet.find_attribute(record.name)->values.size();
        packet.set_attribute(record.name, text);
    } catch (const std::invalid_argument&) {
        require(values == 0, "a text is refused at once");
    }
    const RadiusAttribute* const attribute = packet.find_attribute(record.name);
    require(attribute != nullptr && attribute->values.size() == values, "a value or none is added");
}

/// `try_add` adds what `add_attribute` adds, or nothing.
void try_to_add(const AttributeMetadata& record, std::string_view text) {
    RadiusPacket packet(dictionary_of_every_kind());
    const AddResult result = packet.try_add(record.name, text);
    require(static_cast<bool>(result) == result.message.empty(), "a refusal has a message", result.message);
    if (!result) {
        require(packet.attribute_map.empty() && packet.attribute_order.empty(), "a refusal changes nothing");
        return;
    }
    const RadiusAttribute* const attribute = packet.find_attribute(record.name);
    require(attribute != nullptr && attribute->values.size() == 1, "one value is added");
    require(attribute->values.front().data == encoded(record, text), "both ways add the same value",
            record.type);
}

/// The text as the name of an attribute and of a value.
void look_up(std::string_view text) {
    RadiusPacket packet(dictionary_of_every_kind());
    if (const AddResult result = packet.try_add(text, "1"); !result) {
        require(packet.attribute_map.empty(), "a refusal changes nothing", result.message);
    }
    try {
        packet.set_attribute(text, 1);
    } catch (const std::runtime_error& error) {
        require(error.what() == "RadiusPacket: unknown attribute " + shown(text), "an unknown name is told",
                error.what());
    } catch (const std::invalid_argument&) {
        // known, but no number
    }
    dictionary_of_every_kind()->enum_value("A-105", text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const std::string_view text = quarn::utils::as_text({data + 1, size - 1});
    const AttributeMetadata& record = dictionary_of_every_kind()->attribute_by_name(attribute_name(data[0]));
    require(record.known, "the dictionary has every type");
    encode_and_show(record, text);
    add_to_packet(record, text);
    try_to_add(record, text);
    look_up(text);
    return 0;
}
