#include "quarn_radius/send/expectation.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

#include "common/terminal_text.h"
#include "quarn/radius/packet_code.h"
#include "quarn/utils/text.h"
#include "quarn_radius/send/attribute_text.h"
#include "quarn_radius/send/code_name.h"
#include "quarn_radius/send/value_text.h"

namespace quarn::quarn_radius {

namespace {

namespace radius = subscriber::radius;

using radius::AttributeMetadata;
using radius::RadiusAttribute;
using radius::RadiusPacket;
using radius::RadiusValue;
using radius::ValueType;

constexpr std::string_view absence_prefix = "no:";

struct KindRow {
    std::string_view word;
    ReplyKind kind;
};

constexpr std::array kinds = std::to_array<KindRow>({
    {"accept", ReplyKind::Accept},
    {"reject", ReplyKind::Reject},
    {"challenge", ReplyKind::Challenge},
    {"ack", ReplyKind::Ack},
    {"nak", ReplyKind::Nak},
});

/// A number of a whole width; nothing for a value of another size.
std::optional<std::uint64_t> number_of(const RadiusValue& value, std::size_t width) {
    if (value.data.size() != width) {
        return std::nullopt;
    }
    std::uint64_t number = 0;
    for (const std::uint8_t byte : value.data) {
        number = number << 8 | byte;
    }
    return number;
}

std::int64_t as_signed(std::uint64_t number) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(number));
}

/// The value as it may be shown; nothing of one that is hidden on the wire.
std::string shown_value(const RadiusAttribute& attribute, const RadiusValue& value,
                        const radius::RadiusDictionary& dictionary) {
    if (is_hidden_value(attribute)) {
        return "another value, which is hidden";
    }
    const ValueText shown = value_text(attribute, value, &dictionary);
    const std::string text = tools::terminal_text(shown.text);
    return shown.is_quoted ? '"' + text + '"' : text;
}

}  // namespace

std::optional<ReplyKind> reply_kind(std::uint8_t code) {
    switch (code) {
        case radius::ACCESS_ACCEPT:
            return ReplyKind::Accept;
        case radius::ACCESS_REJECT:
            return ReplyKind::Reject;
        case radius::ACCESS_CHALLENGE:
            return ReplyKind::Challenge;
        case radius::ACCOUNTING_RESPONSE:
        case radius::DISCONNECT_ACK:
        case radius::COA_ACK:
            return ReplyKind::Ack;
        case radius::DISCONNECT_NAK:
        case radius::COA_NAK:
            return ReplyKind::Nak;
        default:
            return std::nullopt;
    }
}

Expectation Expectation::parse(const std::string& text,
                               const std::shared_ptr<const radius::RadiusDictionary>& dictionary) {
    Expectation expectation;
    expectation.text_ = text;
    expectation.dictionary_ = dictionary;
    const auto* const kind =
        std::find_if(kinds.begin(), kinds.end(), [&text](const KindRow& row) { return row.word == text; });
    if (kind != kinds.end()) {
        expectation.kind_ = kind->kind;
        return expectation;
    }
    try {
        expectation.parse_attribute(text);
    } catch (const std::invalid_argument& error) {
        throw std::invalid_argument("--expect " + text + ": " + error.what());
    }
    return expectation;
}

/// Reads everything that is not a kind.
void Expectation::parse_attribute(std::string_view text) {
    std::string_view name = text;
    std::string_view value;
    if (name.starts_with(absence_prefix)) {
        comparison_ = Comparison::Absent;
        name.remove_prefix(absence_prefix.size());
    } else if (const std::size_t at = text.find_first_of("=~<>"); at != std::string_view::npos) {
        comparison_ = text[at] == '='   ? Comparison::Equal
                      : text[at] == '~' ? Comparison::Matches
                      : text[at] == '>' ? Comparison::Above
                                        : Comparison::Below;
        name = text.substr(0, at);
        value = text.substr(at + 1);
    }
    const AttributeMetadata& record = find_attribute_record(*dictionary_, name);
    const auto raw_path = parse_raw_name(name);
    if (!record.known && !raw_path) {
        // Nothing is added: the attempt is for the nearest name in the message.
        RadiusPacket packet(dictionary_);
        const std::string problem =
            add_attribute(packet, {std::string(split_tag(name).name), std::string_view()});
        throw std::invalid_argument(problem + "; it is neither accept, reject, challenge, ack nor nak");
    }
    code_ = record.known ? record.code : *raw_path;
    const bool is_whole_name = raw_path || dictionary_->attribute_by_name(name).known;
    if (!is_whole_name) {
        tag_ = split_tag(name).tag;
        if (!record.has_tag && !record.optional_tag) {
            throw std::invalid_argument(record.name + " takes no tag");
        }
    }
    switch (comparison_) {
        case Comparison::Present:
        case Comparison::Absent:
            break;
        case Comparison::Equal:
            parse_value(is_whole_name ? name : split_tag(name).name, value);
            break;
        case Comparison::Matches:
            pattern_ = std::make_shared<const NamePattern>(std::string(value), LetterCase::Matters);
            break;
        case Comparison::Above:
        case Comparison::Below:
            if (record.fixed_size == 0) {
                throw std::invalid_argument(std::string(name) + " is no number");
            }
            parse_limit(value);
            break;
    }
}

