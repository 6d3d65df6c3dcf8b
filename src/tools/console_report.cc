#include "quarn/tools/console_report.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <iostream>
#include <optional>
#include <utility>

#include "quarn/radius/packet_code.h"
#include "quarn/utils/text.h"

namespace quarn::authprobe {

namespace {

using subscriber::radius::RadiusAttribute;
using subscriber::radius::RadiusDictionary;
using subscriber::radius::RadiusPacket;
using subscriber::radius::RadiusValue;
using subscriber::radius::ValueType;

namespace radius = subscriber::radius;

constexpr std::string_view colour_reset = "\x1b[0m";

constexpr std::array code_names = std::to_array<std::pair<std::uint8_t, std::string_view>>({
    {radius::ACCESS_REQUEST, "Access-Request"},
    {radius::ACCESS_ACCEPT, "Access-Accept"},
    {radius::ACCESS_REJECT, "Access-Reject"},
    {radius::ACCOUNTING_REQUEST, "Accounting-Request"},
    {radius::ACCOUNTING_RESPONSE, "Accounting-Response"},
    {radius::ACCESS_CHALLENGE, "Access-Challenge"},
    {radius::DISCONNECT_REQUEST, "Disconnect-Request"},
    {radius::DISCONNECT_ACK, "Disconnect-ACK"},
    {radius::DISCONNECT_NAK, "Disconnect-NAK"},
    {radius::COA_REQUEST, "CoA-Request"},
    {radius::COA_ACK, "CoA-ACK"},
    {radius::COA_NAK, "CoA-NAK"},
});

/// The dictionary's name for a number given as decimal text.
std::optional<std::string> named_number(const RadiusDictionary& dictionary, const std::string& attribute_name,
                                        const std::string& text) {
    const auto number = utils::parse_decimal<std::uint32_t>(text);
    return number ? dictionary.enum_name(attribute_name, *number) : std::nullopt;
}

std::string shown_value(const RadiusValue& value, const std::string& attribute_name,
                        const RadiusDictionary* dictionary) {
    switch (value.value_type) {
        case ValueType::Octets:
            return value.as_hex();
        case ValueType::Text: {
            const std::string_view text = utils::as_text(value.data);
            return utils::is_utf8_text(text) ? std::string(text) : value.as_hex();
        }
        case ValueType::Integer: {
            const std::string& text = value.as_string();
            const auto name =
                dictionary != nullptr ? named_number(*dictionary, attribute_name, text) : std::nullopt;
            return name.value_or(text);
        }
        default: {
            const std::string& text = value.as_string();
            return utils::is_printable(text) ? text : value.as_hex();
        }
    }
}

}  // namespace

std::string colourise(std::string_view colour, std::string_view text) {
    if (isatty(STDOUT_FILENO) == 0) {
        return std::string(text);
    }
    return std::string(colour) + std::string(text) + std::string(colour_reset);
}

std::string status_line(std::string_view colour, std::string_view text) {
    return "authprobe: " + colourise(colour, text);
}

std::string code_name(std::uint8_t code) {
    const auto* const row = std::find_if(code_names.begin(), code_names.end(),
                                         [code](const auto& entry) { return entry.first == code; });
    return row != code_names.end() ? std::string(row->second) : "Code-" + std::to_string(code);
}

std::string attribute_listing(const RadiusPacket& packet, const RadiusDictionary* dictionary) {
    std::string listing;
    for (const RadiusAttribute* const attribute : packet.attributes()) {
        const std::string& known_name = attribute->display_name();
        const std::string name = known_name.empty() ? "Attr-Unknown" : known_name;
        const bool quoted =
            dictionary != nullptr && dictionary->attribute_by_name(name).value_type == ValueType::Text;
        const std::string_view quote = quoted ? "\"" : "";
        for (const RadiusValue& value : attribute->values) {
            listing.append("     ").append(name).append(" = ");
            listing.append(quote).append(shown_value(value, name, dictionary)).append(quote).append("\n");
        }
    }
    return listing;
}

void print_attributes(const RadiusPacket& packet, const RadiusDictionary* dictionary) {
    std::cout << attribute_listing(packet, dictionary);
}

}  // namespace quarn::authprobe
