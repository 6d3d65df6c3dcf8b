// Any datagram is decoded or refused; what was decoded can be shown and checked.
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string_view>

#include "quarn/radius/packet.h"
#include "quarn/radius/packet_code.h"
#include "quarn/radius/pkt_load.h"
#include "testing/check.h"
#include "testing/every_kind.h"

namespace {

using namespace quarn::fuzz;
using namespace quarn::subscriber::radius;

void show(const RadiusPacket& packet) {
    for (const RadiusAttribute* const attribute : packet.attributes()) {
        require(packet.find_attribute(attribute->display_name()) == attribute,
                "attributes are found by name");
        for (const RadiusValue& value : attribute->values) {
            value.as_string();
            require(value.as_hex().size() == 2 + 2 * value.data.size(), "two digits show a byte");
            if (value.value_type == ValueType::Integer && value.data.size() == 4) {
                packet.dictionary->enum_name(attribute->display_name(),
                                             static_cast<std::uint32_t>(std::stoul(value.as_string())));
            }
        }
    }
    require(packet.attribute_map.size() == packet.attribute_order.size(), "the order lists every attribute");
}

void decode(byte_span datagram, std::string_view secret) {
    RadiusPacket packet(dictionary_of_every_kind());
    try {
        for (const ParseIssue& issue : pkt_load(packet, datagram.data(), datagram.size(), secret)) {
            require(!issue.message.empty() && !issue.context.empty(), "an issue says what and where");
        }
    } catch (const std::runtime_error& error) {
        require(std::string_view(error.what()).starts_with("pkt_load: "), "a refusal says by whom",
                error.what());
        return;
    }
    show(packet);

    RadiusPacketValRes result = packet.validate(shared_secret);
    require(!is_response_code(packet.code) || result.error != ValidationError::None,
            "no reply is authentic without its request");
    packet.request_authenticator = request_authenticator;
    result = packet.validate(shared_secret);
    require((result.error == ValidationError::None) == result.message.empty(), "a failed check has a text");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    decode({data, size}, "");
    decode({data, size}, shared_secret);
    return 0;
}
