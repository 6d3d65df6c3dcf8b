// A fast reader for dictionary files in plain JSON, which the shipped attribute files are written in.
// Internal to the library.
//
// JSON is a subset of YAML, so yaml-cpp can read these files too; this reader does it in a fraction of the
// time. A `JsonNode` answers the calls that the loader makes on a `YAML::Node`, in the same words, so that
// the loader's rules are written once for both.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quarn::subscriber::radius {

class JsonNode;

/// A parsed file. Reuse one object for many files to save allocations; reading again invalidates its nodes.
class JsonDocument {
  public:
    /// Reads the file when it is plain: an object with nothing but objects, strings, decimal numbers, true
    /// and false inside, all in printable ASCII without escapes, and with a value of the right kind under
    /// every key that the loader reads. Returns false, with nothing left to look at, for any other file, a
    /// symbolic link, a faulty or an unreadable one too: those are for yaml-cpp to read, or to tell what is
    /// wrong with them.
    bool read(const std::string& file);

    /// The top level of the file that was read.
    JsonNode root() const;

  private:
    friend class JsonNode;
    class Builder;

    /// Items stand in the file's order: behind a map's come the keys and values of its entries in turn, each
    /// followed by what it contains.
    struct Item {
        std::string_view scalar;  ///< views `text_`; empty for a map
        std::uint32_t line = 0;   ///< 1-based
        std::uint32_t next = 0;   ///< index of the item behind this one and all that it contains
        bool is_map = false;
    };

    bool read_text(const std::string& file);

    std::vector<char> text_;  // as large as the largest file so far; what is read stands in front
    std::size_t text_size_ = 0;
    std::vector<Item> items_;
};

/// A node of a document, or the absence of one.
class JsonNode {
  public:
    struct Entry;
    class Iterator;

    JsonNode() = default;

    explicit operator bool() const { return document_ != nullptr; }
    bool IsMap() const { return document_ != nullptr && item().is_map; }
    bool IsNull() const { return false; }
    bool IsScalar() const { return document_ != nullptr && !item().is_map; }

    /// The scalar as it stands in the document.
    std::string_view Scalar() const { return item().scalar; }

    /// The value of the map's first entry under the key, or an absent node.
    JsonNode operator[](std::string_view key) const;

    /// The scalar as `std::string`, or as the `bool` that it spells.
    template <typename Value>
    Value as() const;

    /// The 1-based line of the name of a block or of an attribute; of anything inside, that of its attribute.
    std::uint32_t line() const { return item().line; }

    /// The entries of a map, in the file's order.
    Iterator begin() const;
    Iterator end() const;

  private:
    friend class JsonDocument;

    JsonNode(const JsonDocument& document, std::uint32_t index) : document_(&document), index_(index) {}

    const JsonDocument::Item& item() const { return document_->items_[index_]; }

    const JsonDocument* document_ = nullptr;
    std::uint32_t index_ = 0;
};

template <>
inline std::string JsonNode::as<std::string>() const {
    return std::string(item().scalar);
}

template <>
inline bool JsonNode::as<bool>() const {
    return item().scalar == "true";
}

struct JsonNode::Entry {
    JsonNode first;
    JsonNode second;
};

class JsonNode::Iterator {
  public:
    Iterator(const JsonDocument& document, std::uint32_t key) : document_(&document), key_(key) {}

    Entry operator*() const { return {{*document_, key_}, {*document_, key_ + 1}}; }
    Iterator& operator++() {
        key_ = document_->items_[key_ + 1].next;
        return *this;
    }
    bool operator==(const Iterator&) const = default;

  private:
    const JsonDocument* document_;
    std::uint32_t key_;
};

inline JsonNode::Iterator JsonNode::begin() const {
    return {*document_, index_ + 1};
}

inline JsonNode::Iterator JsonNode::end() const {
    return {*document_, item().next};
}

inline JsonNode JsonNode::operator[](std::string_view key) const {
    for (const Entry& entry : *this) {
        if (entry.first.item().scalar == key) {
            return entry.second;
        }
    }
    return {};
}

inline JsonNode JsonDocument::root() const {
    return {*this, 0};
}

}  // namespace quarn::subscriber::radius
