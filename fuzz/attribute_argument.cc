// An attribute argument, as `send` takes it, is added whole, or refused with a reason and without a trace;
// what was added can be encoded, and is read back as an expectation that the packet fulfils.
#include <cstddef>
#include <cstdint>
#include <string>

#include "quarn/client/request.h"
#include "quarn_radius/send/attribute_text.h"
#include "quarn_radius/send/value_text.h"
#include "testing/check.h"
#include "testing/dictionaries.h"

using namespace quarn;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const auto dictionary = test::shipped_dictionary();
    const auto attribute = quarn_radius::split_attribute(utils::as_text({data, size}));
    if (!attribute) {
        return 0;
    }
    subscriber::radius::RadiusPacket packet(dictionary);
    packet.code = 1;
    const std::string problem = quarn_radius::add_attribute(packet, *attribute);
    fuzz::require(problem.empty() == !packet.attributes().empty(), "added, or refused without a trace",
                  problem);
    for (const auto* const added : packet.attributes()) {
        fuzz::require(added->values.size() == 1, "one value is added");
        quarn_radius::attribute_line(*added, added->values.front(), dictionary.get());
    }
    client::encode_request(packet, "secret");
    return 0;
}
