#include "quarn/radius/packet_validation.h"

#include <cstddef>

#include "quarn/radius/attribute_reader.h"
#include "quarn/radius/packet.h"
#include "quarn/radius/packet_code.h"
#include "quarn/radius/signature.h"
#include "quarn/radius/wire_format.h"

namespace quarn::subscriber::radius {

namespace {

constexpr std::size_t max_packet_size = 65535;

/// Where in `raw` the first Message-Authenticator of the right size begins. Nothing when there is none before
/// the end of `raw`, whatever its Length, or the first malformed attribute.
std::optional<std::size_t> find_message_authenticator(byte_span raw) {
    auto attributes = AttributeReader::over_attributes(raw.subspan(header_size), header_size);
    while (const auto attribute = attributes.next()) {
        if (attribute->type == message_authenticator_type && attribute->value.size() == ZERO16.size()) {
            return attribute->offset;
        }
    }
    return std::nullopt;
}

RadiusPacketValRes request_authenticator_required() {
    return {ValidationError::InvalidAuthenticator, "RadiusPacket: request authenticator required"};
}

RadiusPacketValRes message_authenticator_mismatch() {
    return {ValidationError::InvalidMessageAuthenticator, "RadiusPacket: Message-Authenticator mismatch"};
}

}  // namespace

RadiusPacketValRes RadiusPacket::validate(std::string_view secret) const {
    if (!dictionary) {
        return {ValidationError::DictionaryRequired, "RadiusPacket: dictionary required"};
    }
    if (!is_supported_code(code)) {
        return {ValidationError::UnsupportedPacketType, "RadiusPacket: unsupported packet type"};
    }
    if (_exceeds_maximum_size()) {
        return {ValidationError::PacketTooLarge, "RadiusPacket: packet too large"};
    }
    if (secret.empty() || raw.empty()) {
        return {};
    }
    if (const auto problem = _check_message_authenticator(secret)) {
        return *problem;
    }
    return _check_authenticator(secret);
}

/// An estimate: the headers of vendor and extended attributes are left out.
bool RadiusPacket::_exceeds_maximum_size() const {
    std::size_t size = header_size;
    for (const auto& [key, attribute] : attribute_map) {
        const bool tagged = !attribute.values.empty() && attribute.values.front().has_tag;
        for (const RadiusValue& value : attribute.values) {
            size += attribute_header_size + (tagged ? 1 : 0) + value.data.size();
        }
    }
    return size > max_packet_size;
}

std::optional<RadiusPacketValRes> RadiusPacket::_check_message_authenticator(std::string_view secret) const {
    const RadiusAttribute* const attribute = find_attribute("Message-Authenticator");
    if (attribute == nullptr || code == ACCOUNTING_REQUEST) {
        return std::nullopt;
    }
    const auto& values = attribute->values;
    if (values.size() != 1 || values.front().data.size() != ZERO16.size()) {
        return RadiusPacketValRes(ValidationError::InvalidMessageAuthenticator,
                                  "RadiusPacket: malformed Message-Authenticator");
    }
    if (is_response_code(code) && !request_authenticator) {
        return request_authenticator_required();
    }
    const byte_span bytes = raw;
    if (bytes.size() < header_size) {
        return message_authenticator_mismatch();
    }
    const std::optional<std::size_t> position = find_message_authenticator(bytes);
    if (!position) {
        return std::nullopt;  // nothing on the wire that could be checked
    }
    // A response is covered with the request's authenticator in its header, a Disconnect- or CoA-Request with
    // zero bytes there, anything else with its own (RFC 3579, section 3.2; RFC 5176, section 3.4).
    const Authenticator covered = is_response_code(code)             ? *request_authenticator
                                  : is_zero_authenticator_code(code) ? ZERO16
                                                                     : authenticator_in(bytes);
    if (!message_authenticator_fits(bytes, *position + attribute_header_size, covered, secret)) {
        return message_authenticator_mismatch();
    }
    return std::nullopt;
}

RadiusPacketValRes RadiusPacket::_check_authenticator(std::string_view secret) const {
    const bool is_response = is_response_code(code);
    if (!is_response && !is_zero_authenticator_code(code)) {
        return {};
    }
    if (is_response && !request_authenticator) {
        return request_authenticator_required();
    }
    if (response_authenticator_fits(raw, is_response ? *request_authenticator : ZERO16, secret)) {
        return {};
    }
    return {ValidationError::InvalidAuthenticator, is_response
                                                       ? "RadiusPacket: invalid Response Authenticator"
                                                       : "RadiusPacket: invalid Request Authenticator"};
}

}  // namespace quarn::subscriber::radius
