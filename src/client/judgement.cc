#include "quarn/client/judgement.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "packet_fault.h"
#include "quarn/client/error_cause.h"
#include "quarn/net/buffer_reader.h"
#include "quarn/radius/packet_code.h"
#include "quarn/radius/signature.h"
#include "quarn/utils/text.h"

namespace quarn::client {

namespace radius = subscriber::radius;

namespace {

constexpr std::uint8_t protocol_error = 52;  // RFC 7930, section 4

constexpr std::uint8_t vendor_specific_type = 26;        // RFC 2865, section 5.26
constexpr std::uint8_t eap_message_type = 79;            // RFC 3579, section 3.1
constexpr std::uint8_t message_authenticator_type = 80;  // RFC 3579, section 3.2
constexpr std::uint8_t error_cause_type = 101;           // RFC 5176, section 3.5
constexpr std::uint8_t extended_type_1 = 241;            // RFC 6929, section 3.1
constexpr std::uint8_t original_packet_code = 4;         // the same, Extended-Type of RFC 7930, section 4

constexpr std::uint32_t microsoft = 311;           // RFC 2548
constexpr std::uint8_t mschap_error_type = 2;      // RFC 2548, section 2.1.5
constexpr std::uint8_t mschap2_success_type = 26;  // RFC 2548, section 2.3.3

constexpr std::size_t digest_size = 16;

/// What a reply has that matters for its verdict; views the reply.
struct Findings {
    std::optional<PacketFault> fault;
    bool has_eap_message = false;
    bool is_signed = false;        ///< has a Message-Authenticator
    bool is_signed_first = false;  ///< and it is the first attribute
    std::optional<std::uint32_t> error_cause;
    std::optional<std::uint32_t> original_code;
    std::optional<utils::byte_span> mschap_error;
    std::optional<utils::byte_span> mschap2_success;
};

/// A number of four octets; nothing for any other size.
std::optional<std::uint32_t> number_from(utils::byte_span value) {
    if (value.size() != 4) {
        return std::nullopt;
    }
    return net::BufferView(value).read_uint(4);
}

/// Looks for Microsoft's attributes in a Vendor-Specific one (RFC 2548, section 2).
void look_into_vendor_specific(const radius::WireAttribute& attribute,
                               const radius::RadiusDictionary& dictionary, Findings& found) {
    radius::PartReader parts(attribute, dictionary);
    while (const auto part = parts.next()) {
        if (part->kind == radius::PartKind::Unreadable || part->path.size() != 3 ||
            part->path[1] != microsoft) {
            continue;
        }
        if (part->path[2] == mschap_error_type) {
            found.mschap_error = part->value;
        } else if (part->path[2] == mschap2_success_type) {
            found.mschap2_success = part->value;
        }
    }
}

void look_at(const radius::WireAttribute& attribute, bool is_first,
             const radius::RadiusDictionary& dictionary, Findings& found) {
    switch (attribute.type) {
        case eap_message_type:
            found.has_eap_message = true;
            break;
        case message_authenticator_type:
            if (attribute.value.size() != digest_size) {
                found.fault = PacketFault{attribute.offset, "Message-Authenticator has not 16 octets"};
            } else if (found.is_signed) {
                found.fault = PacketFault{attribute.offset, "there is a second Message-Authenticator"};
            }
            found.is_signed = true;
            found.is_signed_first = is_first;
            break;
        case error_cause_type:
            found.error_cause = number_from(attribute.value);
            break;
        case extended_type_1:
            if (!attribute.value.empty() && attribute.value[0] == original_packet_code) {
                found.original_code = number_from(attribute.value.subspan(1));
            }
            break;
        case vendor_specific_type:
            look_into_vendor_specific(attribute, dictionary, found);
            break;
        default:
            break;
    }
}

/// Looks through a packet of exactly the size that its Length says.
Findings look_through(utils::byte_span packet, const radius::RadiusDictionary& dictionary) {
    Findings found;
    radius::AttributeReader attributes(packet);
    bool is_first = true;
    while (const auto attribute = attributes.next()) {
        look_at(*attribute, is_first, dictionary, found);
        is_first = false;
        if (found.fault) {
            return found;
        }
    }
    if (attributes.fault()) {
        found.fault = described(*attributes.fault());
    }
    return found;
}

bool is_access_reply(std::uint8_t code) {
    return code == radius::ACCESS_ACCEPT || code == radius::ACCESS_REJECT || code == radius::ACCESS_CHALLENGE;
}

/// "Access-Accept (code 2)", or "code 99".
std::string code_text(std::uint32_t code) {
    const std::string number = "code " + std::to_string(code);
    if (code == protocol_error) {
        return "Protocol-Error (" + number + ")";
    }
    const std::string_view name =
        code <= 0xff ? radius::packet_code_name(static_cast<std::uint8_t>(code)) : std::string_view();
    return name.empty() ? number : std::string(name) + " (" + number + ")";
}

/// Judges one reply.
class ReplyJudge {
  public:
    ReplyJudge(utils::byte_span datagram, const EncodedRequest& request, std::string_view secret,
               const JudgementOptions& options)
        : packet_(packet_in(datagram)),
          trailing_(datagram.size() - packet_.size()),
          request_(request),
          secret_(secret),
          options_(options) {}

