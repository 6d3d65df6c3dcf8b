#include "dictionary/json_document.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

// RapidJSON's own switch for scanning strings 16 bytes at a time.
#ifdef __SSE2__
#define RAPIDJSON_SSE2
#endif
#include <rapidjson/reader.h>

#include <algorithm>

#include "quarn/utils/ascii.h"
#include "quarn/utils/file_descriptor.h"

namespace quarn::subscriber::radius {

namespace {

/// yaml-cpp takes no key whose colon is more than 1024 characters behind its start.
constexpr std::size_t max_scalar_size = 1000;

/// yaml-cpp refuses what is nested some hundreds deep; a dictionary file needs four levels.
constexpr std::size_t max_depth = 100;

/// RapidJSON ends at a NUL, and may read a string's last 16 bytes together with what is behind them.
constexpr std::size_t padding = 16;

/// Far beyond any dictionary; a larger file is not worth its memory before a byte of it was looked at.
constexpr off_t max_file_size = 64 << 20;

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

/// The kinds of value that the loader expects.
enum class Expected { File, Anything, Scalar, Bool, Vendor, Attributes, Definition, Values, Nothing };

bool is_map_kind(Expected expected) {
    return expected == Expected::File || expected == Expected::Vendor || expected == Expected::Attributes ||
           expected == Expected::Definition || expected == Expected::Values;
}

/// The kind of value that the loader expects under a key of the file's top level.
Expected expected_in_file(std::string_view key) {
    if (key == "vendor") {
        return Expected::Vendor;
    }
    if (key == "attributes") {
        return Expected::Attributes;
    }
    return key == "includes" ? Expected::Nothing : Expected::Anything;  // a sequence is never plain
}

Expected expected_in_vendor(std::string_view key) {
    return key == "id" || key == "name" || key == "format" ? Expected::Scalar : Expected::Anything;
}

Expected expected_in_definition(std::string_view key) {
    if (key == "code" || key == "type" || key == "encrypt") {
        return Expected::Scalar;
    }
    if (key == "has_tag" || key == "optional_tag" || key == "concat") {
        return Expected::Bool;
    }
    return key == "values" ? Expected::Values : Expected::Anything;
}

}  // namespace

/// RapidJSON's handler. Each function returns false, which ends the parse, for what is not plain.
class JsonDocument::Builder {
  public:
    Builder(const char* text, std::vector<Item>& items) : counted_(text), items_(items) {}

    bool StartObject() {
        if ((expected_ != Expected::Anything && !is_map_kind(expected_)) || open_maps_.size() == max_depth) {
            return false;
        }
        open_maps_.push_back({static_cast<std::uint32_t>(items_.size()), expected_});
        append({}, line_, true);
        return true;
    }

    bool Key(const char* text, rapidjson::SizeType length, bool) {
        const std::string_view key(text, length);
        const Expected map = open_maps_.back().kind;
        if (map == Expected::File || map == Expected::Attributes) {
            count_lines(text);
        }
        append(key, line_, false);
        expected_ = expected_under(map, key);
        vendor_has_id_ |= map == Expected::Vendor && key == "id";
        return expected_ != Expected::Nothing && is_followed_on_its_line(key);
    }

    bool String(const char* text, rapidjson::SizeType length, bool) { return scalar({text, length}, false); }

    bool RawNumber(const char* text, rapidjson::SizeType length, bool) {
        const std::string_view digits(text, length);
        return std::all_of(digits.begin(), digits.end(), utils::is_digit) && scalar(digits, false);
    }

    bool Bool(bool value) { return scalar(value ? "true" : "false", true); }

    bool EndObject(rapidjson::SizeType) {
        const auto [map, kind] = open_maps_.back();
        open_maps_.pop_back();
        items_[map].next = static_cast<std::uint32_t>(items_.size());
        return kind != Expected::Vendor || vendor_has_id_;
    }

