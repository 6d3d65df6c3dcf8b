#include "testing/reader_agreement.h"

#include <algorithm>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "quarn/radius/attribute_reader.h"
#include "quarn/radius/pkt_load.h"
#include "quarn/utils/ascii.h"
#include "quarn/utils/text.h"
#include "testing/check.h"
#include "testing/every_kind.h"

namespace quarn::fuzz {

namespace {

using namespace subscriber::radius;

using Texts = std::vector<std::string>;

std::string_view message_of(WireProblem problem) {
    static const std::map<WireProblem, std::string_view> messages = {
        {WireProblem::VendorIdIncomplete, "vendor-specific attribute too short"},
        {WireProblem::VendorHeaderIncomplete, ""},
        {WireProblem::VendorLengthTooSmall, "malformed vendor attribute length"},
        {WireProblem::VendorLengthTooLarge, "malformed vendor attribute length"},
        {WireProblem::ContinuationMissing, "vendor continuation byte missing"},
        {WireProblem::ExtendedTypeMissing, "extended attribute too short"},
        {WireProblem::ExtendedFlagsMissing, "long-extended attribute too short"},
        {WireProblem::ExtendedVendorIncomplete, "extended-vendor-specific header too short"},
        {WireProblem::TlvHeaderIncomplete, ""},
        {WireProblem::TlvLengthTooSmall, "malformed nested TLV length"},
        {WireProblem::TlvLengthTooLarge, "malformed nested TLV length"},
    };
    return messages.at(problem);
}

/// The values and issues of a packet, put together from the parts that the readers yield.
class Assembly {
  public:
    void take(const WireAttribute& attribute) {
        joined_here_ = false;
        PartReader parts(attribute, dictionary_);
        std::size_t position = attribute.offset;
        while (const auto part = parts.next()) {
            const bool is_first = position == attribute.offset;
            const bool is_behind_vendor_id = is_first && parts.container() == ContainerKind::Vsa &&
                                             part->offset == attribute.offset + 2 + 4;
            require(part->offset == position || is_behind_vendor_id, "a part begins where the last one ends");
            require(part->value_offset >= part->offset, "a header comes before its value");
            require(part->value.data() - attribute.value.data() ==
                        static_cast<std::ptrdiff_t>(part->value_offset - attribute.offset - 2),
                    "a value is where its offset says");
            position = part->value_offset + (part->kind == PartKind::List ? 0 : part->value.size());
            require(part->kind == PartKind::Unreadable ||
                        part->definition == &dictionary_.attribute_by_code(path_of(*part)),
                    "a part has the definition of its path");
            take(*part);
        }
        require(position == attribute.offset + 2 + attribute.value.size() ||
                    (attribute.value.empty() && position == attribute.offset),
                "the last part ends where the attribute ends");
        if (!joined_here_) {
            finish_joined();
        }
    }

    void finish() {
        finish_joined();
        for (const auto* const pieces : {&vendor_pieces_, &long_pieces_}) {
            for (std::size_t i = 0; i < pieces->size(); ++i) {
                issues_.emplace_back(pieces == &vendor_pieces_ ? "unterminated continuation value"
                                                               : "unterminated long-extended value");
            }
        }
    }

    const Texts& issues() const { return issues_; }

    /// One text a key, in order: the key and its values.
    Texts entries() const {
        Texts keys;
        std::map<std::string, std::string> entries;
        std::map<std::string, CodePath> first_path;
        for (const bool of_first_path : {true, false}) {  // those of other paths under the same key follow
            for (const auto& [path, values] : values_) {
                const AttributeMetadata& record = dictionary_.attribute_by_code(path);
                const std::string key = utils::ascii_lower(
                    record.known ? record.name : "attr-" + radius_code_path_to_string(path));
                if (first_path.try_emplace(key, path).second) {
                    keys.push_back(key);
                }
                if ((first_path.at(key) == path) == of_first_path) {
                    entries[key] += values;
                }
            }
        }
        for (std::string& key : keys) {
            key += entries.at(key);
        }
        return keys;
    }

  private:
    static CodePath path_of(const WirePart& part) { return {part.path.begin(), part.path.end()}; }

    void take(const WirePart& part) {
        const CodePath path = path_of(part);
        auto& pieces = path.size() == 3 && path[0] == VSA_TYPE ? vendor_pieces_ : long_pieces_;
        switch (part.kind) {
            case PartKind::Value:
                finish_joined();
                add(path, *part.definition, part.value);
                break;
            case PartKind::List:
                finish_joined();
                break;
            case PartKind::Joinable:
                if (joined_ && joined_->first != path) {
                    finish_joined();
                }
                if (!joined_) {
                    joined_.emplace(path, "");
                }
                joined_->second += utils::as_text(part.value);
                joined_here_ = true;
                break;
            case PartKind::MorePieces:
                pieces[path] += utils::as_text(part.value);
                break;
            case PartKind::LastPiece: {
                finish_joined();
                const std::string whole = pieces[path] + utils::to_text(part.value);
                pieces.erase(path);
                add_whole(path, whole);
                break;
            }
            case PartKind::Unreadable:
                add_issue(part.problem);
                break;
        }
    }

