#include "quarn_radius/send/request_file.h"

#include <fcntl.h>
#include <unistd.h>
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <optional>
#include <utility>

#include "quarn/utils/ascii.h"
#include "quarn/utils/file_descriptor.h"
#include "quarn/utils/secret.h"
#include "quarn/utils/text.h"

namespace quarn::quarn_radius {

namespace {

constexpr std::size_t max_file_size = std::size_t{16} << 20;
constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";

/// An operator stands behind those that it begins: "=" behind "==", ">" behind ">=".
constexpr std::array operators = std::to_array<std::string_view>(
    {":=", "+=", "==", "!=", ">=", "<=", "=~", "!~", "=*", "!*", "-=", "^=", "=", "<", ">"});

bool is_name_character(char character) {
    return utils::is_digit(character) || (character >= 'a' && character <= 'z') ||
           (character >= 'A' && character <= 'Z') || character == '-' || character == '_' ||
           character == '.' || character == '/';
}

bool is_blank(char character) {
    return character == ' ' || character == '\t' || character == '\r' || character == '\v' ||
           character == '\f';
}

int hex_digit_value(char digit) {
    return utils::is_digit(digit) ? digit - '0'
                                  : utils::ascii_lower(static_cast<unsigned char>(digit)) - 'a' + 10;
}

bool is_octal_digit(char character) {
    return character >= '0' && character <= '7';
}

/// One line, read from left to right. What it throws lacks file and line.
class LineReader {
  public:
    explicit LineReader(std::string_view line) : rest_(line) {}

    /// Whether there is nothing left but blanks and a comment.
    bool at_end() {
        skip_blanks();
        return rest_.empty() || rest_.front() == '#';
    }

    std::string_view name() {
        std::size_t end = 0;
        while (end < rest_.size() && (is_name_character(rest_[end]) || begins_tag(end))) {
            ++end;
        }
        if (end == 0) {
            throw std::invalid_argument(
                "an attribute's name is missing; a request has lines such as "
                "User-Name = \"bob\"");
        }
        return take(end);
    }

    std::string_view comparison() {
        skip_blanks();
        const auto* const found =
            std::find_if(operators.begin(), operators.end(),
                         [this](std::string_view text) { return rest_.starts_with(text); });
        if (found == operators.end()) {
            throw std::invalid_argument("\"=\" is missing after the attribute's name");
        }
        rest_.remove_prefix(found->size());
        return *found;
    }

    utils::SecretText value() {
        skip_blanks();
        const char first = rest_.empty() ? '\0' : rest_.front();
        if (first == '"' || first == '\'') {
            return quoted_value(first);
        }
        if (first == '`') {
            throw std::invalid_argument("a request file runs no commands: quote the value with \" or '");
        }
        std::size_t end = 0;
        while (end < rest_.size() && !is_blank(rest_[end]) && rest_[end] != ',' && rest_[end] != '#') {
            ++end;
        }
        if (end == 0) {
            throw std::invalid_argument("the value is missing; an empty one is written \"\"");
        }
        return take(end);
    }

    /// Goes past the comma behind a pair.
    void end_pair() {
        if (at_end()) {
            return;
        }
        if (rest_.front() != ',') {
            throw std::invalid_argument(
                "a comma or the end of the line has to follow a value; one with blanks in it needs quotes");
        }
        rest_.remove_prefix(1);
    }

  private:
    void skip_blanks() {
        while (!rest_.empty() && is_blank(rest_.front())) {
            rest_.remove_prefix(1);
        }
    }

    std::string_view take(std::size_t size) {
        const std::string_view taken = rest_.substr(0, size);
        rest_.remove_prefix(size);
        return taken;
    }

    /// Whether a ":" at this place is followed by a tag, and not by the "=" of an operator.
    bool begins_tag(std::size_t at) const {
        return rest_[at] == ':' && at + 1 < rest_.size() && is_name_character(rest_[at + 1]);
    }

    utils::SecretText quoted_value(char quote) {
        std::string text;
        text.reserve(rest_.size());  // so that nothing is copied on the way
        std::size_t at = 1;
        while (at < rest_.size() && rest_[at] != quote) {
            if (rest_[at] != '\\') {
                text += rest_[at++];
            } else {
                at = read_escape(at + 1, quote, text);
            }
        }
        utils::SecretText value(text);
        utils::wipe(text);
        if (at >= rest_.size()) {
            throw std::invalid_argument("the quotation mark at the end of the value is missing");
        }
        rest_.remove_prefix(at + 1);
        return value;
    }

