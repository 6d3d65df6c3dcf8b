// yaml-cpp parses; its events become items at once, without the nodes that it would build of them.
#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/yaml.h>

#include <algorithm>
#include <sstream>
#include <utility>

#include "dictionary/document_items.h"

namespace quarn::subscriber::radius {

namespace {

std::uint32_t from_one(int position) {
    return static_cast<std::uint32_t>(std::max(position, 0)) + 1;
}

YamlFault fault_of(const YAML::Exception& error) {
    return {error.mark.is_null() ? 1 : from_one(error.mark.line), error.msg, error.what()};
}

class ItemBuilder : public YAML::EventHandler {
  public:
    explicit ItemBuilder(ParsedFile& file) : file_(file) {}

    void OnNull(const YAML::Mark& mark, YAML::anchor_t anchor) override {
        append("null", mark, anchor, Item::Kind::Null);
    }
    void OnAlias(const YAML::Mark& mark, YAML::anchor_t anchor) override {
        append({}, mark, 0, Item::Kind::Alias);
        file_.items.back().target = anchors_[anchor - 1];
    }
    void OnScalar(const YAML::Mark& mark, const std::string& /*tag*/, YAML::anchor_t anchor,
                  const std::string& value) override {
        append(file_.scalars.keep(value), mark, anchor, Item::Kind::Scalar);
    }
    void OnSequenceStart(const YAML::Mark& mark, const std::string& /*tag*/, YAML::anchor_t anchor,
                         YAML::EmitterStyle::value /*style*/) override {
        open(mark, anchor, Item::Kind::Sequence);
    }
    void OnSequenceEnd() override { close(); }
    void OnMapStart(const YAML::Mark& mark, const std::string& /*tag*/, YAML::anchor_t anchor,
                    YAML::EmitterStyle::value /*style*/) override {
        open(mark, anchor, Item::Kind::Map);
    }
    void OnMapEnd() override { close(); }
    void OnDocumentStart(const YAML::Mark& /*mark*/) override {}
    void OnDocumentEnd() override {}

  private:
    void append(std::string_view text, const YAML::Mark& mark, YAML::anchor_t anchor, Item::Kind kind) {
        const auto index = static_cast<std::uint32_t>(file_.items.size());
        if (anchor != 0) {  // they are numbered from 1 in the order of the file
            anchors_.push_back(index);
        }
        file_.items.push_back({text, from_one(mark.line), from_one(mark.column), index + 1, 0, kind});
    }
    void open(const YAML::Mark& mark, YAML::anchor_t anchor, Item::Kind kind) {
        open_.push_back(static_cast<std::uint32_t>(file_.items.size()));
        append({}, mark, anchor, kind);
    }
    void close() {
        file_.items[open_.back()].next = static_cast<std::uint32_t>(file_.items.size());
        open_.pop_back();
    }

    ParsedFile& file_;
    std::vector<std::uint32_t> open_;
    std::vector<std::uint32_t> anchors_;
};

/// Finds the line of a document's root, and keeps nothing else of it.
class RootFinder : public YAML::EventHandler {
  public:
    /// The root's line; 0 for a null root, and where no document was read.
    std::uint32_t line() const { return line_; }

    void OnNull(const YAML::Mark& /*mark*/, YAML::anchor_t /*anchor*/) override {}
    void OnAlias(const YAML::Mark& /*mark*/, YAML::anchor_t /*anchor*/) override {}
    void OnScalar(const YAML::Mark& mark, const std::string& /*tag*/, YAML::anchor_t /*anchor*/,
                  const std::string& /*value*/) override {
        meet(mark);
    }
    void OnSequenceStart(const YAML::Mark& mark, const std::string& /*tag*/, YAML::anchor_t /*anchor*/,
                         YAML::EmitterStyle::value /*style*/) override {
        meet(mark);
    }
    void OnSequenceEnd() override {}
    void OnMapStart(const YAML::Mark& mark, const std::string& /*tag*/, YAML::anchor_t /*anchor*/,
                    YAML::EmitterStyle::value /*style*/) override {
        meet(mark);
    }
    void OnMapEnd() override {}
    void OnDocumentStart(const YAML::Mark& /*mark*/) override {}
    void OnDocumentEnd() override {}

  private:
    void meet(const YAML::Mark& mark) {
        if (line_ == 0) {
            line_ = from_one(mark.line);
        }
    }

    std::uint32_t line_ = 0;
};

}  // namespace

std::optional<YamlFault> read_yaml(ParsedFile& file) {
    file.items.clear();
    file.scalars.clear();
    std::istringstream stream(std::exchange(file.text, {}));
    try {
        YAML::Parser parser(stream);
        ItemBuilder builder(file);
        parser.HandleNextDocument(builder);
    } catch (const YAML::Exception& error) {
        return fault_of(error);
    }
    return std::nullopt;
}

LaterDocument find_later_document(const std::string& text) {
    LaterDocument later;
    if (text.find("---") == text.npos && text.find("...") == text.npos) {
        return later;  // nothing else begins a document or ends one
    }
    std::istringstream stream(text);
    try {
        YAML::Parser parser(stream);
        RootFinder first;
        bool is_more = parser.HandleNextDocument(first);
        while (is_more && later.line == 0) {
            RootFinder root;
            is_more = parser.HandleNextDocument(root);
            later.line = root.line();
        }
    } catch (const YAML::Exception& error) {
        later.fault = fault_of(error);
    }
    return later;
}

}  // namespace quarn::subscriber::radius