    void finish_joined() {
        if (joined_) {
            const auto [path, whole] = *std::exchange(joined_, std::nullopt);
            add_whole(path, whole);
        }
    }

    void add_whole(const CodePath& path, const std::string& whole) {
        const AttributeMetadata& record = dictionary_.attribute_by_code(path);
        if (record.kind != ContainerKind::Tlv) {
            add(path, record, utils::as_bytes(whole));
            return;
        }
        PartReader parts(path, record, utils::as_bytes(whole), dictionary_);
        std::size_t position = 0;
        while (const auto part = parts.next()) {
            require(part->offset == position, "a part of a joined value begins where the last one ends");
            position = part->value_offset + (part->kind == PartKind::List ? 0 : part->value.size());
            if (part->kind == PartKind::Value) {
                add(path_of(*part), *part->definition, part->value);
            } else if (part->kind == PartKind::Unreadable) {
                add_issue(part->problem);
            } else {
                require(part->kind == PartKind::List, "nested TLVs are values and lists");
            }
        }
        require(position == whole.size(), "the last part ends where the joined value ends");
    }

    void add(const CodePath& path, const AttributeMetadata& record, byte_span wire) {
        Bytes data(wire.begin(), wire.end());
        std::string text = " ";
        if (record.has_tag) {
            text += std::to_string(data.empty() ? 0 : data.front()) + ":";
            if (data.size() == record.fixed_size && data.size() > 1) {
                data.front() = 0;
            } else if (!data.empty()) {
                data.erase(data.begin());
            }
        }
        text += utils::bytes_to_hex(data.data(), data.size());
        const auto found = std::find_if(values_.begin(), values_.end(),
                                        [&](const auto& entry) { return entry.first == path; });
        if (found != values_.end()) {
            found->second += text;
        } else {
            values_.emplace_back(path, text);
        }
    }

    void add_issue(WireProblem problem) {
        if (const std::string_view message = message_of(problem); !message.empty()) {
            issues_.emplace_back(message);
        }
    }

    const RadiusDictionary& dictionary_ = *dictionary_of_every_kind();
    std::vector<std::pair<CodePath, std::string>> values_;  // by path, in the order of first appearance
    Texts issues_;
    std::map<CodePath, std::string> vendor_pieces_;
    std::map<CodePath, std::string> long_pieces_;
    std::optional<std::pair<CodePath, std::string>> joined_;
    bool joined_here_ = false;
};

Texts entries_of(const RadiusPacket& packet) {
    Texts entries;
    for (const RadiusAttribute* const attribute : packet.attributes()) {
        std::string text = utils::ascii_lower(attribute->display_name());
        for (const RadiusValue& value : attribute->values) {
            text += value.has_tag ? " " + std::to_string(value.tag) + ":" : " ";
            text += utils::bytes_to_hex(value.data.data(), value.data.size());
        }
        entries.push_back(std::move(text));
    }
    return entries;
}

}  // namespace

void require_agreement(utils::byte_span datagram) {
    AttributeReader attributes(datagram);
    const std::size_t size = attributes.packet().size();
    std::size_t position = attributes.fault() ? 0 : header_size;
    Assembly assembly;
    while (const auto attribute = attributes.next()) {
        require(attribute->offset == position, "an attribute begins where the last one ends");
        require(attribute->value.data() == datagram.data() + position + 2,
                "a value is where its offset says");
        position += 2 + attribute->value.size();
        require(position <= size, "an attribute ends in the packet");
        assembly.take(*attribute);
    }
    require(!attributes.next(), "the end stays the end");
    require(attributes.fault() ? attributes.fault()->offset <= size : position == size,
            "what is not read is at fault");
    assembly.finish();

    RadiusPacket packet(dictionary_of_every_kind());
    Texts issues;
    try {
        for (ParseIssue& issue : pkt_load(packet, datagram.data(), datagram.size(), "")) {
            issues.push_back(std::move(issue.message));
        }
    } catch (const std::runtime_error& error) {
        require(attributes.fault().has_value(), "the decoder refuses what the reader cannot read",
                error.what());
        return;
    }
    require(!attributes.fault(), "the decoder takes what the reader can read to its end");
    require(assembly.issues() == issues, "what is passed over is an issue, if it is no secret");
    require(assembly.entries() == entries_of(packet), "what is yielded is what the decoder makes");
}

}  // namespace quarn::fuzz
