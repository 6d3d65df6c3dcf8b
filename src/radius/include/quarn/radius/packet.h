// A RADIUS packet in memory.
//
//     RadiusPacket request(dictionary);
//     request.code = ACCESS_REQUEST;
//     request.identifier = 7;
//     request.authenticator = random_authenticator();
//     request.set_attribute("User-Name", "bob");
//     request.set_attribute("NAS-Port", 3);
//     request.add_attribute("Reply-Message", "a second value joins the first");
#pragma once

#include <concepts>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

#include "quarn/radius/add_result.h"
#include "quarn/radius/attribute.h"
#include "quarn/radius/authenticator.h"
#include "quarn/radius/dictionary.h"
#include "quarn/radius/packet_validation.h"
#include "quarn/utils/case_insensitive.h"

namespace quarn::subscriber::radius {

/// An integer type that means a number: not `bool`, and no character type.
template <typename T>
concept WholeNumber =
    std::integral<T> && !std::same_as<T, bool> && !std::same_as<T, char> && !std::same_as<T, wchar_t> &&
    !std::same_as<T, char8_t> && !std::same_as<T, char16_t> && !std::same_as<T, char32_t>;

/// Header fields, attributes, and a share of the dictionary that gives them meaning. All values of one
/// attribute stand together, at the place of its first value. For one thread at a time. Movable, not
/// copyable.
class RadiusPacket {
  public:
    RadiusPacket() = default;
    /// A packet without attributes; its header fields are zero. Filling it by name, decoding into it and
    /// validating it need a dictionary.
    explicit RadiusPacket(std::shared_ptr<const RadiusDictionary> shared_dictionary);
    RadiusPacket(const RadiusPacket&) = delete;
    RadiusPacket& operator=(const RadiusPacket&) = delete;
    /// A packet that was moved from may only be assigned to or destroyed.
    RadiusPacket(RadiusPacket&&) = default;
    /// A packet that was moved from may only be assigned to or destroyed.
    RadiusPacket& operator=(RadiusPacket&&) = default;
    ~RadiusPacket() = default;

    /// Adds every value of `attribute` at the end of the entry under its key. A new key gets a new entry,
    /// last in order, even when there are no values.
    void add_attribute(RadiusAttribute&& attribute);

    /// The entry under the key of this record and code path; a new one, last in order and without values, if
    /// there is none. Caution: the entry may have another code path that goes by the same name. The record
    /// must outlive the packet's attributes.
    RadiusAttribute& find_or_add(const AttributeMetadata& record, const CodePath& path);

    /// Adds one value, made from text by the attribute's type (see `value_encoding.h`).
    ///
    /// Throws `std::runtime_error` "RadiusPacket: unknown attribute " and the name when the dictionary does
    /// not define the name; the packet is unchanged then. Throws `std::invalid_argument` for a malformed
    /// address, prefix, time or hexadecimal text. Caution: a number that does not fit and a text that is not
    /// UTF-8 add no value and raise no error. Where a text adds no value, the attribute has an entry all the
    /// same. `try_add` tells every such problem.
    void add_attribute(std::string_view name, std::string_view value);

    /// Adds one value as `add_attribute` does, or tells what is wrong; the packet is unchanged then. Unlike
    /// `add_attribute` it refuses every value that would not arrive whole, and takes a tag (RFC 2868, section
    /// 3) behind the name of a tagged attribute:
    ///
    ///     request.try_add("Tunnel-Type:1", "VLAN");     // tags 0 to 31, or 0x00 to 0x1F
    ///     request.try_add("Tunnel-Type", "VLAN");       // the same as tag 0, which belongs to no group
    ///
    /// A name that the dictionary defines as it stands is never split at its ":". The limits are those of a
    /// packet that is encoded with a secret. A long value that the encoder splits into several attributes is
    /// refused only if it is hidden or tagged and the reader would not join the pieces.
    AddResult try_add(std::string_view name, std::string_view value);

    /// Replaces all values of an attribute by one value, and moves the attribute to the end of the order;
    /// adds an attribute that is not there. Throws as `add_attribute` does; the old values are gone then.
    void set_attribute(std::string_view name, std::string_view value);