    bool Null() { return false; }
    bool StartArray() { return false; }
    bool EndArray(rapidjson::SizeType) { return false; }

    // The reader hands every number over as text.
    bool Int(int) { return false; }
    bool Uint(unsigned) { return false; }
    bool Int64(std::int64_t) { return false; }
    bool Uint64(std::uint64_t) { return false; }
    bool Double(double) { return false; }

  private:
    struct OpenMap {
        std::uint32_t item;
        Expected kind;
    };

    static Expected expected_under(Expected map, std::string_view key) {
        switch (map) {
            case Expected::File:
                return expected_in_file(key);
            case Expected::Vendor:
                return expected_in_vendor(key);
            case Expected::Attributes:
                return Expected::Definition;
            case Expected::Definition:
                return expected_in_definition(key);
            case Expected::Values:
                return Expected::Scalar;
            default:
                return Expected::Anything;
        }
    }

    /// True if ':' (and, for `vendor`, '{') is on the key's line. yaml-cpp requires the first; our line
    /// numbers rely on the second.
    bool is_followed_on_its_line(std::string_view key) const {
        const char* rest = key.data() + key.size() + 1;  // behind the closing quote
        while (*rest == ' ') {
            ++rest;
        }
        if (*rest != ':' || rest - key.data() > static_cast<std::ptrdiff_t>(max_scalar_size)) {
            return false;
        }
        do {
            ++rest;
        } while (*rest == ' ');
        return expected_ != Expected::Vendor || *rest == '{';
    }

    bool scalar(std::string_view text, bool is_bool) {
        const bool fits = expected_ == Expected::Anything || expected_ == Expected::Scalar ||
                          (expected_ == Expected::Bool && is_bool);
        append(text, line_, false);
        return fits && text.size() <= max_scalar_size;
    }

    void append(std::string_view text, std::uint32_t line, bool is_map) {
        items_.push_back({text, line, static_cast<std::uint32_t>(items_.size() + 1), is_map});
    }

    /// Brings `line_` up to a place in the text: for blocks and attributes, as nothing else is told the user
    /// by its line.
    void count_lines(const char* place) {
        line_ += static_cast<std::uint32_t>(std::count(counted_, place, '\n'));
        counted_ = place;
    }

    const char* counted_;
    std::uint32_t line_ = 1;
    std::vector<Item>& items_;
    std::vector<OpenMap> open_maps_;
    Expected expected_ = Expected::File;
    bool vendor_has_id_ = false;
};

bool JsonDocument::read(const std::string& file) {
    items_.clear();
    if (!read_text(file) || !is_plain_text({text_.data(), text_size_})) {
        return false;
    }
    rapidjson::InsituStringStream stream(text_.data());
    Builder builder(text_.data(), items_);
    constexpr unsigned flags =
        rapidjson::kParseInsituFlag | rapidjson::kParseNumbersAsStringsFlag | rapidjson::kParseIterativeFlag;
    if (!rapidjson::Reader().Parse<flags>(stream, builder)) {
        items_.clear();
        return false;
    }
    return true;
}

bool JsonDocument::read_text(const std::string& file) {
    // Without O_NONBLOCK a pipe that nobody writes to would keep the program waiting here. The loader needs
    // the real path of a file: a link is not followed.
    const utils::FileDescriptor descriptor(
        open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW));
    struct stat status {};
    if (descriptor.get() < 0 || fstat(descriptor.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_size > max_file_size) {
        return false;
    }
    text_size_ = static_cast<std::size_t>(status.st_size);
    if (text_.size() < text_size_ + padding) {
        text_.resize(text_size_ + padding);
    }
    // A file that changes just now may come in parts or end early; yaml-cpp takes it as it then is.
    if (::read(descriptor.get(), text_.data(), text_size_) != status.st_size) {
        return false;
    }
    std::fill_n(text_.begin() + status.st_size, padding, '\0');
    return true;
}

}  // namespace quarn::subscriber::radius
