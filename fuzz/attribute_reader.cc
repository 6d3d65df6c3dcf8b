// The readers account for every byte of any datagram, and agree with the decoder; what they walk can be
// verified.
#include <cstddef>
#include <cstdint>

#include "quarn/radius/attribute_reader.h"
#include "quarn/radius/packet_code.h"
#include "quarn/radius/pkt_load.h"
#include "quarn/radius/signature.h"
#include "testing/check.h"
#include "testing/every_kind.h"
#include "testing/packet_forge.h"
#include "testing/reader_agreement.h"

namespace {

using namespace quarn::fuzz;
using namespace quarn::subscriber::radius;

/// Whether `validate` lets the packet pass, which is of the size that its Length says.
bool is_valid(byte_span datagram) {
    RadiusPacket packet(dictionary_of_every_kind());
    pkt_load(packet, datagram.data(), datagram.size(), "");
    packet.request_authenticator = request_authenticator;
    return packet.validate(shared_secret).error == ValidationError::None;
}

void verify(byte_span datagram) {
    const bool is_reply = !datagram.empty() && is_response_code(datagram[0]);
    const SignatureStatus status = is_reply ? verify_reply(datagram, request_authenticator, shared_secret)
                                            : verify_request(datagram, shared_secret);
    AttributeReader attributes(datagram);
    while (attributes.next()) {
    }
    const bool is_malformed = attributes.fault().has_value();
    if (is_malformed) {
        require(status == SignatureStatus::Malformed || status == SignatureStatus::UnexpectedCode,
                "what cannot be read is not verified");
        return;
    }
    require(status != SignatureStatus::Malformed, "what can be read is not malformed");
    const bool passes = status == SignatureStatus::Valid || status == SignatureStatus::Unsigned;
    require(passes == is_valid(attributes.packet()), "what is verified is what is valid");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    require_agreement({data, size});
    verify({data, size});
    Bytes signed_packet(data, data + size);
    sign(signed_packet);
    verify(signed_packet);
    return 0;
}
