#include "quarn_radius/send/outcome.h"

#include <algorithm>

#include "quarn/radius/packet_code.h"
#include "quarn/radius/pkt_load.h"

namespace quarn::quarn_radius {

namespace radius = subscriber::radius;

std::string_view sentence_of(const Outcome& outcome) {
    return outcome.is_answered ? "The server asked for more, and was answered."
                               : client::verdict_row(*outcome.verdict).sentence;
}

radius::RadiusPacket packet_of_request(utils::byte_span datagram, std::string_view secret,
                                       const std::shared_ptr<const radius::RadiusDictionary>& dictionary) {
    constexpr std::size_t authenticator_offset = 4;
    utils::Bytes bytes(datagram.begin(), datagram.end());
    if (!secret.empty() && !bytes.empty() && radius::is_zero_authenticator_code(bytes.front()) &&
        bytes.size() >= authenticator_offset + radius::ZERO16.size()) {
        // The values of these were hidden before the Authenticator was known.
        std::fill_n(bytes.begin() + authenticator_offset, radius::ZERO16.size(), std::uint8_t{0});
    }
    radius::RadiusPacket packet(dictionary);
    pkt_load(packet, bytes.data(), bytes.size(), secret);
    return packet;
}

}  // namespace quarn::quarn_radius
