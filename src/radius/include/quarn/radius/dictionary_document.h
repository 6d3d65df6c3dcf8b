// What one dictionary file says, as it is written: plain data, with the lines on which it stands.
//
// A document is what the readers of YAML and JSON make. `RadiusDictionary::apply` takes its definitions over;
// `quarn-radius dictionary check` looks for what is wrong with them.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quarn::subscriber::radius {

/// What stands under a key.
enum class WrittenKind : std::uint8_t {
    Absent,  ///< there is no such key
    Null,    ///< nothing, "~" or "null"
    Text,    ///< a scalar
    Map,
    Sequence,
};

/// A key's value where a text belongs. Of a value that another place repeats by an alias, line and column are
/// those of the place where it is written out.
struct WrittenText {
    std::string_view text;       ///< "null" for a null, empty for a map and a sequence
    std::uint32_t key_line = 0;  ///< the line of the key, or of the text itself when it is one; from 1
    std::uint32_t line = 0;      ///< the line on which the value begins, from 1
    std::uint32_t column = 0;    ///< the column, from 1; 0 if the reader does not tell
    WrittenKind kind = WrittenKind::Absent;

    /// Whether the key is there.
    bool is_given() const { return kind != WrittenKind::Absent; }

    /// Whether it can be read as a text: a null can, as "null".
    bool is_text() const { return kind == WrittenKind::Text || kind == WrittenKind::Null; }
};

/// A map or a sequence where one belongs.
struct WrittenBlock {
    std::uint32_t key_line = 0;  ///< the line of its key, from 1
    std::uint32_t line = 0;      ///< the line on which it begins, from 1
    WrittenKind kind = WrittenKind::Absent;

    /// Whether there is something that can be wrong.
    bool is_present() const { return kind != WrittenKind::Absent && kind != WrittenKind::Null; }
};

/// An enumerated value: a name and its number.
struct WrittenValue {
    WrittenText name;
    WrittenText number;
};

/// A "vendor" block. Of a key that is given twice the first one counts, here and everywhere.
struct WrittenVendor : WrittenBlock {
    WrittenText id;
    WrittenText name;
    WrittenText format;
};

/// An attribute's definition; its `key_line` is the line of the name.
struct WrittenAttribute : WrittenBlock {
    WrittenText name;
    WrittenText code;
    WrittenText type;
    WrittenText encrypt;
    WrittenText has_tag;
    WrittenText optional_tag;
    WrittenText concat;
    WrittenBlock values;
    std::uint32_t first_value = 0;  ///< position in the document's `values`
    std::uint32_t value_count = 0;  ///< how many follow from there
};

/// A key that the loader passes over.
struct StrayKey {
    /// Why it has no effect.
    enum class Reason : std::uint8_t {
        NoText,    ///< the key is a map or a sequence
        Unknown,   ///< it has no meaning where it stands
        Repeated,  ///< the same map has had it before
    };
    /// `owner` of a key of the file or of the vendor block.
    static constexpr std::uint32_t file = 0xFFFFFFFF;
    static constexpr std::uint32_t vendor = 0xFFFFFFFE;  ///< see `file`

    std::string_view text;
    std::uint32_t line = 0;   ///< from 1
    std::uint32_t owner = 0;  ///< `file`, `vendor`, or the position of an attribute
    Reason reason = Reason::Unknown;
};

/// One file. Its texts view what the reader holds, see `DictionaryFiles::next`.
struct DictionaryDocument {
    std::string file;  ///< canonical path
    WrittenBlock root;
    WrittenBlock includes;
    std::vector<WrittenText> included;  ///< what "includes" lists
    WrittenVendor vendor;
    WrittenBlock attribute_block;
    std::vector<WrittenAttribute> attributes;  ///< in the file's order
    std::vector<WrittenValue> values;          ///< of all attributes
    std::vector<StrayKey> stray_keys;          ///< of the file, of the vendor, then of each attribute

    /// The values of one of the attributes.
    std::span<const WrittenValue> values_of(const WrittenAttribute& attribute) const {
        return std::span(values).subspan(attribute.first_value, attribute.value_count);
    }
};

}  // namespace quarn::subscriber::radius