    /// Appends the character that an escape stands for. `at` is behind the backslash; returns the place
    /// behind the escape.
    std::size_t read_escape(std::size_t at, char quote, std::string& text) const {
        const char letter = at < rest_.size() ? rest_[at] : '\0';
        if (letter == '\\' || letter == quote) {
            text += letter;
            return at + 1;
        }
        if (quote == '\'') {
            text += '\\';
            return at;
        }
        switch (letter) {
            case '\'':
                text += '\'';
                return at + 1;
            case 'n':
                text += '\n';
                return at + 1;
            case 'r':
                text += '\r';
                return at + 1;
            case 't':
                text += '\t';
                return at + 1;
            default:
                break;
        }
        if (letter == 'x' && at + 2 < rest_.size() && utils::is_hex_digit(rest_[at + 1]) &&
            utils::is_hex_digit(rest_[at + 2])) {
            text += static_cast<char>(hex_digit_value(rest_[at + 1]) * 16 + hex_digit_value(rest_[at + 2]));
            return at + 3;
        }
        if (at + 2 < rest_.size() && letter <= '3' && is_octal_digit(letter) &&
            is_octal_digit(rest_[at + 1]) && is_octal_digit(rest_[at + 2])) {
            text +=
                static_cast<char>((letter - '0') * 64 + (rest_[at + 1] - '0') * 8 + (rest_[at + 2] - '0'));
            return at + 3;
        }
        throw std::invalid_argument(
            R"(an escape is one of \\ \" \' \n \r \t \xHH \OOO; a backslash itself is \\)");
    }

    std::string_view rest_;
};

/// Reads one attribute at the place into the request; one that is compared becomes a note.
void read_pair(LineReader& reader, const Place& place, FileRequest& request) {
    FileAttribute attribute;
    attribute.line = place.line;
    attribute.text.name = reader.name();
    const std::string_view comparison = reader.comparison();
    const std::string name = attribute.text.name;
    const std::string sign(comparison);
    attribute.text.value = reader.value();
    reader.end_pair();
    const bool is_read = comparison == ":=" || comparison == "+=" || comparison == "==";
    if (comparison == "=" || is_read) {
        request.attributes.push_back(std::move(attribute));
    }
    if (comparison != "=") {
        request.notes.push_back(
            {place.file, place.line, Severity::Note,
             is_read ? name + ": the operator " + sign + " is read as ="
                     : name + " is left out: the operator " + sign + " gives no value to send"});
    }
}

bool is_empty(const FileRequest& request) {
    return request.attributes.empty() && request.notes.empty();
}

bool is_blank_line(std::string_view line) {
    return std::all_of(line.begin(), line.end(), is_blank);
}

void read_line(std::string_view line, const Place& place, FileRequest& request) {
    LineReader reader(line);
    while (!reader.at_end()) {
        if (is_empty(request)) {
            request.line = place.line;
        }
        read_pair(reader, place, request);
    }
}

/// The content of the file, to be wiped by the caller: passwords may be in it.
std::string read_text(int descriptor, const std::string& name) {
    std::string text;
    std::array<char, 16384> buffer{};
    while (true) {
        const ssize_t count = read(descriptor, buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            throw FileError(name + ": cannot read: " + std::strerror(errno));
        }
        if (count == 0) {
            break;
        }
        text.append(buffer.data(), static_cast<std::size_t>(count));
        if (text.size() > max_file_size) {
            throw FileError(name + ": cannot read: larger than 16 MiB");
        }
    }
    utils::wipe(buffer.data(), buffer.size());
    return text;
}

}  // namespace

RequestFile parse_request_file(std::string_view text, const std::string& name) {
    RequestFile file{.name = name, .requests = {}};
    FileRequest request;
    const auto end_request = [&] {
        if (!is_empty(request)) {
            file.requests.push_back(std::exchange(request, {}));
        }
    };
    if (text.starts_with(byte_order_mark)) {
        text.remove_prefix(byte_order_mark.size());
    }
    for (std::uint32_t number = 1; !text.empty(); ++number) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (is_blank_line(line)) {
            end_request();
            continue;
        }
        try {
            read_line(line, {name, number}, request);
        } catch (const std::invalid_argument& error) {
            throw std::invalid_argument(place_text({name, number}) + ": " + error.what());
        }
    }
    end_request();
    return file;
}

RequestFile read_request_file(const std::string& path) {
    if (path == "-") {
        std::string text = read_text(STDIN_FILENO, "standard input");
        RequestFile file = parse_request_file(text, "standard input");
        utils::wipe(text);
        return file;
    }
    const utils::FileDescriptor descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (descriptor.get() < 0) {
        throw FileError(path + ": cannot read: " + std::strerror(errno));
    }
    std::string text = read_text(descriptor.get(), path);
    RequestFile file = parse_request_file(text, path);
    utils::wipe(text);
    return file;
}

}  // namespace quarn::quarn_radius
