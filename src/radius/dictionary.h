// The RADIUS dictionary: names, numbers, types, vendors and enumerated values, read from YAML files.
//
//     auto dictionary = std::make_shared<RadiusDictionary>();
//     dictionary->load("/opt/quarn/share/quarn/radius/dictionary.yaml");
//     dictionary->attribute_by_name("user-name").code;           // {1}
//     dictionary->enum_value("Framed-Protocol", "ppp");          // 1
#pragma once

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

namespace YAML {
class Node;
}

namespace quarn::subscriber::radius {

/// Holds what a tree of dictionary files defines. Packets share it and refer to its records, which stay where
/// they are until the dictionary is loaded anew or destroyed. Every look-up is read-only and may be made from
/// several threads at once; none fails for a missing entry. Names match without regard to ASCII case.
class RadiusDictionary {
  public:
    /// Where a definition was read.
    struct AttributeSource {
        std::string name;
        CodePath code;
        std::string file;        ///< canonical path of the dictionary file
        std::uint32_t line = 0;  ///< 1-based

        bool operator==(const AttributeSource&) const = default;
    };

    RadiusDictionary() = default;
    RadiusDictionary(const RadiusDictionary&) = delete;
    RadiusDictionary& operator=(const RadiusDictionary&) = delete;
    RadiusDictionary(RadiusDictionary&&) = default;
    RadiusDictionary& operator=(RadiusDictionary&&) = default;
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

    /// The attribute whose code path is this top-level type alone, or the unknown record.
    const AttributeMetadata& top_level_attribute(std::uint32_t type) const;

    /// The vendor of this name or number; null when there is none.
    const VendorInfo* vendor_by_name(std::string_view name) const;
    const VendorInfo* vendor_by_id(std::uint32_t id) const;

    /// The number of an attribute's enumerated value.
    std::optional<std::uint32_t> enum_value(std::string_view attribute_name,
                                            std::string_view value_name) const;

    /// The name of an attribute's enumerated value as written in the dictionary, and lowered.
    std::optional<std::string> enum_name(std::string_view attribute_name, std::uint32_t number) const;
    std::optional<std::string> enum_name_lower(std::string_view attribute_name, std::uint32_t number) const;

    /// The one record that stands for every attribute that a dictionary lacks: defaults throughout, but for
    /// type "octets" and `known` false. It lives until the program ends.
    static const AttributeMetadata& unknown_definition();

  private:
    template <typename Value>
    using NameIndex =
        std::unordered_map<std::string, Value, utils::CaseInsensitiveHash, utils::CaseInsensitiveEqual>;
    using ValuesByName = NameIndex<std::uint32_t>;
    using NamesByValue = std::unordered_map<std::uint32_t, std::string>;
    using VisitedFiles = std::unordered_map<std::string, bool>;

    void _load_file(const std::string& path, VisitedFiles& visited);
    void _load_includes(const std::string& file, const YAML::Node& root, VisitedFiles& visited);
    std::optional<VendorInfo> _load_vendor(const std::string& file, const YAML::Node& root);
    void _load_attributes(const std::string& file, const YAML::Node& root,
                          const std::optional<VendorInfo>& vendor);
    void _load_values(const std::string& file, const std::string& attribute_name,
                      const YAML::Node& definition);
    void _validate_nesting() const;

    NameIndex<AttributeMetadata> attributes_by_name_;
    std::unordered_map<CodePath, AttributeMetadata, CodePathHash> attributes_by_code_;
    std::unordered_map<std::uint32_t, const AttributeMetadata*> top_level_attributes_;
    NameIndex<ValuesByName> enum_values_;
    NameIndex<NamesByValue> enum_names_;
    NameIndex<NamesByValue> enum_names_lower_;
    NameIndex<VendorInfo> vendors_by_name_;
    std::unordered_map<std::uint32_t, VendorInfo> vendors_by_id_;
    std::vector<AttributeSource> sources_;
};

}  // namespace quarn::subscriber::radius
