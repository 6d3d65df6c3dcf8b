// The content of a dictionary, and how it is found. Internal to the library.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "dictionary/hash_index.h"
#include "dictionary/stable_vector.h"
#include "dictionary/text_arena.h"
#include "quarn/radius/attribute_metadata.h"
#include "quarn/radius/code_path.h"
#include "quarn/radius/dictionary.h"
#include "quarn/radius/vendor_info.h"
#include "quarn/utils/case_insensitive.h"

namespace quarn::subscriber::radius {

/// An attribute's definition, and where it stands. Positions are those in `DictionaryTables::definitions`.
struct Definition {
    static constexpr std::uint32_t none = 0xFFFFFFFF;

    AttributeMetadata metadata;
    std::uint32_t file = 0;  ///< position in `DictionaryTables::files`
    std::uint32_t line = 0;  ///< from 1
    std::uint32_t first_value =
        0;  ///< position in `values`; the next definition's values begin behind the last
    std::uint32_t namesake = none;  ///< the definition of the same name before this one
    std::uint32_t name_number = 0;  ///< the same for all definitions of one name, and for no other
};

/// An enumerated value of an attribute.
struct NamedValue {
    std::string_view name;     ///< as written in the dictionary
    std::uint32_t number;      ///< what the name stands for
    std::uint32_t definition;  ///< position of the attribute's definition
    std::uint32_t line;        ///< from 1
};

/// A vendor, and where it is defined.
struct DefinedVendor {
    std::shared_ptr<const VendorInfo> info;
    std::uint32_t file;  ///< position in `DictionaryTables::files`
    std::uint32_t line;  ///< from 1
};

/// The tables behind a `RadiusDictionary`. Names match without regard to ASCII case. Every hash begins with a
/// seed of the process: whoever writes a dictionary cannot choose names or codes that collide.
struct __attribute__((visibility("hidden"))) DictionaryTables {
    /// The tables of a dictionary. Those of a dictionary that was never loaded, or was moved from, are empty.
    static const DictionaryTables& of(const RadiusDictionary& dictionary) {
        return dictionary.tables_ ? *dictionary.tables_ : empty();
    }

    const AttributeMetadata& attribute_by_name(std::string_view name) const;

    /// `hash` is the `code_hash` of `code`: whoever walks a tree of codes has it already.
    const AttributeMetadata& attribute_by_code(std::span<const std::uint32_t> code, std::size_t hash) const;

    /// The hash of a code path, and that of a path which is one element longer.
    std::size_t code_hash(std::span<const std::uint32_t> code) const;
    static std::size_t extended_code_hash(std::size_t hash, std::uint32_t code) {
        return utils::scattered(hash ^ code);
    }

    // Inline: the encoder asks for every value.
    const AttributeMetadata& top_level_attribute(std::uint32_t type) const {
        if (type >= top_level_attributes.size()) {
            return attribute_by_wide_type(type);
        }
        const AttributeMetadata* const record = top_level_attributes[type];
        return record != nullptr ? *record : RadiusDictionary::unknown_definition();
    }

    /// The latest definition of the name, or none.
    std::optional<std::uint32_t> definition_by_name(std::string_view name) const;

    /// Null when the attribute has no such value.
    const NamedValue* value_by_name(std::string_view attribute_name, std::string_view value_name) const;
    const NamedValue* value_by_number(std::string_view attribute_name, std::uint32_t number) const;

    const DefinedVendor* vendor_by_name(std::string_view name) const;
    const DefinedVendor* vendor_by_id(std::uint32_t id) const;

    /// Lets look-ups find the last definition, in place of an older one of the same name or code. It must be
    /// complete.
    void index_last_definition();

    /// Adds a value to the last definition, in place of an older one of the same name or number.
    void add_value(std::string_view name, std::uint32_t number, std::uint32_t line);

    /// Adds a vendor, in place of an older one of the same name or number.
    void add_vendor(DefinedVendor vendor);

    /// Whether no later value has taken the name of this one.
    bool holds(std::uint32_t value) const;

    /// The position behind a definition's last value.
    std::size_t values_end(std::uint32_t definition) const {
        return definition + 1 < definitions.size() ? definitions[definition + 1].first_value : values.size();
    }

    // Everything ever read, including what a later definition replaced: the indexes hold positions in these.
    StableVector<Definition> definitions;
    StableVector<NamedValue> values;
    StableVector<DefinedVendor> vendors;
    StableVector<std::string> files;  // canonical paths
    TextArena value_names;
    std::array<const AttributeMetadata*, 256> top_level_attributes{};  // the types that the wire can carry

  private:
    static const DictionaryTables& empty();
    const AttributeMetadata& attribute_by_wide_type(std::uint32_t type) const;

    std::size_t value_hash(std::uint32_t name_number, std::string_view value_name) const;
    std::size_t value_hash(std::uint32_t name_number, std::uint32_t number) const;
    template <typename Key>
    const NamedValue* find_value(const HashIndex& index, std::string_view attribute_name, Key key) const;

    // The indexes compare keys with what is at their positions by these.
    bool has_name(std::uint32_t definition, std::string_view name) const;
    bool has_code(std::uint32_t definition, std::span<const std::uint32_t> code) const;
    bool is_value(std::uint32_t value, std::uint32_t name_number, std::string_view name) const;
    bool is_value(std::uint32_t value, std::uint32_t name_number, std::uint32_t number) const;

    std::uint64_t seed_ = utils::hash_seed();
    utils::SeededCaseInsensitiveHash name_hash_;
    HashIndex attributes_by_name_;
    HashIndex attributes_by_code_;
    HashIndex values_by_name_;    // by the attribute's name and the value's
    HashIndex values_by_number_;  // by the attribute's name and the number
    HashIndex vendors_by_name_;
    HashIndex vendors_by_id_;
};

}  // namespace quarn::subscriber::radius
