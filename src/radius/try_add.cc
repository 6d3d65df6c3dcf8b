#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <variant>
#include <vector>

#include "dictionary/dictionary_tables.h"
#include "quarn/radius/hiding.h"
#include "quarn/radius/packet.h"
#include "quarn/radius/value_encoding.h"
#include "quarn/radius/wire_format.h"
#include "quarn/utils/case_insensitive.h"
#include "quarn/utils/nearest_name.h"
#include "quarn/utils/secret.h"
#include "quarn/utils/text.h"
#include "wire/container_format.h"

namespace quarn::subscriber::radius {

namespace {

constexpr std::uint8_t largest_tag = 0x1F;        // RFC 2868, section 3.1
constexpr std::size_t max_tunnel_password = 255;  // what its length byte can count (RFC 2868, section 3.5)

std::string quoted(std::string_view text) {
    return std::string(1, '"').append(text).append(1, '"');
}

/// A refusal of one attribute's value. The value of a hidden attribute is in no message.
AddResult refused(AddProblem problem, const AttributeMetadata& record, const std::string& reason) {
    return {problem, record.name + ": " + reason, ""};
}

std::string shown(const AttributeMetadata& record, std::string_view value) {
    return is_hidden(record.encrypt) ? "the value" : quoted(value);
}

AddResult unknown_attribute(const RadiusDictionary* dictionary, std::string_view name) {
    std::vector<std::string_view> names;
    if (dictionary != nullptr) {
        const DictionaryTables& tables = DictionaryTables::of(*dictionary);
        for (std::size_t i = 0; i < tables.definitions.size(); ++i) {
            names.push_back(tables.definitions[i].metadata.name);
        }
    }
    const std::optional<std::string_view> nearest = utils::nearest_name(name, names);
    return {AddProblem::UnknownAttribute, "unknown attribute " + quoted(name) + utils::suggestion(nearest),
            std::string(nearest.value_or(""))};
}

/// The names of an attribute's enumerated values.
std::vector<std::string_view> value_names(const RadiusDictionary& dictionary,
                                          const AttributeMetadata& record) {
    std::vector<std::string_view> names;
    for (const RadiusDictionary::ValueSource& value : dictionary.values_of(record.name)) {
        names.push_back(value.name);
    }
    return names;
}

/// The numbers that a type holds, such as "0 to 255".
std::string range_of(ValueType type) {
    return (type == ValueType::Signed ? std::to_string(std::numeric_limits<std::int32_t>::min()) : "0") +
           " to " + std::to_string(largest_number(type));
}

/// The end of a sentence that begins with the refused text.
std::string expectation(AddProblem problem, ValueType type) {
    switch (problem) {
        case AddProblem::NotUtf8:
            return "is not well-formed UTF-8";
        case AddProblem::NotANumber:
            return "is not a number from " + range_of(type);
        case AddProblem::NumberOutOfRange:
            return "is out of range: " + range_of(type);
        case AddProblem::BadIpv4Address:
            return "is not an IPv4 address";
        case AddProblem::BadIpv6Address:
            return "is not an IPv6 address";
        case AddProblem::BadComboIp:
            return "is not an IPv4 or IPv6 address";
        case AddProblem::BadIpv4Prefix:
            return "is not an IPv4 prefix such as 192.0.2.0/24";
        case AddProblem::BadIpv6Prefix:
            return "is not an IPv6 prefix such as 2001:db8::/32";
        case AddProblem::BadTime:
            return "is not a time such as 2024-01-31T12:00:00Z";
        case AddProblem::BadTimeOffset:
            return "has no offset from UTC such as +01:00 at its end";
        case AddProblem::TimeOutOfRange:
            return "is out of range: 1970-01-01T00:00:00Z to 2106-02-07T06:28:15Z";
        default:  // `BadHex`: a text has no other problem
            return "is not in hexadecimal digits";
    }
}

AddResult refused_text(AddProblem problem, const RadiusDictionary& dictionary,
                       const AttributeMetadata& record, std::string_view value) {
    if (problem == AddProblem::NotUtf8) {
        return refused(problem, record, "the value " + expectation(problem, record.value_type));
    }
    if (problem == AddProblem::NotANumber) {
        if (const auto names = value_names(dictionary, record); !names.empty()) {
            if (is_hidden(record.encrypt)) {
                return refused(AddProblem::UnknownValueName, record, "unknown value");
            }
            const std::optional<std::string_view> nearest = utils::nearest_name(value, names);
            AddResult result = refused(AddProblem::UnknownValueName, record,
                                       "unknown value " + quoted(value) + utils::suggestion(nearest));
            result.nearest = nearest.value_or("");
            return result;
        }
        if (record.value_type == ValueType::Time) {
            problem = AddProblem::BadTime;
        }
    }
    return refused(problem, record, shown(record, value) + " " + expectation(problem, record.value_type));
}

/// The size of a MAC address or of an interface identifier (RFC 8044, section 3.7), which the text encoding
/// does not enforce; 0 for every other type.
std::size_t required_size(ValueType type) {
    return type == ValueType::Ether ? 6 : type == ValueType::Ifid ? 8 : 0;
}

/// The size of a value inside its innermost header: with its tag, and hidden.
std::size_t framed_size(const AttributeMetadata& record, std::size_t value_size) {
    if (is_hidden(record.encrypt)) {
        return (record.has_tag ? 1 : 0) + hidden_size(record.encrypt, value_size);
    }
    const bool adds_a_byte = record.has_tag && !tag_replaces_first_byte(record, value_size);
    return value_size + (adds_a_byte ? 1 : 0);
}

/// True if the reader makes of the pieces of a split value what they were: because it joins them, or because
/// each piece is a value of its own. A piece of a hidden or tagged value is none.
bool pieces_read_as_given(const AttributeMetadata& record, const Framing& framing) {
    const bool are_joined = record.concat || framing.container == ContainerKind::LongExtended ||
                            (framing.vendor != nullptr && framing.vendor->continuation);
    return are_joined || !(is_hidden(record.encrypt) || record.has_tag);
}

/// Refuses a value that no packet carries whole.
AddResult check_size(const RadiusDictionary& dictionary, const AttributeMetadata& record,
                     std::size_t value_size) {
    if (record.code == CodePath{message_authenticator_type}) {
        return {};  // the encoder writes a digest in its place
    }
    if (record.encrypt == hidden_as_tunnel_password && value_size > max_tunnel_password) {
        return refused(AddProblem::ValueTooLong, record,
                       "too long: " + std::to_string(value_size) + " bytes, where at most " +
                           std::to_string(max_tunnel_password) + " can be hidden");
    }
    const Framing framing = framing_of(&dictionary, record, record.code);
    const std::size_t size = framed_size(record, value_size);
    const std::size_t tlv_headers = attribute_header_size * (record.code.size() - framing.nesting_start);
    const bool is_nested = tlv_headers > 0;
    const bool fits_tlv = !is_nested || size + tlv_headers <= max_attribute_size;
    const bool splits = framing.may_split && pieces_read_as_given(record, framing);
    const bool fits_attribute = splits || size + tlv_headers <= framing.room;
    if (fits_tlv && fits_attribute) {
        return {};
    }
    const std::size_t room = splits ? max_attribute_size : framing.room;
    return refused(fits_tlv ? AddProblem::ValueTooLong : AddProblem::TlvTooLong, record,
                   "too long: " + std::to_string(size) + " bytes on the wire, where there is room for " +
                       std::to_string(room - std::min(room, tlv_headers)));
}

/// Refuses bytes that the text encoding accepted, but that would not arrive as they are.
AddResult check_bytes(const RadiusDictionary& dictionary, const AttributeMetadata& record,
                      std::string_view value, const Bytes& bytes) {
    const std::size_t wanted = required_size(record.value_type);
    if (wanted != 0 && bytes.size() != wanted) {
        return refused(AddProblem::WrongSize, record,
                       shown(record, value) + " has " + std::to_string(bytes.size()) + " bytes, not " +
                           std::to_string(wanted));
    }
    // The text encoding keeps the low bytes of a named number.
    if (record.fixed_size != 0 && record.value_type != ValueType::Signed) {
        const auto named = dictionary.enum_value(record.name, value);
        if (named && *named > largest_number(record.value_type)) {
            return refused_text(AddProblem::NumberOutOfRange, dictionary, record, value);
        }
    }
    if (record.has_tag && !is_hidden(record.encrypt) && tag_replaces_first_byte(record, bytes.size()) &&
        bytes.front() != 0) {
        const std::uint64_t largest =
            std::numeric_limits<std::uint64_t>::max() >> (64 - 8 * (bytes.size() - 1));
        return refused(AddProblem::TaggedOutOfRange, record,
                       shown(record, value) + " is out of range: a tagged number goes from 0 to " +
                           std::to_string(largest));
    }
    return check_size(dictionary, record, bytes.size());
}

/// A tag in decimal or, behind "0x", in hexadecimal.
std::optional<std::uint8_t> parse_tag(std::string_view text) {
    std::optional<std::uint8_t> tag = utils::parse_decimal<std::uint8_t>(text);
    if (utils::is_hex_literal(text)) {
        std::uint8_t number = 0;
        const char* const end = text.data() + text.size();
        const bool fits = std::from_chars(text.data() + 2, end, number, 16).ec == std::errc();
        tag = fits ? std::optional(number) : std::nullopt;
    }
    return tag && *tag <= largest_tag ? tag : std::nullopt;
}

}  // namespace

AddResult RadiusPacket::try_add(std::string_view name, std::string_view value) {
    const auto find = [&](std::string_view wanted) {
        return dictionary ? &dictionary->attribute_by_name(wanted) : &RadiusDictionary::unknown_definition();
    };
    std::optional<std::string_view> tag_text;
    const AttributeMetadata* record = find(name);
    if (const std::size_t colon = name.rfind(':'); !record->known && colon != std::string_view::npos) {
        tag_text = name.substr(colon + 1);
        name = name.substr(0, colon);
        record = find(name);
    }
    if (!record->known) {
        return unknown_attribute(dictionary.get(), name);
    }
    if (record->code.empty()) {
        return refused(AddProblem::NoCode, *record, "the dictionary gives it no code");
    }
    std::uint8_t tag = 0;
    if (tag_text) {
        if (!record->has_tag) {
            return refused(AddProblem::TakesNoTag, *record, "takes no tag");
        }
        const std::optional<std::uint8_t> given = parse_tag(*tag_text);
        if (!given) {
            return refused(AddProblem::BadTag, *record,
                           quoted(*tag_text) + " is not a tag from 0 to " + std::to_string(largest_tag));
        }
        tag = *given;
    }

    TextValue read = read_text_value(*dictionary, *record, value);
    if (const AddProblem* const problem = std::get_if<AddProblem>(&read)) {
        return refused_text(*problem, *dictionary, *record, value);
    }
    Bytes& bytes = std::get<Bytes>(read);
    AddResult result = check_bytes(*dictionary, *record, value, bytes);
    if (result) {
        RadiusAttribute attribute(*record, record->code, std::string());
        attribute.values.emplace_back(*record, std::move(bytes), tag);
        add_attribute(std::move(attribute));
    } else if (is_hidden(record->encrypt)) {
        utils::wipe(bytes);
    }
    return result;
}

}  // namespace quarn::subscriber::radius
