// From attributes and credentials as they were given to a packet that can be encoded.
//
//     RequestDraft draft = make_draft(settings, attributes, 7, dictionary, facts_of_this_machine());
//     encode_request(draft.packet, secret);
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "quarn/client/credentials.h"
#include "quarn/radius/dictionary.h"
#include "quarn/radius/packet.h"
#include "quarn/utils/secret.h"
#include "quarn_radius/send/attribute_text.h"
#include "quarn_radius/send/remark.h"

namespace quarn::quarn_radius {

/// The code of a request: one of the words access, accounting, coa, disconnect and status, a name as the RFCs
/// spell it, or a number from 1 to 255. Nothing for any other text.
std::optional<std::uint8_t> parse_request_code(std::string_view text);

/// What holds for every request of a run.
struct DraftSettings {
    std::uint8_t code = 1;
    bool bare = false;  ///< nothing is added that was not asked for
    client::CredentialMethod method = client::CredentialMethod::Pap;
    std::string username = {};                       ///< empty: none
    std::optional<utils::SecretText> password = {};  ///< nothing: none
    std::string mac_address = {};  ///< as the NAS writes it and `calling_station_id` takes; empty: none
    std::string session_id = {};   ///< Acct-Session-Id to take up; empty: a new one
};

/// What a NAS says of itself, the time, and what is drawn by lot for a run.
struct NasFacts {
    std::string identifier;             ///< for NAS-Identifier
    std::uint32_t now = 0;              ///< for Event-Timestamp: seconds since 1970
    std::string session_id;             ///< for Acct-Session-Id: one that nobody else uses
    std::uint8_t first_identifier = 0;  ///< of the run's first packet
};

/// This machine's host name, its time, and random choices.
NasFacts facts_of_this_machine();

/// The MAC address as RFC 3580, section 3.21 has it in Calling-Station-Id, "00-11-22-AA-BB-CC". Takes twelve
/// hexadecimal digits with ":", "-" and "." anywhere; nothing for any other text.
std::optional<std::string> calling_station_id(std::string_view address);

/// An attribute of a request and where it was written, such as "file:7"; empty for the command line.
struct PlacedAttribute {
    const AttributeText* text;
    std::string place;
};

/// A request that can be encoded. Wipes the packet's passwords at its end.
struct RequestDraft {
    RequestDraft() = default;
    RequestDraft(RequestDraft&&) = default;
    RequestDraft& operator=(RequestDraft&&) = default;
    RequestDraft(const RequestDraft&) = delete;
    RequestDraft& operator=(const RequestDraft&) = delete;
    ~RequestDraft();

    subscriber::radius::RadiusPacket packet;
    std::optional<client::MsChapV2Proof> mschapv2 = {};
    std::string session_id = {};       ///< the Acct-Session-Id of an Accounting-Request; else empty
    std::vector<Remark> remarks = {};  ///< on attributes that were passed over, and on a missing password

    /// An Access-Request names a user and has no credential, though its Service-Type asks for one.
    bool lacks_password = false;
};

/// Builds the packet: Message-Authenticator first where the code wants it, then User-Name, the attributes in
/// their order, the credentials, and what a NAS would add. Throws `std::invalid_argument`, the place in front
/// of the reason, for an attribute that cannot be added, and for credentials that cannot be made.
///
/// Names that other clients' request files use for credentials are understood: User-Password is the password
/// for whatever method was chosen, as Cleartext-Password is; a CHAP-Password that is no 17 bytes in
/// hexadecimal and an MS-CHAP-Password choose their method. Packet-Type is the request's code. Items that
/// steer such clients, and are on no wire, are passed over with a remark.
RequestDraft make_draft(const DraftSettings& settings, std::span<const PlacedAttribute> attributes,
                        std::uint8_t identifier,
                        const std::shared_ptr<const subscriber::radius::RadiusDictionary>& dictionary,
                        const NasFacts& facts);

}  // namespace quarn::quarn_radius
