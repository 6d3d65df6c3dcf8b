#include "quarn/client/reply.h"

#include <exception>
#include <new>
#include <stdexcept>
#include <utility>

#include "quarn/radius/attribute_reader.h"
#include "quarn/radius/hiding.h"
#include "quarn/radius/packet_code.h"
#include "quarn/radius/pkt_load.h"
#include "quarn/radius/signature.h"
#include "quarn/utils/secret.h"

namespace quarn::client {

namespace radius = subscriber::radius;

namespace {

constexpr std::uint8_t eap_message_type = 79;  // RFC 3579, section 3.1

/// The top-level attributes that concern signatures.
struct SignatureAttributes {
    bool has_eap_message = false;
    std::size_t message_authenticators = 0;  ///< how many there are
    std::size_t digest_offset = 0;           ///< where the value of the last one begins
    std::size_t digest_size = 0;             ///< and its size

    bool is_signed() const { return message_authenticators != 0; }
    bool is_malformed() const {
        return message_authenticators > 1 || (is_signed() && digest_size != radius::ZERO16.size());
    }
};

/// Those of a packet that the decoder has found to be well-formed.
SignatureAttributes signature_attributes_of(utils::byte_span datagram) {
    SignatureAttributes found;
    radius::AttributeReader attributes(datagram);
    while (const auto attribute = attributes.next()) {
        if (attribute->type == eap_message_type) {
            found.has_eap_message = true;
        } else if (attribute->type == radius::message_authenticator_type) {
            ++found.message_authenticators;
            found.digest_offset = attribute->offset + radius::attribute_header_size;
            found.digest_size = attribute->value.size();
        }
    }
    return found;
}

Check check_of(bool passed) {
    return passed ? Check::Passed : Check::Failed;
}

void wipe_value(radius::RadiusValue& value) {
    utils::wipe(value.data);
    if (value.string_cache) {
        utils::wipe(*value.string_cache);
        value.string_cache.reset();
    }
}

/// Calls `act` with the method of hiding and each value that is hidden on the wire.
template <typename Act>
void for_each_hidden_value(radius::RadiusPacket& packet, Act act) {
    for (radius::RadiusAttribute* const attribute : packet.attribute_order) {
        if (radius::is_hidden(attribute->metadata->encrypt)) {
            for (radius::RadiusValue& value : attribute->values) {
                act(attribute->metadata->encrypt, value);
            }
        }
    }
}

}  // namespace

/// Fills one `DecodedReply`.
// Not in the unnamed namespace: a reply lets it use what is private.
class __attribute__((visibility("hidden"))) ReplyDecoder {
  public:
    ReplyDecoder(utils::byte_span datagram, const EncodedRequest& request, std::string_view secret,
                 const ReplyOptions& options)
        : datagram_(datagram), request_(request), secret_(secret), options_(options) {}

    DecodedReply decode(std::shared_ptr<const radius::RadiusDictionary> dictionary) {
        if (!load(std::move(dictionary))) {
            return std::move(reply_);
        }
        reply_.validation_ = reply_.packet_->validate(secret_);
        reply_.status_ = judge();
        if (reply_.status_ == ReplyStatus::Verified && options_.reveal == Reveal::HiddenValues) {
            reveal_hidden_values();
        }
        return std::move(reply_);
    }

  private:
    /// Without a secret, so that nothing is revealed: the decoder would use the reply's own Authenticator.
    bool load(std::shared_ptr<const radius::RadiusDictionary> dictionary) {
        auto packet = std::make_unique<radius::RadiusPacket>(std::move(dictionary));
        try {
            reply_.issues_ = pkt_load(*packet, datagram_.data(), datagram_.size(), "");
        } catch (const std::bad_alloc&) {
            throw;  // no fault of the bytes
        } catch (const std::exception& error) {
            reply_.decoder_error_ = error.what();
            return false;
        }
        packet->request_authenticator = request_.authenticator();
        reply_.packet_ = std::move(packet);
        return true;
    }

    ReplyStatus judge() {
        if (reply_.packet_->identifier != request_.identifier()) {
            return ReplyStatus::WrongIdentifier;
        }
        if (options_.codes == ReplyCodes::Fitting && !is_reply_code(request_.code(), reply_.packet_->code)) {
            return ReplyStatus::UnexpectedCode;
        }
        const SignatureAttributes attributes = signature_attributes_of(datagram_);
        if (attributes.is_malformed()) {
            return ReplyStatus::MessageAuthenticatorMalformed;
        }
        if (attributes.has_eap_message && !attributes.is_signed()) {
            return ReplyStatus::EapWithoutMessageAuthenticator;
        }
        if (secret_.empty()) {
            return ReplyStatus::NotVerifiable;
        }
        return check_digests(attributes);
    }

