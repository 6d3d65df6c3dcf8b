// The outcome of adding an attribute from text.
//
//     if (const AddResult added = request.try_add("NAS-Port", "70x"); !added) {
//         std::cerr << added.message << '\n';  // NAS-Port: "70x" is not a number from 0 to 4294967295
//     }
#pragma once

#include <cstdint>
#include <string>

namespace quarn::subscriber::radius {

/// Why a value was not added.
enum class AddProblem : std::uint8_t {
    None,              ///< it was added
    UnknownAttribute,  ///< the dictionary has no attribute of this name
    NoCode,            ///< the dictionary gives the attribute no code, so that no packet can carry it
    BadTag,            ///< no number from 0 to 31 follows the ":" (RFC 2868, section 3)
    TakesNoTag,        ///< a tag was given, and values of the attribute have none
    NotUtf8,           ///< a text that is not well-formed UTF-8
    UnknownValueName,  ///< neither a number nor the name of one of the attribute's enumerated values
    NotANumber,
    NumberOutOfRange,  ///< the type of the attribute cannot hold the number
    TaggedOutOfRange,  ///< the tag takes the first byte of a number, and the number needs that byte
    BadIpv4Address,
    BadIpv6Address,
    BadComboIp,  ///< neither an IPv4 nor an IPv6 address
    BadIpv4Prefix,
    BadIpv6Prefix,
    BadTime,
    BadTimeOffset,
    TimeOutOfRange,  ///< before 1970, or more than 32 bits of seconds after
    BadHex,
    WrongSize,     ///< an `ether` that is not 6 bytes, or an `ifid` that is not 8 (RFC 8044)
    TlvTooLong,    ///< the length byte of a nested TLV cannot count the value
    ValueTooLong,  ///< the encoder would truncate the value
};

/// The outcome of `RadiusPacket::try_add`; true when the value was added.
struct [[nodiscard]] AddResult {
    AddProblem problem = AddProblem::None;  ///< `None` when the value was added

    /// One line for the user; empty when the value was added. The line quotes the value as it was given,
    /// control characters included, unless the attribute is hidden on the wire: then the value is left out.
    std::string message;

    /// For a misspelt name of an attribute or value, the dictionary's name that was probably meant; else
    /// empty.
    std::string nearest;

    /// True when the value was added.
    explicit operator bool() const { return problem == AddProblem::None; }
};

}  // namespace quarn::subscriber::radius
