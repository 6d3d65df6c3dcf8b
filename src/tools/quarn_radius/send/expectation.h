// What a caller of `send` expects of the reply.
//
//     accept                        the kind of reply: accept, reject, challenge, ack, nak
//     Filter-Id                     the attribute is there
//     no:Filter-Id                  it is not there
//     Tunnel-Type:1=VLAN            one of its values is this one; without a tag, any tag will do
//     Reply-Message~'^Welcome'      a part of one of its values matches (an extended regular expression)
//     Session-Timeout>60            one of its values is larger
//     Session-Timeout<3600          or smaller
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "quarn/client/verdict.h"
#include "quarn/radius/code_path.h"
#include "quarn/radius/dictionary.h"
#include "quarn/radius/packet.h"
#include "quarn/utils/bytes.h"
#include "quarn_radius/name_pattern.h"

namespace quarn::quarn_radius {

/// The kinds of reply that have a word.
enum class ReplyKind : std::uint8_t {
    Accept,     ///< Access-Accept
    Reject,     ///< Access-Reject
    Challenge,  ///< Access-Challenge
    Ack,        ///< Disconnect-ACK, CoA-ACK, Accounting-Response
    Nak,        ///< Disconnect-NAK, CoA-NAK
};

/// The kind of a reply of this code; nothing for every other code.
std::optional<ReplyKind> reply_kind(std::uint8_t code);

/// One expectation. Copies share what was compiled.
class Expectation {
  public:
    /// Reads an expectation; names and values are looked up in the dictionary, which must not be null. Throws
    /// `std::invalid_argument` "--expect TEXT: REASON" for a text that is none, an unknown attribute (with
    /// the nearest known name), a value that the attribute cannot have, and a comparison of what is no
    /// number.
    static Expectation parse(const std::string& text,
                             const std::shared_ptr<const subscriber::radius::RadiusDictionary>& dictionary);

    /// The kind that is expected; nothing when this is about an attribute.
    std::optional<ReplyKind> kind() const { return kind_; }

    /// Nothing when the reply is as expected, else what came instead: "Access-Reject", "it is not there",
    /// "42, 43".
    std::optional<std::string> difference(const subscriber::radius::RadiusPacket& reply) const;

    /// The expectation as it was written.
    const std::string& text() const { return text_; }

  private:
    enum class Comparison : std::uint8_t { Present, Absent, Equal, Matches, Above, Below };

    void parse_attribute(std::string_view text);
    void parse_value(std::string_view name, std::string_view value);
    void parse_limit(std::string_view number);
    bool is_below_limit(const subscriber::radius::RadiusValue& value) const;
    bool is_above_limit(const subscriber::radius::RadiusValue& value) const;
    bool fits(const subscriber::radius::RadiusAttribute& attribute,
              const subscriber::radius::RadiusValue& value) const;

    std::string text_;
    std::optional<ReplyKind> kind_;
    Comparison comparison_ = Comparison::Present;
    subscriber::radius::CodePath code_;
    std::optional<std::uint8_t> tag_;
    utils::Bytes bytes_;             // for `Equal`: the value without its tag
    std::string shown_;              // the same as text: prefixes may differ in bits that do not count
    std::uint64_t limit_ = 0;        // for `Above` and `Below`
    std::int64_t signed_limit_ = 0;  // the same for a signed attribute
    std::shared_ptr<const NamePattern> pattern_;  // for `Matches`
    std::shared_ptr<const subscriber::radius::RadiusDictionary> dictionary_;
};

/// An expectation and what became of it.
struct CheckedExpectation {
    std::string text;                 ///< as it was written
    std::optional<std::string> came;  ///< what came instead; nothing when the reply is as expected

    /// Member by member.
    bool operator==(const CheckedExpectation&) const = default;
};

/// A reply held against all expectations.
struct CheckedReply {
    client::Verdict verdict;
    int exit_status = 0;
    std::vector<CheckedExpectation> expectations = {};  ///< empty when the reply was not looked at
};

/// Holds a reply against the expectations. The reply may be null; one that the verdict does not trust, and no
/// expectations at all, leave verdict and exit status as they are. When all hold, the exit status is 0 and
/// the verdict stays. When one fails, the verdict is `ExpectationFailed`; but where no kind of reply is
/// expected, success is, and a verdict other than `Accepted` tells already that it did not come.
CheckedReply check_expectations(std::span<const Expectation> expectations, client::Verdict verdict,
                                const subscriber::radius::RadiusPacket* reply);

}  // namespace quarn::quarn_radius
