#include <cstring>

#include "dictionary/document_items.h"
#include "quarn/utils/ascii.h"

namespace quarn::subscriber::radius {

namespace {

/// yaml-cpp takes no key whose colon is more than 1024 characters behind its start.
constexpr std::ptrdiff_t max_key_size = 1000;

/// yaml-cpp refuses what is nested some hundreds deep; a dictionary file needs four levels.
constexpr std::size_t max_depth = 100;

/// Whether no character means more in YAML than in JSON, or in JSON than itself.
bool is_plain_text(std::string_view text) {
    // Without a way out of the loop, and in bytes throughout, it takes 16 characters at a time.
    unsigned char is_other = 0;
    for (const char character : text) {
        const bool is_printable = (character >= ' ') & (character <= '~');
        is_other |= static_cast<unsigned char>((!is_printable & (character != '\n')) | (character == '\\'));
    }
    return is_other == 0;
}

/// Each function returns false for what is not plain. The text ends with a NUL, which fits nowhere.
class JsonReader {
  public:
    JsonReader(const std::string& text, std::vector<Item>& items)
        : at_(text.data()), end_(at_ + text.size()), line_start_(at_), items_(items) {
        line_end_ = find('\n', at_);
    }

    bool read() {
        skip_blanks();
        if (*at_ != '{' || !read_value()) {
            return false;
        }
        while (!open_.empty()) {
            if (!read_step()) {
                return false;
            }
        }
        skip_blanks();
        return at_ == end_;
    }

  private:
    const char* find(char wanted, const char* from) const {
        const void* const found = std::memchr(from, wanted, static_cast<std::size_t>(end_ - from));
        return found != nullptr ? static_cast<const char*>(found) : end_;
    }

    void skip_blanks() {
        while (*at_ == ' ' || *at_ == '\n') {
            ++at_;
        }
    }

    /// The next entry of the innermost map or sequence, or its end.
    bool read_step() {
        const bool in_map = items_[open_.back()].kind == Item::Kind::Map;
        skip_blanks();
        if (*at_ == (in_map ? '}' : ']')) {
            ++at_;
            items_[open_.back()].next = static_cast<std::uint32_t>(items_.size());
            open_.pop_back();
            is_first_ = false;
            return true;
        }
        if (!is_first_) {
            if (*at_ != ',') {
                return false;
            }
            ++at_;
            skip_blanks();
        }
        is_first_ = false;
        return (!in_map || read_key()) && read_value();
    }

    bool read_key() {
        const char* const start = at_;
        if (*at_ != '"' || !read_string()) {
            return false;
        }
        while (*at_ == ' ') {  // yaml-cpp wants the colon on the line of the key
            ++at_;
        }
        if (*at_ != ':' || at_ - start > max_key_size) {
            return false;
        }
        ++at_;
        skip_blanks();
        return true;
    }

    bool read_value() {
        switch (*at_) {
            case '"':
                return read_string();
            case '{':
            case '[':
                if (open_.size() == max_depth) {
                    return false;
                }
                open_.push_back(static_cast<std::uint32_t>(items_.size()));
                append({}, *at_ == '{' ? Item::Kind::Map : Item::Kind::Sequence);
                ++at_;
                is_first_ = true;
                return true;
            default:
                return read_word();
        }
    }

    bool read_string() {
        append({}, Item::Kind::Scalar);
        const char* const start = at_ + 1;
        const char* const close = find('"', start);
        if (close >= line_end_) {  // a string has one line
            return false;
        }
        items_.back().text = {start, static_cast<std::size_t>(close - start)};
        at_ = close + 1;
        return true;
    }

    /// A number, true, false or null.
    bool read_word() {
        const char* stop = at_;
        while (utils::is_digit(*stop) || (*stop >= 'a' && *stop <= 'z')) {
            ++stop;
        }
        const std::string_view word(at_, static_cast<std::size_t>(stop - at_));
        const bool is_number =
            word.find_first_not_of("0123456789") == word.npos && (word.size() == 1 || !word.starts_with('0'));
        if (word.empty() || (!is_number && word != "true" && word != "false" && word != "null") ||
            (*stop != ' ' && *stop != '\n' && *stop != ',' && *stop != '}' && *stop != ']')) {
            return false;
        }
        append(word, word == "null" ? Item::Kind::Null : Item::Kind::Scalar);
        at_ = stop;
        return true;
    }

    /// Adds an item that begins here.
    void append(std::string_view text, Item::Kind kind) {
        while (line_end_ < at_) {
            ++line_;
            line_start_ = line_end_ + 1;
            line_end_ = find('\n', line_start_);
        }
        const auto column = static_cast<std::uint32_t>(at_ - line_start_ + 1);
        items_.push_back({text, line_, column, static_cast<std::uint32_t>(items_.size() + 1), 0, kind});
    }

    const char* at_;
    const char* end_;
    const char* line_start_;
    const char* line_end_;
    std::uint32_t line_ = 1;
    std::vector<Item>& items_;
    std::vector<std::uint32_t> open_;  // maps and sequences
    bool is_first_ = false;            // nothing of the innermost one was read yet
};

}  // namespace

bool read_json(const std::string& text, std::vector<Item>& items) {
    items.clear();
    return is_plain_text(text) && JsonReader(text, items).read();
}

}  // namespace quarn::subscriber::radius
