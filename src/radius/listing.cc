#include "quarn/radius/listing.h"

#include <optional>
#include <string_view>

#include "quarn/utils/text.h"

namespace quarn::subscriber::radius {

namespace {

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

}  // namespace quarn::subscriber::radius