    /// `set_attribute` with the decimal text of a number.
    void set_attribute(std::string_view name, std::uint32_t number);

    /// `set_attribute` with the decimal text of a number of any other width or sign, so that no number is cut
    /// on the way. 0 to 4294967295 act as a `std::uint32_t` does. For any other number that the attribute's
    /// type cannot hold, throws `std::out_of_range` "RadiusPacket: number out of range: " and the number, the
    /// packet unchanged.
    template <WholeNumber Number>
    void set_attribute(std::string_view name, Number number) {
        if (std::in_range<std::uint32_t>(number)) {
            set_attribute(name, static_cast<std::uint32_t>(number));
        } else {
            _set_wide_number(name, std::to_string(number));
        }
    }

    /// Deleted: a truth value, a character or a fraction would silently become a whole number.
    template <typename Other>
    requires(std::is_arithmetic_v<Other> && !WholeNumber<Other>) void set_attribute(std::string_view name,
                                                                                    Other value) = delete;

    /// The attribute of this key, such as "User-Name" or "attr-26.9.77", without regard to ASCII case; null
    /// when there is none. Valid until the packet is changed or destroyed.
    const RadiusAttribute* find_attribute(std::string_view key) const;

    /// The attributes in order; valid until the packet is changed or destroyed.
    std::vector<const RadiusAttribute*> attributes() const;

    /// Checks a decoded packet against the shared secret; the first problem found is the result. Never throws
    /// for a bad packet.
    ///
    /// In this order: a dictionary is attached, the code is supported, the size is possible; then, unless the
    /// secret or `raw` is empty, Message-Authenticator if there is one (RFC 3579, section 3.2; RFC 5176,
    /// section 3.4) and the Request or Response Authenticator (RFC 2865, section 3; RFC 2866, section 3). A
    /// reply needs `request_authenticator`.
    RadiusPacketValRes validate(std::string_view secret) const;

    /// Keeps alive what the attributes' `metadata` points to: replaced only while there are no attributes.
    std::shared_ptr<const RadiusDictionary> dictionary;
    std::uint8_t code = 0;          ///< a `PacketCode` or, as anything may arrive, another number
    std::uint8_t identifier = 0;    ///< matches a reply to its request (RFC 2865, section 3)
    Authenticator authenticator{};  ///< the packet's own field; all zero in an Access-Request asks the
                                    ///< encoder for a random one
    std::optional<Authenticator> request_authenticator;  ///< for a reply: that of the request it answers

    /// The attributes by key. An entry never moves once inserted, so that `attribute_order` can point to it.
    std::unordered_map<std::string, RadiusAttribute, utils::SeededCaseInsensitiveHash,
                       utils::CaseInsensitiveEqual>
        attribute_map;

    /// Every entry of `attribute_map` once, in the order in which the keys were first inserted.
    std::vector<RadiusAttribute*> attribute_order;

    Bytes raw;  ///< the datagram from which the packet was decoded, what follows its Length included, and the
                ///< bytes that `validate` covers; empty for a packet built in memory

  private:
    std::string _key_for_path(const CodePath& code_path, std::string_view name) const;
    void _set_wide_number(std::string_view name, const std::string& number);
    template <typename... Arguments>
    std::pair<RadiusAttribute&, bool> _find_or_insert_entry(std::string key, Arguments&&... arguments);

    bool _exceeds_maximum_size() const;
    std::optional<RadiusPacketValRes> _check_message_authenticator(std::string_view secret) const;
    RadiusPacketValRes _check_authenticator(std::string_view secret) const;
};

/// The entry under the key; a new one, last in order and made from the arguments, when there is none. The
/// flag tells whether it is new; when it is not, the arguments are untouched.
template <typename... Arguments>
std::pair<RadiusAttribute&, bool> RadiusPacket::_find_or_insert_entry(std::string key,
                                                                      Arguments&&... arguments) {
    const auto [entry, is_new] =
        attribute_map.try_emplace(std::move(key), std::forward<Arguments>(arguments)...);
    if (is_new) {
        try {
            attribute_order.push_back(&entry->second);
        } catch (...) {
            attribute_map.erase(entry);
            throw;
        }
    }
    return {entry->second, is_new};
}

}  // namespace quarn::subscriber::radius
