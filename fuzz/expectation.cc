// The first line is an expectation, the rest a reply: whatever the two are, the expectation is refused with
// its own text, or the reply is judged.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "quarn/radius/pkt_load.h"
#include "quarn_radius/send/expectation.h"
#include "testing/check.h"
#include "testing/dictionaries.h"

using namespace quarn;

namespace {

/// The bytes as a reply; empty when they are no packet.
subscriber::radius::RadiusPacket reply_of(
    utils::byte_span bytes, const std::shared_ptr<const subscriber::radius::RadiusDictionary>& dictionary) {
    subscriber::radius::RadiusPacket reply(dictionary);
    try {
        pkt_load(reply, bytes.data(), bytes.size(), "");
    } catch (const std::runtime_error&) {
        return subscriber::radius::RadiusPacket(dictionary);
    }
    return reply;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const auto dictionary = test::shipped_dictionary();
    const utils::byte_span input(data, size);
    const auto end = std::find(input.begin(), input.end(), std::uint8_t{'\n'});
    const auto length = static_cast<std::size_t>(end - input.begin());
    const std::string text = utils::to_text(input.first(length));
    try {
        const auto expectation = quarn_radius::Expectation::parse(text, dictionary);
        fuzz::require(expectation.text() == text, "an expectation keeps its text");
        const auto came =
            expectation.difference(reply_of(input.subspan(std::min(length + 1, size)), dictionary));
        fuzz::require(!came || !came->empty(), "a difference is told");
    } catch (const std::invalid_argument& error) {
        fuzz::require(std::string(error.what()).starts_with("--expect " + text + ": "),
                      "a refusal names the text", error.what());
    }
    return 0;
}
