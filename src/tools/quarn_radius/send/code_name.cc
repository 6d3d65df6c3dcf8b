#include "quarn_radius/send/code_name.h"

#include <string_view>

#include "quarn/radius/packet_code.h"

namespace quarn::quarn_radius {

std::string code_name(std::uint8_t code) {
    constexpr std::uint8_t protocol_error = 52;  // RFC 7930, section 4
    const std::string_view name =
        code == protocol_error ? "Protocol-Error" : subscriber::radius::packet_code_name(code);
    return name.empty() ? "code " + std::to_string(code) : std::string(name);
}

}  // namespace quarn::quarn_radius
