#include "authprobe/report.h"

#include <iostream>

#include "common/colour.h"
#include "quarn/radius/listing.h"
#include "quarn/radius/packet_code.h"

namespace quarn::authprobe {

namespace radius = subscriber::radius;

std::string status_line(std::string_view colour, std::string_view text) {
    return "authprobe: " + tools::colourise(colour, text);
}

std::string code_name(std::uint8_t code) {
    // A Status-Server packet is never an answer: it is shown by its number.
    const std::string_view name = code != radius::STATUS_SERVER ? radius::packet_code_name(code) : "";
    return name.empty() ? "Code-" + std::to_string(code) : std::string(name);
}

void print_attributes(const radius::RadiusPacket& packet, const radius::RadiusDictionary* dictionary) {
    write_listing(std::cout, packet, dictionary);
}

}  // namespace quarn::authprobe
