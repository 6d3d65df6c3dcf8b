#include "quarn/radius/packet.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <utility>

#include "quarn/radius/value_encoding.h"

namespace quarn::subscriber::radius {

RadiusPacket::RadiusPacket(std::shared_ptr<const RadiusDictionary> shared_dictionary)
    : dictionary(std::move(shared_dictionary)) {}

std::string RadiusPacket::_key_for_path(const CodePath& code_path, std::string_view name) const {
    return attribute_key(code_path, name);
}

void RadiusPacket::add_attribute(RadiusAttribute&& attribute) {
    std::string key = _key_for_path(attribute.code_path, attribute.display_name());
    const auto [entry, is_new] = _find_or_insert_entry(std::move(key), std::move(attribute));
    if (!is_new) {
        // NOLINTNEXTLINE(bugprone-use-after-move): nothing was moved, since the entry is an older one
        auto& more = attribute.values;
        entry.values.append(std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
    }
}

RadiusAttribute& RadiusPacket::find_or_add(const AttributeMetadata& record, const CodePath& path) {
    return _find_or_insert_entry(_key_for_path(path, record.known ? record.name : ""), record, path,
                                 std::string())
        .first;
}

void RadiusPacket::add_attribute(std::string_view name, std::string_view value) {
    const AttributeMetadata& record =
        dictionary ? dictionary->attribute_by_name(name) : RadiusDictionary::unknown_definition();
    if (!record.known) {
        throw std::runtime_error("RadiusPacket: unknown attribute " + std::string(name));
    }
    // The entry exists before the text is looked at, and stays if the text turns out to be malformed.
    RadiusAttribute& attribute = find_or_add(record, record.code);
    if (std::optional<Bytes> data = encode_text_value(*dictionary, record, value)) {
        attribute.values.emplace_back(record, *std::move(data), std::uint8_t{0});
    }
}

void RadiusPacket::set_attribute(std::string_view name, std::string_view value) {
    // The replaced entry lives until the end: `name` and `value` may be views into it.
    decltype(attribute_map)::node_type replaced;
    if (const auto entry = attribute_map.find(name); entry != attribute_map.end()) {
        attribute_order.erase(std::find(attribute_order.begin(), attribute_order.end(), &entry->second));
        replaced = attribute_map.extract(entry);
    }
    add_attribute(name, value);
}

void RadiusPacket::set_attribute(std::string_view name, std::uint32_t number) {
    set_attribute(name, std::to_string(number));
}

void RadiusPacket::_set_wide_number(std::string_view name, const std::string& number) {
    const AttributeMetadata& record =
        dictionary ? dictionary->attribute_by_name(name) : RadiusDictionary::unknown_definition();
    if (record.known && !encode_text_value(*dictionary, record, number)) {
        throw std::out_of_range("RadiusPacket: number out of range: " + number);
    }
    set_attribute(name, number);
}

const RadiusAttribute* RadiusPacket::find_attribute(std::string_view key) const {
    const auto entry = attribute_map.find(key);
    return entry == attribute_map.end() ? nullptr : &entry->second;
}

std::vector<const RadiusAttribute*> RadiusPacket::attributes() const {
    return {attribute_order.begin(), attribute_order.end()};
}

}  // namespace quarn::subscriber::radius
