// The forms in which authprobe reports: verdict lines, packet code names and attribute listings.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "quarn/radius/dictionary.h"
#include "quarn/radius/packet.h"

namespace quarn::authprobe {

/// "authprobe: " and the coloured text.
std::string status_line(std::string_view colour, std::string_view text);

/// The name of a packet code, such as "Access-Accept", or "Code-" and the number.
std::string code_name(std::uint8_t code);

/// Writes the attribute listing of the packet to standard output.
void print_attributes(const subscriber::radius::RadiusPacket& packet,
                      const subscriber::radius::RadiusDictionary* dictionary);

}  // namespace quarn::authprobe
