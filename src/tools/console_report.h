// What the user reads: coloured lines, packet code names, and attribute listings.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "quarn/radius/dictionary.h"
#include "quarn/radius/packet.h"

namespace quarn::authprobe {

inline constexpr std::string_view green = "\x1b[32m";
inline constexpr std::string_view red = "\x1b[31m";
inline constexpr std::string_view yellow = "\x1b[33m";

/// The text in colour when standard output is a terminal, unchanged otherwise. Standard output decides for
/// the lines of standard error too.
std::string colourise(std::string_view colour, std::string_view text);

/// "authprobe: " and the coloured text.
std::string status_line(std::string_view colour, std::string_view text);

/// The name of a packet code, such as "Access-Accept", or "Code-" and the number.
std::string code_name(std::uint8_t code);

/// The listing of a packet: one line a value, five spaces, the attribute's name, " = " and the value. Texts
/// stand between double quotation marks, what cannot be shown as text is in hexadecimal, and numbers that the
/// dictionary names are shown by name. A null dictionary only turns names of numbers and quotation marks off.
std::string attribute_listing(const subscriber::radius::RadiusPacket& packet,
                              const subscriber::radius::RadiusDictionary* dictionary);

/// Writes the listing to standard output.
void print_attributes(const subscriber::radius::RadiusPacket& packet,
                      const subscriber::radius::RadiusDictionary* dictionary);

}  // namespace quarn::authprobe
