#include <algorithm>
#include <array>
#include <utility>

#include "dictionary/document_items.h"

namespace quarn::subscriber::radius {

namespace {

/// How many times its own size the aliases of a file may repeat, and what an item counts for beside its text.
constexpr std::size_t repeatable_times = 16;
constexpr std::size_t repeated_item_size = 16;

WrittenKind written_kind(Item::Kind kind) {
    constexpr std::array kinds = {WrittenKind::Null, WrittenKind::Text, WrittenKind::Map,
                                  WrittenKind::Sequence, WrittenKind::Absent};
    return kinds[static_cast<std::size_t>(kind)];
}

class DocumentMaker {
  public:
    DocumentMaker(const ParsedFile& file, const Repeatable& repeatable, DictionaryDocument& document)
        : items_(file.items),
          document_(document),
          may_repeat_(repeatable.others + repeatable_times * file.size),
          may_repeat_values_(repeatable.values + repeatable_times * file.size) {}

    void make() {
        document_.included.clear();
        document_.attributes.clear();
        document_.values.clear();
        document_.stray_keys.clear();
        document_.root = document_.includes = document_.attribute_block = {};
        document_.vendor = {};
        if (items_.empty()) {
            document_.root.kind = WrittenKind::Null;
            return;
        }
        const Node root{0, false};
        fill(document_.root, root, root);
        if (document_.root.kind == WrittenKind::Map) {
            make_file(root);
        }
    }

    /// What the files that follow may repeat beyond their sizes.
    Repeatable left_of(const Repeatable& before) const {
        return {std::min(before.values, may_repeat_values_), std::min(before.others, may_repeat_)};
    }

  private:
    /// An item, and whether an alias led to it.
    struct Node {
        std::uint32_t index;
        bool repeated;
    };

    const Item& item(Node node) const { return items_[node.index]; }

    /// The item at this index, or the one that stands there by an alias, which is taken off what may be
    /// repeated.
    Node at(std::uint32_t index, bool repeated, std::size_t& may_repeat) {
        if (items_[index].kind == Item::Kind::Alias) {
            alias_line_ = items_[index].line;
            index = items_[index].target;
            repeated = true;
        }
        if (repeated) {
            const std::size_t size = items_[index].text.size() + repeated_item_size;
            if (size > may_repeat) {
                throw TooMuchRepeated{alias_line_};
            }
            may_repeat -= size;
        }
        return {index, repeated};
    }

    /// Calls `visit(key, value)` for each entry of a map.
    template <typename Visitor>
    void for_each_entry(Node map, std::size_t& may_repeat, Visitor visit) {
        const std::uint32_t end = item(map).next;
        for (std::uint32_t index = map.index + 1; index != end;) {
            const std::uint32_t value = items_[index].next;
            const Node key = at(index, map.repeated, may_repeat);
            visit(key, at(value, map.repeated, may_repeat));
            index = items_[value].next;
        }
    }

    void fill(WrittenBlock& block, Node key, Node value) const {
        block.key_line = item(key).line;
        block.line = item(value).line;
        block.kind = written_kind(item(value).kind);
    }

    void fill(WrittenText& text, Node key, Node value) const {
        const Item& written = item(value);
        text = {written.text, item(key).line, written.line, written.column, written_kind(written.kind)};
    }

    WrittenText text_at(Node node) const {
        WrittenText text;
        fill(text, node, node);
        return text;
    }

    void add_stray_key(Node key, std::uint32_t owner, StrayKey::Reason reason) {
        document_.stray_keys.push_back({item(key).text, item(key).line, owner, reason});
    }

    /// Fills the field that `field_of(name)` points to, if the key is known and comes for the first time.
    template <typename FieldOf>
    void read_entry(Node key, Node value, std::uint32_t owner, FieldOf field_of) {
        const Item& written = item(key);
        if (written.kind != Item::Kind::Scalar) {
            add_stray_key(
                key, owner,
                written.kind == Item::Kind::Null ? StrayKey::Reason::Unknown : StrayKey::Reason::NoText);
            return;
        }
        auto* const field = field_of(written.text);
        if (field == nullptr) {
            add_stray_key(key, owner, StrayKey::Reason::Unknown);
        } else if (field->kind != WrittenKind::Absent) {
            add_stray_key(key, owner, StrayKey::Reason::Repeated);
        } else {
            fill(*field, key, value);
        }
    }

