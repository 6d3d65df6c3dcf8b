// The RADIUS dictionary: names, numbers, types, vendors and enumerated values, read from YAML files.
//
//     auto dictionary = std::make_shared<RadiusDictionary>();
//     dictionary->load("/opt/quarn/share/quarn/radius/dictionary.yaml");
//     dictionary->attribute_by_name("user-name").code;           // {1}
//     dictionary->enum_value("Framed-Protocol", "ppp");          // 1
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "quarn/radius/attribute_metadata.h"
#include "quarn/radius/code_path.h"
#include "quarn/radius/vendor_info.h"
#include "quarn/utils/case_insensitive.h"
#include "quarn/utils/hash_index.h"
#include "quarn/utils/stable_vector.h"

namespace quarn::subscriber::radius {

/// Holds what a tree of dictionary files defines. Packets share it and refer to its records, which stay where
/// they are until the dictionary is loaded anew or destroyed. Every look-up is read-only and may be made from
/// several threads at once; none fails for a missing entry. Names match without regard to ASCII case.
class RadiusDictionary {
  public:
    /// Where a definition was read. The texts live as long as the load does.
    struct AttributeSource {
        std::string_view name;   ///< the attribute's, as written
        CodePath code;           ///< empty when the definition gives none
        std::string_view file;   ///< canonical path of the dictionary file
        std::uint32_t line = 0;  ///< 1-based
    };

    RadiusDictionary() = default;
    RadiusDictionary(const RadiusDictionary&) = delete;
    RadiusDictionary& operator=(const RadiusDictionary&) = delete;
    /// The records stay where they are.
    RadiusDictionary(RadiusDictionary&&) = default;
    RadiusDictionary& operator=(RadiusDictionary&&) = default;  ///< the same; the old records are gone
    ~RadiusDictionary() = default;

    /// Replaces the whole content by what the file at `path` and the files that it includes define. Of two
    /// definitions of one name, code path, value or vendor the later one holds.
    ///
    /// Throws `std::runtime_error`, its text beginning with the path of the file at fault and ": ", for a
    /// file that cannot be read or parsed and for a malformed block; the dictionary is then partly filled. A
    /// problem of one attribute only skips that attribute, and a nested attribute without a fitting parent
    /// stays; both go to `App::warn`.
    void load(const std::string& path);

    /// The attribute of this name, or the unknown record.
    const AttributeMetadata& attribute_by_name(std::string_view name) const;

    /// The attribute at exactly this code path, or the unknown record.
    const AttributeMetadata& attribute_by_code(const CodePath& code) const;

    /// The same for a path whose `CodePathHash` is known already.
    const AttributeMetadata& attribute_by_code(const CodePath& code, std::size_t hash) const;

    /// The attribute whose code path is this top-level type alone, or the unknown record.
    const AttributeMetadata& top_level_attribute(std::uint32_t type) const;

    /// The vendor of this name or number; null when there is none.
    const VendorInfo* vendor_by_name(std::string_view name) const;
    const VendorInfo* vendor_by_id(std::uint32_t id) const;  ///< see `vendor_by_name`

    /// The number of an attribute's enumerated value.
    std::optional<std::uint32_t> enum_value(std::string_view attribute_name,
                                            std::string_view value_name) const;

    /// The name of an attribute's enumerated value as written in the dictionary.
    std::optional<std::string> enum_name(std::string_view attribute_name, std::uint32_t number) const;

    /// The same, lowered.
    std::optional<std::string> enum_name_lower(std::string_view attribute_name, std::uint32_t number) const;

    /// The one record that stands for every attribute that a dictionary lacks: defaults throughout, but for
    /// type "octets" and `known` false. It lives until the program ends.
    static const AttributeMetadata& unknown_definition();

  private:
    /// A value of the attribute whose record is at a position.
    struct NamedValue {
        std::string name;
        std::uint32_t number;
        std::uint32_t attribute;
    };
    using Sources = utils::StableVector<AttributeSource>;
    struct LoadState;

    void _load_file(const std::string& path, LoadState& state);

    // `Node` is what the file was read into: the rules are the same for each reader.
    template <typename Node>
    void _load_blocks(const std::string& file, const Node& root, Sources& sources);
    template <typename Node>
    std::optional<VendorInfo> _load_vendor(const std::string& file, const Node& root);
    template <typename Node>
    void _load_attributes(const std::string& file, const Node& root, const std::optional<VendorInfo>& vendor,
                          Sources& sources);
    template <typename Node>
    void _load_values(const std::string& file, std::uint32_t attribute, const Node& values);

    /// Makes a record, complete by now, one that is found.
    void _index_attribute(std::uint32_t position);
    void _add_value(std::uint32_t attribute, std::size_t attribute_hash, std::string name,
                    std::uint32_t number);

    void _validate_nesting(const Sources& sources) const;

    // What the indexes ask about the positions of records and values.
    bool _has_name(std::uint32_t position, std::string_view name) const;
    bool _has_code(std::uint32_t position, const CodePath& code) const;
    template <typename Key>
    bool _is_value(std::uint32_t position, std::string_view attribute_name, Key key) const;

    // Every definition and value ever read, those replaced since included: the indexes hold positions here.
    utils::StableVector<AttributeMetadata> records_;
    utils::StableVector<NamedValue> values_;

    utils::HashIndex attributes_by_name_;
    utils::HashIndex attributes_by_code_;
    std::array<const AttributeMetadata*, 256> top_level_attributes_{};  // the types that the wire can carry
    utils::HashIndex values_by_name_;                                   // and by the attribute's
    utils::HashIndex values_by_number_;                                 // the same
    std::unordered_map<std::string, VendorInfo, utils::CaseInsensitiveHash, utils::CaseInsensitiveEqual>
        vendors_by_name_;
    std::unordered_map<std::uint32_t, VendorInfo> vendors_by_id_;
};

}  // namespace quarn::subscriber::radius
