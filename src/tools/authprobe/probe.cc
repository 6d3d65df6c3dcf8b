#include "authprobe/probe.h"

#include <limits>
#include <string>
#include <utility>

#include "authprobe/client_error.h"
#include "authprobe/leading_number.h"

namespace quarn::authprobe {

Probe check_settings(ClientSettings settings) {
    const AuthMethod* const method = prepare_auth_method(settings);
    const std::optional<std::uint32_t> nas_port = parse_nas_port(settings);
    split_server_operand(settings);
    return {std::move(settings), method, nas_port};
}

std::optional<std::uint32_t> parse_nas_port(const ClientSettings& settings) {
    if (settings.nas_port.empty()) {
        return std::nullopt;
    }
    const std::optional<std::uint64_t> number = leading_unsigned(settings.nas_port);
    if (!number) {
        throw ClientError("authprobe: invalid --nas-port \"" + settings.nas_port + "\"\n");
    }
    return static_cast<std::uint32_t>(*number);
}

void split_server_operand(ClientSettings& settings) {
    const std::size_t colon = settings.server.rfind(':');
    if (colon == std::string::npos) {
        return;
    }
    const std::optional<std::uint64_t> port = leading_unsigned(settings.server.substr(colon + 1));
    if (!port || *port < 1 || *port > std::numeric_limits<std::uint16_t>::max()) {
        throw ClientError("authprobe: invalid port in \"" + settings.server + "\"\n");
    }
    settings.server_port = static_cast<std::uint16_t>(*port);
    settings.server.resize(colon);
}

}  // namespace quarn::authprobe
