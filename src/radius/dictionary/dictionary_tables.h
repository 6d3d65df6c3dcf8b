// The content of a dictionary, and how it is found. Internal to the library.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

#include "dictionary/hash_index.h"
#include "dictionary/stable_vector.h"
#include "quarn/radius/attribute_metadata.h"
#include "quarn/radius/code_path.h"
#include "quarn/radius/dictionary.h"
#include "quarn/radius/vendor_info.h"
#include "quarn/utils/case_insensitive.h"

namespace quarn::subscriber::radius {

/// The definitions of one load, in the order in which they were read.
struct RadiusDictionary::Sources : StableVector<AttributeSource> {};

/// An enumerated value of an attribute.
struct NamedValue {
    std::string name;         ///< as written in the dictionary
    std::uint32_t number;     ///< what the name stands for
    std::uint32_t attribute;  ///< position of the attribute's record
};

/// The tables behind a `RadiusDictionary`. Names match without regard to ASCII case.
struct __attribute__((visibility("hidden"))) DictionaryTables {
    /// The tables of a dictionary. Those of a dictionary that was never loaded, or was moved from, are empty.
    static const DictionaryTables& of(const RadiusDictionary& dictionary) {
        return dictionary.tables_ ? *dictionary.tables_ : empty();
    }

    const AttributeMetadata& attribute_by_name(std::string_view name) const;

    /// `hash` is the `CodePathHash` of `code`: whoever walks a tree of codes has it already.
    const AttributeMetadata& attribute_by_code(const CodePath& code, std::size_t hash) const;

    // Inline: the encoder asks for every value.
    const AttributeMetadata& top_level_attribute(std::uint32_t type) const {
        if (type >= top_level_attributes.size()) {
            return attribute_by_wide_type(type);
        }
        const AttributeMetadata* const record = top_level_attributes[type];
        return record != nullptr ? *record : RadiusDictionary::unknown_definition();
    }

    /// Null when the attribute has no such value.
    const NamedValue* value_by_name(std::string_view attribute_name, std::string_view value_name) const;
    const NamedValue* value_by_number(std::string_view attribute_name, std::uint32_t number) const;

    /// Lets look-ups find a record, in place of an older one of the same name or code. The record must be
    /// complete.
    void index_attribute(std::uint32_t position);

    /// Adds a value, in place of an older one of the same name or number. `attribute_hash` is the
    /// `CaseInsensitiveHash` of the attribute's name.
    void add_value(std::uint32_t attribute, std::size_t attribute_hash, std::string name,
                   std::uint32_t number);

    /// Adds a vendor, in place of an older one of the same name or number.
    void add_vendor(const VendorInfo& vendor);

    // Every definition and value ever read, including those that a later one replaced: the indexes hold
    // positions in these two.
    StableVector<AttributeMetadata> records;
    StableVector<NamedValue> values;

    HashIndex attributes_by_name;
    HashIndex attributes_by_code;
    std::array<const AttributeMetadata*, 256> top_level_attributes{};  // the types that the wire can carry
    HashIndex values_by_name;                                          // by the names of attribute and value
    HashIndex values_by_number;  // by the attribute's name and the number
    std::unordered_map<std::string, VendorInfo, utils::CaseInsensitiveHash, utils::CaseInsensitiveEqual>
        vendors_by_name;
    std::unordered_map<std::uint32_t, VendorInfo> vendors_by_id;

  private:
    static const DictionaryTables& empty();
    const AttributeMetadata& attribute_by_wide_type(std::uint32_t type) const;

    // The indexes compare keys with the records and values at their positions by these.
    bool has_name(std::uint32_t position, std::string_view name) const;
    bool has_code(std::uint32_t position, const CodePath& code) const;
    template <typename Key>
    bool is_value(std::uint32_t position, std::string_view attribute_name, Key key) const;
};

}  // namespace quarn::subscriber::radius