    ReplyStatus check_digests(const SignatureAttributes& attributes) {
        ReplyChecks& checks = reply_.checks_;
        checks.response_authenticator =
            check_of(radius::response_authenticator_fits(datagram_, request_.authenticator(), secret_));
        if (attributes.is_signed()) {
            checks.message_authenticator =
                check_of(is_signed_over(attributes.digest_offset, request_.authenticator()));
            if (checks.message_authenticator == Check::Failed && may_be_signed_over_zeros() &&
                is_signed_over(attributes.digest_offset, radius::ZERO16)) {
                checks.message_authenticator = Check::Passed;
                checks.over_zeros = true;
            }
        }
        if (checks.message_authenticator == Check::Failed) {
            return ReplyStatus::MessageAuthenticatorWrong;
        }
        return checks.response_authenticator == Check::Passed ? ReplyStatus::Verified
                                                              : ReplyStatus::ResponseAuthenticatorWrong;
    }

    bool is_signed_over(std::size_t digest_offset, const radius::Authenticator& authenticator) const {
        return radius::message_authenticator_fits(datagram_, digest_offset, authenticator, secret_);
    }

    bool may_be_signed_over_zeros() const {
        switch (reply_.packet_->code) {
            case radius::ACCOUNTING_RESPONSE:
            case radius::DISCONNECT_ACK:
            case radius::DISCONNECT_NAK:
            case radius::COA_ACK:
            case radius::COA_NAK:
                return options_.signed_over == SignedOver::RequestAuthenticatorOrZeros;
            default:
                return false;
        }
    }

    void reveal_hidden_values() {
        reply_.revealed_ = true;
        for_each_hidden_value(*reply_.packet_, [this](std::uint32_t encrypt, radius::RadiusValue& value) {
            value.data =
                radius::decrypt_leaf(std::move(value.data), encrypt, secret_, request_.authenticator());
        });
    }

    utils::byte_span datagram_;
    const EncodedRequest& request_;
    std::string_view secret_;
    const ReplyOptions& options_;
    DecodedReply reply_;
};

DecodedReply& DecodedReply::operator=(DecodedReply&& other) noexcept {
    if (this != &other) {
        wipe();
        status_ = other.status_;
        packet_ = std::move(other.packet_);
        revealed_ = other.revealed_;
        decoder_error_ = std::move(other.decoder_error_);
        issues_ = std::move(other.issues_);
        checks_ = other.checks_;
        validation_ = std::move(other.validation_);
    }
    return *this;
}

DecodedReply::~DecodedReply() {
    wipe();
}

void DecodedReply::wipe() {
    if (packet_ && revealed_) {
        for_each_hidden_value(*packet_, [](std::uint32_t, radius::RadiusValue& value) { wipe_value(value); });
    }
}

const radius::RadiusPacket* DecodedReply::verified() const {
    return status_ == ReplyStatus::Verified ? packet_.get() : nullptr;
}

radius::RadiusPacket DecodedReply::take_unverified_packet() && {
    if (!packet_) {
        throw std::logic_error("DecodedReply: malformed reply");
    }
    return std::move(*std::exchange(packet_, nullptr));
}

bool is_reply_code(std::uint8_t request_code, std::uint8_t reply_code) {
    switch (request_code) {
        case radius::ACCESS_REQUEST:
            return reply_code == radius::ACCESS_ACCEPT || reply_code == radius::ACCESS_REJECT ||
                   reply_code == radius::ACCESS_CHALLENGE;
        case radius::ACCOUNTING_REQUEST:
            return reply_code == radius::ACCOUNTING_RESPONSE;
        case radius::STATUS_SERVER:
            return reply_code == radius::ACCESS_ACCEPT || reply_code == radius::ACCOUNTING_RESPONSE;
        case radius::DISCONNECT_REQUEST:
            return reply_code == radius::DISCONNECT_ACK || reply_code == radius::DISCONNECT_NAK;
        case radius::COA_REQUEST:
            return reply_code == radius::COA_ACK || reply_code == radius::COA_NAK;
        default:
            return radius::is_response_code(reply_code);
    }
}

DecodedReply decode_reply(utils::byte_span datagram, const EncodedRequest& request, std::string_view secret,
                          std::shared_ptr<const radius::RadiusDictionary> dictionary,
                          const ReplyOptions& options) {
    if (!dictionary) {
        throw std::invalid_argument("decode_reply: dictionary required");
    }
    return ReplyDecoder(datagram, request, secret, options).decode(std::move(dictionary));
}

}  // namespace quarn::client