void Expectation::parse_value(std::string_view name, std::string_view value) {
    RadiusPacket packet(dictionary_);
    if (const std::string problem = add_attribute(packet, {std::string(name), value}); !problem.empty()) {
        throw std::invalid_argument(problem);
    }
    const RadiusAttribute& attribute = *packet.attributes().front();
    const RadiusValue& wanted = attribute.values.front();
    const UntaggedValue parts = without_tag(attribute, wanted);
    bytes_.assign(parts.bytes.begin(), parts.bytes.end());
    shown_ = value_text(attribute, wanted, dictionary_.get()).text;
    if (parts.tag && !tag_) {
        tag_ = parts.tag;  // among the bytes of an attribute by number
    }
}

void Expectation::parse_limit(std::string_view number) {
    const bool is_signed = dictionary_->attribute_by_code(code_).is_signed;
    const auto limit = utils::parse_decimal<std::uint64_t>(number);
    const auto signed_limit = utils::parse_decimal<std::int64_t>(number);
    if (is_signed ? !signed_limit : !limit) {
        throw std::invalid_argument('"' + std::string(number) + "\" is no number");
    }
    limit_ = limit.value_or(0);
    signed_limit_ = signed_limit.value_or(0);
}

bool Expectation::is_above_limit(const RadiusValue& value) const {
    const AttributeMetadata& record = dictionary_->attribute_by_code(code_);
    const auto number = number_of(value, record.fixed_size);
    return number && (record.is_signed ? as_signed(*number) > signed_limit_ : *number > limit_);
}

bool Expectation::is_below_limit(const RadiusValue& value) const {
    const AttributeMetadata& record = dictionary_->attribute_by_code(code_);
    const auto number = number_of(value, record.fixed_size);
    return number && (record.is_signed ? as_signed(*number) < signed_limit_ : *number < limit_);
}

bool Expectation::fits(const RadiusAttribute& attribute, const RadiusValue& value) const {
    switch (comparison_) {
        case Comparison::Present:
        case Comparison::Absent:
            return true;
        case Comparison::Equal: {
            const utils::byte_span bytes = without_tag(attribute, value).bytes;
            const bool same_bytes = std::equal(bytes.begin(), bytes.end(), bytes_.begin(), bytes_.end());
            return same_bytes || (!bytes.empty() && value.value_type != ValueType::Text &&
                                  value.value_type != ValueType::Octets &&
                                  value_text(attribute, value, dictionary_.get()).text == shown_);
        }
        case Comparison::Matches:
            return pattern_->matches(value_text(attribute, value, dictionary_.get()).text);
        case Comparison::Above:
            return is_above_limit(value);
        case Comparison::Below:
            return is_below_limit(value);
    }
    return false;
}

std::optional<std::string> Expectation::difference(const RadiusPacket& reply) const {
    if (kind_) {
        return reply_kind(reply.code) == kind_ ? std::nullopt : std::optional(code_name(reply.code));
    }
    std::string came;
    for (const RadiusAttribute* const attribute : reply.attributes()) {
        if (attribute->code_path != code_) {
            continue;
        }
        for (const RadiusValue& value : attribute->values) {
            const bool is_meant = !tag_ || without_tag(*attribute, value).tag.value_or(0) == *tag_;
            if (is_meant && comparison_ != Comparison::Absent && fits(*attribute, value)) {
                return std::nullopt;
            }
            if (is_meant) {
                came += (came.empty() ? "" : ", ") + shown_value(*attribute, value, *dictionary_);
            }
        }
    }
    if (comparison_ == Comparison::Absent) {
        return came.empty() ? std::nullopt : std::optional(came);
    }
    return came.empty() ? "it is not there" : came;
}

CheckedReply check_expectations(std::span<const Expectation> expectations, client::Verdict verdict,
                                const radius::RadiusPacket* reply) {
    CheckedReply checked{.verdict = verdict, .exit_status = client::verdict_row(verdict).exit_status};
    if (expectations.empty() || reply == nullptr || !client::is_trusted(verdict)) {
        return checked;
    }
    bool names_kind = false;
    bool all_hold = true;
    for (const Expectation& expectation : expectations) {
        const auto came = expectation.difference(*reply);
        checked.expectations.push_back({expectation.text(), came});
        names_kind = names_kind || expectation.kind();
        all_hold = all_hold && !came;
    }
    if (!names_kind && verdict != client::Verdict::Accepted) {
        return checked;
    }
    if (!all_hold) {
        checked.verdict = client::Verdict::ExpectationFailed;
    }
    checked.exit_status = all_hold ? 0 : client::verdict_row(checked.verdict).exit_status;
    return checked;
}

}  // namespace quarn::quarn_radius
