// A reply, decoded and checked in one step.
//
//     const DecodedReply reply = decode_reply(received, request, secret, dictionary);
//     if (const RadiusPacket* packet = reply.verified()) {
//         packet->find_attribute("Reply-Message");      // hidden values are in clear here
//     } else {
//         explain(reply.status());
//     }
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quarn/client/request.h"
#include "quarn/radius/dictionary.h"
#include "quarn/radius/packet.h"
#include "quarn/radius/packet_validation.h"
#include "quarn/radius/parse_issue.h"
#include "quarn/utils/bytes.h"

namespace quarn::client {

/// Whether a reply can be trusted and, if not, the first of these reasons that applies, in this order.
enum class ReplyStatus {
    Verified,                        ///< it answers this request, and whoever made it knows the secret
    Malformed,                       ///< it cannot be decoded; `decoder_error` tells why
    WrongIdentifier,                 ///< it answers another request
    UnexpectedCode,                  ///< its code is no reply to the request's (`is_reply_code`)
    MessageAuthenticatorMalformed,   ///< attribute 80 is there, but not exactly once with 16 octets
    EapWithoutMessageAuthenticator,  ///< never to be trusted (RFC 3579, section 3.1)
    NotVerifiable,                   ///< the secret is empty
    MessageAuthenticatorWrong,       ///< another secret, another request, or changed on its way
    ResponseAuthenticatorWrong       ///< the same, though a Message-Authenticator, if there is one, fits
};

/// The result of one check that the secret enters.
enum class Check {
    NotMade,  ///< there is nothing to check, or another reason came first
    Passed,
    Failed
};

/// Both checks that the secret enters. When both fail, the secret is probably another one.
struct ReplyChecks {
    Check response_authenticator = Check::NotMade;  ///< which every reply has
    Check message_authenticator = Check::NotMade;   ///< also when the reply has none

    /// Whether the Message-Authenticator passed because it was computed over sixteen zero octets.
    bool over_zeros = false;

    bool operator==(const ReplyChecks&) const = default;
};

/// Whether the hidden values (RFC 2865, section 5.2; RFC 2868, section 3.5) of a verified reply are revealed.
enum class Reveal { HiddenValues, Nothing };

/// Which codes a reply may have.
enum class ReplyCodes {
    Fitting,  ///< those that `is_reply_code` knows
    Any       ///< any: the caller judges the code of a verified reply
};

/// What a Message-Authenticator is computed over.
enum class SignedOver {
    RequestAuthenticator,  ///< as RFC 3579, section 3.2 wants

    /// The same or, in replies that are no Access replies (codes 5, 41, 42, 44 and 45), sixteen zero octets
    /// in its place. Servers in use sign those so.
    RequestAuthenticatorOrZeros
};

/// How a reply is decoded.
struct ReplyOptions {
    Reveal reveal = Reveal::HiddenValues;    ///< nothing is ever revealed of an unverified reply
    ReplyCodes codes = ReplyCodes::Fitting;  ///< which codes are accepted
    SignedOver signed_over = SignedOver::RequestAuthenticator;  ///< which signatures are accepted
};

/// A decoded reply and what is known of its origin. Wipes the values that it revealed when it is destroyed;
/// copies are their owner's to wipe. Movable, not copyable; what was moved from may only be assigned to or
/// destroyed.
class DecodedReply {
  public:
    /// Leaves the other one without a packet.
    DecodedReply(DecodedReply&& other) noexcept = default;
    DecodedReply& operator=(DecodedReply&& other) noexcept;  ///< the same; wipes what was revealed here
    DecodedReply(const DecodedReply&) = delete;
    DecodedReply& operator=(const DecodedReply&) = delete;
    ~DecodedReply();

    ReplyStatus status() const { return status_; }  ///< whether it can be trusted, or why not

    /// The packet, hidden values in clear unless `Reveal::Nothing` was asked for; null unless the status is
    /// `Verified`.
    const subscriber::radius::RadiusPacket* verified() const;

    /// The packet whatever its status, to be shown but not acted on; null when it is malformed. In one that
    /// is not verified, hidden values are the bytes as received.
    const subscriber::radius::RadiusPacket* unverified_packet() const { return packet_.get(); }

    /// The same, handed over: this reply is of no use any more, and wipes nothing. Throws `std::logic_error`
    /// "DecodedReply: malformed reply" when there is none.
    subscriber::radius::RadiusPacket take_unverified_packet() &&;

    /// The decoder's text for a malformed reply, such as "pkt_load: invalid packet length"; else empty.
    const std::string& decoder_error() const { return decoder_error_; }

    /// The attributes that the decoder dropped, and why.
    const std::vector<subscriber::radius::ParseIssue>& issues() const { return issues_; }

    /// The checks that the secret enters.
    const ReplyChecks& checks() const { return checks_; }

    /// The result of `RadiusPacket::validate`; nothing when the packet is malformed. Caution: `validate` is
    /// more lenient than `status`. It passes any reply when the secret is empty, compares no Identifier, and
    /// finds Message-Authenticator by the dictionary's name.
    const std::optional<subscriber::radius::RadiusPacketValRes>& validation() const { return validation_; }

  private:
    friend class ReplyDecoder;  // the library's own, behind `decode_reply`

    DecodedReply() = default;

    void wipe();

    ReplyStatus status_ = ReplyStatus::Malformed;
    std::unique_ptr<subscriber::radius::RadiusPacket> packet_;
    bool revealed_ = false;
    std::string decoder_error_;
    std::vector<subscriber::radius::ParseIssue> issues_;
    ReplyChecks checks_;
    std::optional<subscriber::radius::RadiusPacketValRes> validation_;
};

/// Whether a packet with this code can be the reply to a request: Access-Accept, -Reject and -Challenge to an
/// Access-Request (RFC 2865, section 4), Accounting-Response to an Accounting-Request (RFC 2866, section 4),
/// Access-Accept and Accounting-Response to Status-Server (RFC 5997, section 3), ACK and NAK to a Disconnect-
/// or CoA-Request (RFC 5176, section 2). To a request of another code, any of these replies.
bool is_reply_code(std::uint8_t request_code, std::uint8_t reply_code);

/// Decodes a datagram, checks it as the reply to the request and, when it is verified, reveals its hidden
/// values with the Request Authenticator. Never throws for bad bytes, whatever they are;
/// `std::invalid_argument` "decode_reply: dictionary required" for a null dictionary.
///
/// The received bytes are what is checked, not the dictionary's view of them: attributes 79 (EAP-Message) and
/// 80 (Message-Authenticator) are found by number among the top-level attributes. A Message-Authenticator is
/// not required unless there is an EAP-Message. The digests cover all bytes of the datagram, as in
/// `RadiusPacket::validate`: padding after Length, which RFC 2865, section 3 has ignored, is decoded past but
/// makes a reply unverified unless it was signed too.
DecodedReply decode_reply(utils::byte_span datagram, const EncodedRequest& request, std::string_view secret,
                          std::shared_ptr<const subscriber::radius::RadiusDictionary> dictionary,
                          const ReplyOptions& options = {});

}  // namespace quarn::client
