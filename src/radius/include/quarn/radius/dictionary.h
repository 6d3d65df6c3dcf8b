// The RADIUS dictionary: names, numbers, types, vendors and enumerated values, read from YAML files.
//
//     auto dictionary = std::make_shared<RadiusDictionary>();
//     dictionary->load("/opt/quarn/share/quarn/radius/dictionary.yaml");
//     dictionary->attribute_by_name("user-name").code;           // {1}
//     dictionary->enum_value("Framed-Protocol", "ppp");          // 1
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quarn/radius/attribute_metadata.h"
#include "quarn/radius/code_path.h"
#include "quarn/radius/dictionary_document.h"
#include "quarn/radius/vendor_info.h"

namespace quarn::subscriber::radius {

struct DictionaryTables;

/// Holds what a tree of dictionary files defines. Packets share it and refer to its records, which stay where
/// they are until the dictionary is loaded anew or destroyed. Every look-up is read-only and may be made from
/// several threads at once; none fails for a missing entry. Names match without regard to ASCII case.
class RadiusDictionary {
  public:
    /// Where an attribute is defined. The texts live as long as the dictionary's content does.
    struct AttributeSource {
        std::string_view name;   ///< the attribute's, as written
        CodePath code;           ///< empty when the definition gives none
        std::string_view file;   ///< canonical path of the dictionary file
        std::uint32_t line = 0;  ///< 1-based
    };

    /// An enumerated value, and where it is defined. The texts live as long as the dictionary's content does.
    struct ValueSource {
        std::string_view name;     ///< as written
        std::uint32_t number = 0;  ///< what it stands for
        std::string_view file;     ///< canonical path of the dictionary file
        std::uint32_t line = 0;    ///< 1-based
    };

    /// A vendor, and where it is defined. Both live as long as the dictionary's content does.
    struct VendorSource {
        const VendorInfo* vendor = nullptr;  ///< never null in what `vendors` returns
        std::string_view file;               ///< canonical path of the dictionary file
        std::uint32_t line = 0;              ///< 1-based
    };

    /// An empty dictionary.
    RadiusDictionary() noexcept;
    RadiusDictionary(const RadiusDictionary&) = delete;
    RadiusDictionary& operator=(const RadiusDictionary&) = delete;
    /// Takes over the content of `other`, which is empty then. The records stay where they are.
    RadiusDictionary(RadiusDictionary&& other) noexcept;
    /// Takes over the content of `other`, which is empty then. The old content is destroyed.
    RadiusDictionary& operator=(RadiusDictionary&& other) noexcept;
    ~RadiusDictionary();

    /// Replaces the whole content by what the file at `path` and the files that it includes define. Later
    /// definitions win: of two of one name, code path, value or vendor the first is lost.
    ///
    /// Throws `std::runtime_error`, its text beginning with the path of the file at fault and ": ", for a
    /// file that cannot be read or parsed and for a malformed block; the dictionary is then partly filled. A
    /// problem of one attribute only skips that attribute, and a nested attribute without a fitting parent
    /// stays; both go to `App::warn`.
    void load(const std::string& path);

    /// Adds what one file defines, but not what it includes, as `load` does, and fails as `load` does: for a
    /// malformed block other than "includes". Whether nested attributes have fitting parents is not looked
    /// at.
    void apply(const DictionaryDocument& document);

    /// All attributes, each name's latest definition, in the order of loading.
    std::vector<AttributeSource> attributes() const;

    /// An attribute's values in the order of loading, of each name the latest.
    std::vector<ValueSource> values_of(std::string_view attribute_name) const;

    /// All vendors, each number's latest definition, in the order of loading.
    std::vector<VendorSource> vendors() const;

    /// The attribute of this name, or the unknown record.
    const AttributeMetadata& attribute_by_name(std::string_view name) const;

    /// The attribute at exactly this code path, or the unknown record.
    const AttributeMetadata& attribute_by_code(const CodePath& code) const;

    /// The attribute whose code path is this top-level type alone, or the unknown record.
    const AttributeMetadata& top_level_attribute(std::uint32_t type) const;

    /// The vendor of this name; null when there is none.
    const VendorInfo* vendor_by_name(std::string_view name) const;

    /// The vendor of this number; null when there is none.
    const VendorInfo* vendor_by_id(std::uint32_t id) const;

    /// The number of an attribute's enumerated value.
    std::optional<std::uint32_t> enum_value(std::string_view attribute_name,
                                            std::string_view value_name) const;

    /// The name of an attribute's enumerated value as written in the dictionary.
    std::optional<std::string> enum_name(std::string_view attribute_name, std::uint32_t number) const;

    /// The name of an attribute's enumerated value with A to Z lowered.
    std::optional<std::string> enum_name_lower(std::string_view attribute_name, std::uint32_t number) const;

    /// The one record that stands for every attribute that a dictionary lacks: defaults throughout, but for
    /// type "octets" and `known` false. It lives until the program ends.
    static const AttributeMetadata& unknown_definition();

  private:
    friend struct DictionaryTables;

    void _validate_nesting() const;

    std::unique_ptr<DictionaryTables> tables_;  // null while the dictionary is empty
};

}  // namespace quarn::subscriber::radius
