#include "quarn_radius/send/value_text.h"

#include <string_view>

#include "common/terminal_text.h"
#include "quarn/radius/hiding.h"
#include "quarn/radius/value.h"
#include "quarn/utils/text.h"

namespace quarn::quarn_radius {

namespace {

namespace radius = subscriber::radius;

using radius::RadiusAttribute;
using radius::RadiusValue;
using radius::ValueType;

constexpr std::uint8_t largest_tag = 0x1F;  // RFC 2868, section 3.1

std::optional<std::string> name_of_number(const radius::RadiusDictionary* dictionary,
                                          const std::string& attribute_name, const std::string& text) {
    const auto number = utils::parse_decimal<std::uint32_t>(text);
    return dictionary != nullptr && number ? dictionary->enum_name(attribute_name, *number) : std::nullopt;
}

std::string hex_text(utils::byte_span bytes) {
    return "0x" + utils::bytes_to_hex(bytes.data(), bytes.size());
}

}  // namespace

UntaggedValue without_tag(const RadiusAttribute& attribute, const RadiusValue& value) {
    const utils::byte_span bytes = value.data;
    if (value.has_tag) {
        return {value.tag != 0 ? std::optional(value.tag) : std::nullopt, bytes};
    }
    if (attribute.metadata->optional_tag && !bytes.empty() && bytes.front() <= largest_tag) {
        const std::uint8_t tag = bytes.front();
        return {tag != 0 ? std::optional(tag) : std::nullopt, bytes.subspan(1)};
    }
    return {std::nullopt, bytes};
}

std::string name_with_tag(const RadiusAttribute& attribute, const RadiusValue& value) {
    const std::optional<std::uint8_t> tag = without_tag(attribute, value).tag;
    std::string name = attribute.display_name();
    if (tag) {
        name.append(":").append(std::to_string(*tag));
    }
    return name;
}

ValueText value_text(const RadiusAttribute& attribute, const RadiusValue& value,
                     const radius::RadiusDictionary* dictionary) {
    const utils::byte_span bytes = without_tag(attribute, value).bytes;
    if (value.value_type == ValueType::Text) {
        const std::string_view text = utils::as_text(bytes);
        return utils::is_well_formed_utf8(text) ? ValueText{std::string(text), true}
                                                : ValueText{hex_text(bytes), false};
    }
    if (value.value_type == ValueType::Octets) {
        return {hex_text(bytes), false};
    }
    const std::string& text = value.as_string();
    if (text.empty()) {
        return {hex_text(bytes), false};  // of a length that the type does not have
    }
    return {name_of_number(dictionary, attribute.metadata->name, text).value_or(text), false};
}

std::string attribute_line(const RadiusAttribute& attribute, const RadiusValue& value,
                           const radius::RadiusDictionary* dictionary) {
    const ValueText shown = value_text(attribute, value, dictionary);
    const std::string_view quote = shown.is_quoted ? "\"" : "";
    return tools::terminal_text(name_with_tag(attribute, value))
        .append(" = ")
        .append(quote)
        .append(tools::terminal_text(shown.text))
        .append(quote);
}

bool is_hidden_value(const RadiusAttribute& attribute) {
    return radius::is_hidden(attribute.metadata->encrypt);
}

}  // namespace quarn::quarn_radius