    void make_file(Node root) {
        Node includes = root;
        Node vendor = root;
        Node attributes = root;
        WrittenBlock schema;
        for_each_entry(root, may_repeat_, [&](Node key, Node value) {
            read_entry(key, value, StrayKey::file, [&](std::string_view name) -> WrittenBlock* {
                const auto block = [&](WrittenBlock& written, Node& node) {
                    if (written.kind == WrittenKind::Absent) {
                        node = value;
                    }
                    return &written;
                };
                return name == "includes"     ? block(document_.includes, includes)
                       : name == "vendor"     ? block(document_.vendor, vendor)
                       : name == "attributes" ? block(document_.attribute_block, attributes)
                       : name == "$schema"    ? &schema
                                              : nullptr;
            });
        });
        if (document_.includes.kind == WrittenKind::Sequence) {
            make_includes(includes);
        }
        if (document_.vendor.kind == WrittenKind::Map) {
            make_vendor(vendor);
        }
        if (document_.attribute_block.kind == WrittenKind::Map) {
            for_each_entry(attributes, may_repeat_,
                           [&](Node key, Node value) { make_attribute(key, value); });
        }
    }

    void make_includes(Node list) {
        const std::uint32_t end = item(list).next;
        for (std::uint32_t index = list.index + 1; index != end; index = items_[index].next) {
            document_.included.push_back(text_at(at(index, list.repeated, may_repeat_)));
        }
    }

    void make_vendor(Node map) {
        WrittenVendor& vendor = document_.vendor;
        for_each_entry(map, may_repeat_, [&](Node key, Node value) {
            read_entry(key, value, StrayKey::vendor, [&](std::string_view name) {
                return name == "id"       ? &vendor.id
                       : name == "name"   ? &vendor.name
                       : name == "format" ? &vendor.format
                                          : nullptr;
            });
        });
    }

    void make_attribute(Node name, Node definition) {
        const auto owner = static_cast<std::uint32_t>(document_.attributes.size());
        WrittenAttribute& attribute = document_.attributes.emplace_back();
        fill(attribute, name, definition);
        attribute.name = text_at(name);
        attribute.first_value = static_cast<std::uint32_t>(document_.values.size());
        if (attribute.kind != WrittenKind::Map) {
            return;
        }
        Node values = definition;
        WrittenText value_block;
        for_each_entry(definition, may_repeat_, [&](Node key, Node value) {
            read_entry(key, value, owner, [&](std::string_view field) -> WrittenText* {
                if (field == "values" && value_block.kind == WrittenKind::Absent) {
                    values = value;
                }
                return field == "code"           ? &attribute.code
                       : field == "type"         ? &attribute.type
                       : field == "values"       ? &value_block
                       : field == "encrypt"      ? &attribute.encrypt
                       : field == "has_tag"      ? &attribute.has_tag
                       : field == "optional_tag" ? &attribute.optional_tag
                       : field == "concat"       ? &attribute.concat
                                                 : nullptr;
            });
        });
        attribute.values = {value_block.key_line, value_block.line, value_block.kind};
        if (attribute.values.kind == WrittenKind::Map) {
            for_each_entry(values, may_repeat_values_, [&](Node key, Node value) {
                WrittenValue& written = document_.values.emplace_back();
                written.name = text_at(key);
                fill(written.number, key, value);
            });
            attribute.value_count =
                static_cast<std::uint32_t>(document_.values.size()) - attribute.first_value;
        }
    }

    const std::vector<Item>& items_;
    DictionaryDocument& document_;
    std::size_t may_repeat_;
    std::size_t may_repeat_values_;
    std::uint32_t alias_line_ = 0;
};

}  // namespace

void make_document(const ParsedFile& file, Repeatable& repeatable, DictionaryDocument& document) {
    DocumentMaker maker(file, repeatable, document);
    maker.make();
    repeatable = maker.left_of(repeatable);
}

}  // namespace quarn::subscriber::radius
