#include "quarn/client/request.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "quarn/net/buffer_reader.h"
#include "quarn/radius/pkt_dump.h"

namespace quarn::client {

namespace radius = subscriber::radius;

EncodedRequest::EncodedRequest(utils::Bytes datagram, std::vector<radius::ParseIssue> issues)
    : datagram_(std::move(datagram)), issues_(std::move(issues)) {
    if (datagram_.size() < min_packet_size) {
        throw std::invalid_argument("EncodedRequest: fewer than 20 bytes");
    }
    net::BufferView reader(datagram_);
    reader.read_bytes(min_packet_size - authenticator_.size());
    const utils::byte_span authenticator = reader.read_bytes(authenticator_.size());
    std::copy(authenticator.begin(), authenticator.end(), authenticator_.begin());
}

EncodedRequest encode_request(const radius::RadiusPacket& packet, std::string_view secret) {
    std::vector<radius::ParseIssue> issues;
    utils::Bytes datagram = pkt_dump(packet, secret, issues);
    return EncodedRequest(std::move(datagram), std::move(issues));
}

}  // namespace quarn::client