    Judgement judge(const std::shared_ptr<const radius::RadiusDictionary>& dictionary) {
        result_.reply =
            decode_reply(packet_, request_, secret_, dictionary,
                         {.codes = ReplyCodes::Any, .signed_over = SignedOver::RequestAuthenticatorOrZeros});
        result_.verdict = verdict(*dictionary);
        if (trailing_ > 0 && result_.verdict != Verdict::Malformed) {
            note(NoteId::TrailingOctets,
                 std::to_string(trailing_) + " octets after the end of the packet were ignored.");
        }
        for (const radius::ParseIssue& issue : result_.reply->issues()) {
            note(NoteId::DroppedAttribute, "An attribute of the reply could not be read: " + issue.message +
                                               (issue.context.empty() ? "" : " (" + issue.context + ")") +
                                               ".");
        }
        return std::move(result_);
    }

  private:
    Verdict verdict(const radius::RadiusDictionary& dictionary) {
        if (const auto fault = fault_of_header(packet_)) {
            return malformed(*fault);
        }
        found_ = look_through(packet_, dictionary);
        if (found_.fault) {
            return malformed(*found_.fault);
        }
        if (packet_[1] != request_.identifier()) {
            result_.detail = "Identifier " + std::to_string(packet_[1]) + " instead of " +
                             std::to_string(request_.identifier());
            return Verdict::WrongIdentifier;
        }
        if (const auto fault = fault_of_signatures()) {
            return *fault;
        }
        add_notes();
        if (!answers_request()) {
            result_.detail = code_text(packet_[0]) + " to " + code_text(request_.code());
            return Verdict::UnexpectedCode;
        }
        if (options_.mschapv2 && packet_[0] == radius::ACCESS_ACCEPT && !check_mschap2_success()) {
            result_.detail = "MS-CHAP2-Success does not fit the password: the server does not know it";
            return Verdict::NotAuthentic;
        }
        return verdict_of_code();
    }

    Verdict malformed(const PacketFault& fault) {
        result_.offset = fault.offset;
        result_.detail = fault.text;
        return Verdict::Malformed;
    }

    std::optional<Verdict> fault_of_signatures() {
        if (secret_.empty()) {
            result_.detail = "the shared secret is empty: nothing can be verified";
            return Verdict::NotAuthentic;
        }
        // An EAP-Message that is not signed for is not checked by the decoder.
        const ReplyChecks& checks = result_.reply->checks();
        const bool response_fits =
            checks.response_authenticator == Check::Passed ||
            (checks.response_authenticator == Check::NotMade &&
             radius::response_authenticator_fits(packet_, request_.authenticator(), secret_));
        const bool message_fits = checks.message_authenticator == Check::Passed;
        if (!response_fits && !message_fits) {
            if (!radius::is_supported_code(packet_[0]) && packet_[0] != protocol_error) {
                note(NoteId::UnknownKind, "The signatures of replies with " + code_text(packet_[0]) +
                                              " are not known here: they may be computed in another way.");
            }
            return Verdict::WrongSecret;
        }
        if (!response_fits || (found_.is_signed && !message_fits)) {
            result_.detail = response_fits
                                 ? "the Response Authenticator fits, the Message-Authenticator does not"
                                 : "the Message-Authenticator fits, the Response Authenticator does not";
            return Verdict::NotAuthentic;
        }
        return fault_of_missing_signature();
    }

    std::optional<Verdict> fault_of_missing_signature() {
        if (found_.is_signed) {
            return std::nullopt;
        }
        if (found_.has_eap_message) {
            result_.detail = "a reply with EAP-Message is never accepted without one (RFC 3579, section 3.1)";
            return Verdict::MessageAuthenticatorMissing;
        }
        const bool answers_access =
            is_access_reply(packet_[0]) ||
            (packet_[0] == protocol_error && request_.code() == radius::ACCESS_REQUEST);
        if (!answers_access) {
            return std::nullopt;
        }
        switch (options_.require_message_authenticator) {
            case RequireMessageAuthenticator::Yes:
                return Verdict::MessageAuthenticatorMissing;
            case RequireMessageAuthenticator::Warn:
                note(
                    NoteId::MessageAuthenticatorMissing,
                    "The reply has no Message-Authenticator. Whoever is on the way between client and server "
                    "can forge such a reply (the Blast-RADIUS attack, CVE-2024-3596). Have the server sign "
                    "its replies: FreeRADIUS does so from 3.2.5 on, an older one with \"update reply { "
                    "&Message-Authenticator := 0x00 }\" in its post-auth section.");
                break;
            case RequireMessageAuthenticator::No:
                break;
        }
        return std::nullopt;
    }

