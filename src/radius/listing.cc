#include "quarn/radius/listing.h"

#include <array>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string_view>
#include <utility>

#include "quarn/utils/bytes.h"
#include "quarn/utils/text.h"

namespace quarn::subscriber::radius {

namespace {

/// The dictionary's name for a number given as decimal text.
std::optional<std::string> named_number(const RadiusDictionary& dictionary, const std::string& attribute_name,
                                        const std::string& text) {
    const auto number = utils::parse_decimal<std::uint32_t>(text);
    return number ? dictionary.enum_name(attribute_name, *number) : std::nullopt;
}

/// A listing that grows in a string.
class StringSink {
  public:
    StringSink& operator<<(std::string_view text) {
        text_ += text;
        return *this;
    }
    std::string take() { return std::move(text_); }

  private:
    std::string text_;
};

template <typename Sink>
void list_hex(Sink& sink, utils::byte_span data) {
    constexpr std::string_view digits = "0123456789abcdef";
    sink << "0x";
    for (const std::uint8_t byte : data) {
        const std::array<char, 2> pair = {digits[byte >> 4], digits[byte & 0x0F]};
        sink << std::string_view(pair.data(), pair.size());
    }
}

template <typename Sink>
void list_value(Sink& sink, const RadiusValue& value, const std::string& attribute_name,
                const RadiusDictionary* dictionary) {
    const auto list_if = [&](bool can_be_shown, std::string_view text) {
        if (can_be_shown) {
            sink << text;
        } else {
            list_hex(sink, value.data);
        }
    };
    switch (value.value_type) {
        case ValueType::Octets:
            list_hex(sink, value.data);
            break;
        case ValueType::Text: {
            const std::string_view text = utils::as_text(value.data);
            list_if(utils::is_utf8_text(text), text);
            break;
        }
        case ValueType::Integer: {
            const std::string& text = value.as_string();
            const auto name =
                dictionary != nullptr ? named_number(*dictionary, attribute_name, text) : std::nullopt;
            sink << (name ? std::string_view(*name) : text);
            break;
        }
        default: {
            const std::string& text = value.as_string();
            list_if(utils::is_printable(text), text);
        }
    }
}

template <typename Sink>
void list_attributes(Sink& sink, const RadiusPacket& packet, const RadiusDictionary* dictionary) {
    for (const RadiusAttribute* const attribute : packet.attributes()) {
        const std::string& known_name = attribute->display_name();
        const std::string name = known_name.empty() ? "Attr-Unknown" : known_name;
        const bool quoted =
            dictionary != nullptr && dictionary->attribute_by_name(name).value_type == ValueType::Text;
        const std::string_view quote = quoted ? "\"" : "";
        for (const RadiusValue& value : attribute->values) {
            sink << "     " << name << " = " << quote;
            list_value(sink, value, name, dictionary);
            sink << quote << "\n";
        }
    }
}

}  // namespace

std::string attribute_listing(const RadiusPacket& packet, const RadiusDictionary* dictionary) {
    StringSink sink;
    list_attributes(sink, packet, dictionary);
    return sink.take();
}

void write_listing(std::ostream& output, const RadiusPacket& packet, const RadiusDictionary* dictionary) {
    list_attributes(output, packet, dictionary);
}

}  // namespace quarn::subscriber::radius
