// A packet's attributes as text for people.
//
//     std::cout << attribute_listing(packet, packet.dictionary.get());
//
//          User-Name = "bob"
//          NAS-IP-Address = 127.0.0.1
//          Service-Type = Framed-User
#pragma once

#include <iosfwd>
#include <string>

#include "quarn/radius/dictionary.h"
#include "quarn/radius/packet.h"

namespace quarn::subscriber::radius {

/// The listing of a packet: one line a value, five spaces, the attribute's name, " = " and the value. Texts
/// stand between double quotation marks. Numbers that the dictionary names are shown by name. A value that
/// cannot be shown as text is in hexadecimal. Without a dictionary (null), numbers have no names and texts no
/// quotation marks.
std::string attribute_listing(const RadiusPacket& packet, const RadiusDictionary* dictionary);

/// Writes the listing to a stream. Texts and hexadecimal digits, passwords among them, are copied to the
/// stream's buffer and nowhere else.
void write_listing(std::ostream& output, const RadiusPacket& packet, const RadiusDictionary* dictionary);

}  // namespace quarn::subscriber::radius