    void add_notes() {
        if (found_.is_signed && !found_.is_signed_first) {
            note(
                NoteId::MessageAuthenticatorNotFirst,
                "The Message-Authenticator of the reply is not its first attribute, where it protects best.");
        }
        if (result_.reply->checks().over_zeros) {
            note(NoteId::MessageAuthenticatorOverZeros,
                 "The Message-Authenticator of the reply was computed over zeros instead of the Request "
                 "Authenticator, as FreeRADIUS 3.2 does.");
        }
        if (const auto cause = result_.error_cause = found_.error_cause) {
            note(NoteId::ErrorCause, error_cause_text(*cause));
        }
        if (found_.original_code) {
            note(NoteId::OriginalCode,
                 "The error is about a request with " + code_text(*found_.original_code) + ".");
        }
        if (found_.mschap_error) {
            note(NoteId::MsChapError, mschap_error_text(parse_mschap_error(*found_.mschap_error)));
        }
        for (const std::uint8_t code : {request_.code(), packet_[0]}) {
            if (!radius::is_supported_code(code) && code != protocol_error) {
                note(NoteId::UnknownKind, "What " + code_text(code) +
                                              " means is not known here: only the Response Authenticator "
                                              "of the reply was verified.");
            }
        }
    }

    static std::string error_cause_text(std::uint32_t number) {
        const ErrorCauseRow* const row = find_error_cause(number);
        const std::string cause = "Error-Cause " + std::to_string(number);
        return row == nullptr ? cause + "."
                              : cause + ", " + std::string(row->name) + ": " + std::string(row->explanation);
    }

    static std::string mschap_error_text(const MsChapError& error) {
        std::string text = "MS-CHAP-Error";
        if (error.code) {
            text += " E=" + std::to_string(*error.code);
            if (const auto explanation = mschap_error_explanation(*error.code); !explanation.empty()) {
                text += ": " + std::string(explanation);
            } else {
                text += ".";
            }
        } else {
            text += " without a code.";
        }
        if (utils::is_utf8_text(error.message) && !error.message.empty()) {
            text += " The server says: " + error.message;
        }
        return text;
    }

    /// Whether the code of the reply is an answer to the request at all.
    bool answers_request() const {
        if (packet_[0] == protocol_error) {
            return true;
        }
        if (radius::is_supported_code(request_.code())) {
            return is_reply_code(request_.code(), packet_[0]);
        }
        return radius::is_response_code(packet_[0]) || !radius::is_supported_code(packet_[0]);
    }

    /// Adds a note when there is no MS-CHAP2-Success; false when there is one that does not fit.
    bool check_mschap2_success() {
        if (!found_.mschap2_success) {
            note(NoteId::MsChap2SuccessMissing,
                 "The reply has no MS-CHAP2-Success: the server has not proved that it knows the password.");
            return true;
        }
        return mschap2_success_fits(*found_.mschap2_success, *options_.mschapv2);
    }

    Verdict verdict_of_code() const {
        switch (packet_[0]) {
            case radius::ACCESS_REJECT:
            case radius::DISCONNECT_NAK:
            case radius::COA_NAK:
            case protocol_error:
                return Verdict::Rejected;
            case radius::ACCESS_CHALLENGE:
                return Verdict::Challenge;
            default:
                return Verdict::Accepted;
        }
    }

    void note(NoteId id, std::string text) { add_note(result_.notes, id, std::move(text)); }

    utils::byte_span packet_;  // of the size that its Length says, unless its header is at fault
    std::size_t trailing_;
    const EncodedRequest& request_;
    std::string_view secret_;
    const JudgementOptions& options_;
    Findings found_;
    Judgement result_;
};

}  // namespace

Judgement judge_reply(utils::byte_span datagram, const EncodedRequest& request, std::string_view secret,
                      const std::shared_ptr<const radius::RadiusDictionary>& dictionary,
                      const JudgementOptions& options) {
    return ReplyJudge(datagram, request, secret, options).judge(dictionary);
}

}  // namespace quarn::client
