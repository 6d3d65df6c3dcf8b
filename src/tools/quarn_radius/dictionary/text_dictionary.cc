#include "quarn_radius/dictionary/text_dictionary.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <set>
#include <span>
#include <string_view>
#include <system_error>
#include <utility>

#include "quarn/radius/vendor_info.h"
#include "quarn/radius/wire_format.h"
#include "quarn/radius/written_number.h"
#include "quarn/utils/case_insensitive.h"
#include "quarn/utils/text.h"
#include "quarn/utils/whole_file.h"

namespace quarn::quarn_radius {

namespace {

namespace radius = subscriber::radius;
using radius::CodePath;
using Words = std::span<const std::string>;

/// Statements of newer dialects, which say things that the other format has no word for.
constexpr std::array foreign_statements = std::to_array<std::string_view>({
    "ALIAS",
    "BEGIN",
    "BEGIN-PROTOCOL",
    "BEGIN-STRUCT",
    "DEFINE",
    "END",
    "END-PROTOCOL",
    "END-STRUCT",
    "ENUM",
    "FLAGS",
    "MEMBER",
    "PROTOCOL",
    "STRUCT",
});

/// More levels of TLVs than an attribute of 255 bytes has room for. Each level repeats the code of those
/// above.
constexpr std::size_t max_code_size = 130;

/// The words of a line, without its comment.
std::vector<std::string> split_words(const std::string& line) {
    std::vector<std::string> words;
    std::string word;
    for (const char character : line.substr(0, line.find('#'))) {
        if (!utils::is_space(character)) {
            word += character;
        } else if (!word.empty()) {
            words.push_back(std::move(word));
            word.clear();
        }
    }
    if (!word.empty()) {
        words.push_back(std::move(word));
    }
    return words;
}

std::optional<std::uint32_t> parse_number(std::string_view text) {
    const auto number = radius::read_number(text);
    return number && !number->is_cut ? std::optional(number->low_bits) : std::nullopt;
}

class Reader {
  public:
    explicit Reader(Problems& problems) : problems_(problems) {}

    /// Whether the file could be read; its content goes to `result`.
    bool read_file(const std::filesystem::path& path);

    TextDictionary result;

  private:
    /// A BEGIN-VENDOR or BEGIN-TLV that waits for its end.
    struct Block {
        std::string keyword;  ///< "VENDOR" or "TLV"
        std::string name;
        CodePath prefix;  ///< what is put in front of every code inside
        std::optional<std::uint32_t> vendor;
        bool left_out = false;  ///< nothing inside can be carried over
        Place place;
    };

    /// A file that is being read, and where the one that includes it goes on.
    struct OpenFile {
        std::string text;
        std::size_t position;  ///< of the next line
        Place includer;
        std::size_t blocks_before;
    };

    void report(Severity severity, const std::string& text) {
        problems_.push_back({place_.file, place_.line, severity, text});
    }
    void error(const std::string& text) { report(Severity::Error, text); }

    bool open_file(const std::filesystem::path& path);
    void close_file();
    static std::string next_line(OpenFile& file);
    void read_line(const std::string& line);
    void read_include(Words words, bool optional);
    void read_vendor(Words words);
    void read_begin_vendor(Words words);
    void enter_extended_space(const std::string& option, Block& block);
    void read_begin_tlv(Words words);
    void read_end(const std::string& keyword, Words words);
    void read_attribute(Words words);
    bool read_flag(std::string_view flag, TextAttribute& attribute, CodePath& prefix);
    void read_value(Words words);

    const TextVendor* find_vendor(std::string_view name) const {
        const auto entry = vendors_by_name_.find(std::string(name));
        return entry == vendors_by_name_.end() ? nullptr : &result.vendors[entry->second];
    }

    Problems& problems_;
    Place place_;
    std::set<std::string> visited_;
    std::vector<OpenFile> open_;
    std::vector<Block> blocks_;
    std::map<std::string, std::size_t> vendors_by_name_;
    std::set<std::string> vendors_left_out_;
    std::map<std::string, CodePath> codes_by_name_;
    std::set<std::string> names_left_out_;
};

bool Reader::read_file(const std::filesystem::path& path) {
    if (!open_file(path)) {
        return false;
    }
    // Without recursion, and without a descriptor for each open file: more files in a row may each include
    // the next than the stack has room for.
    while (!open_.empty()) {
        if (OpenFile& file = open_.back(); file.position < file.text.size()) {
            ++place_.line;
            read_line(next_line(file));
        } else {
            close_file();
        }
    }
    return true;
}

/// The line at the position, without its end; the position moves on.
std::string Reader::next_line(OpenFile& file) {
    const std::size_t end = std::min(file.text.find('\n', file.position), file.text.size());
    const std::size_t begin = std::exchange(file.position, end + 1);
    return file.text.substr(begin, end - begin);
}

/// False when there is no such file to read; one that was read before is not read again. What is included has
/// to be a regular file: the root alone may be a pipe.
bool Reader::open_file(const std::filesystem::path& path) {
    std::error_code failure;
    const std::string file = std::filesystem::weakly_canonical(path, failure).string();
    if (failure) {
        return false;
    }
    if (visited_.contains(file)) {
        return true;
    }
    std::string text;
    const auto kind = visited_.empty() ? utils::FileKind::Any : utils::FileKind::Regular;
    if (utils::read_whole_file(file, kind, text)) {
        return false;
    }
    visited_.insert(file);
    open_.push_back({std::move(text), 0, place_, blocks_.size()});
    place_ = {file, 0};
    return true;
}

void Reader::close_file() {
    while (blocks_.size() > open_.back().blocks_before) {
        const Block& block = blocks_.back();
        problems_.push_back({block.place.file, block.place.line, Severity::Error,
                             "BEGIN-" + block.keyword + " " + block.name + " has no END-" + block.keyword});
        blocks_.pop_back();
    }
    place_ = open_.back().includer;
    open_.pop_back();
}

void Reader::read_line(const std::string& line) {
    const std::vector<std::string> words = split_words(line);
    if (words.empty()) {
        return;
    }
    const std::string& keyword = words.front();
    const Words rest = Words(words).subspan(1);
    if (keyword == "END-VENDOR" || keyword == "END-TLV") {
        read_end(keyword.substr(4), rest);
    } else if (!blocks_.empty() && blocks_.back().left_out && !keyword.starts_with("BEGIN-")) {
        // Told once, where the block begins.
        if (keyword == "ATTRIBUTE" && !rest.empty()) {
            names_left_out_.insert(utils::ascii_lower(rest.front()));
        }
    } else if (keyword == "ATTRIBUTE") {
        read_attribute(rest);
    } else if (keyword == "VALUE") {
        read_value(rest);
    } else if (keyword == "VENDOR") {
        read_vendor(rest);
    } else if (keyword == "BEGIN-VENDOR") {
        read_begin_vendor(rest);
    } else if (keyword == "BEGIN-TLV") {
        read_begin_tlv(rest);
    } else if (keyword == "$INCLUDE" || keyword == "$INCLUDE-") {
        read_include(rest, keyword.ends_with('-'));
    } else if (std::find(foreign_statements.begin(), foreign_statements.end(), keyword) !=
               foreign_statements.end()) {
        report(Severity::Warning, keyword + " cannot be expressed and is left out");
    } else {
        error("unknown statement " + keyword);
    }
}

void Reader::read_include(Words words, bool optional) {
    if (words.size() != 1) {
        error("$INCLUDE wants one file name");
        return;
    }
    const std::filesystem::path directory = std::filesystem::path(place_.file).parent_path();
    if (!open_file(directory / words[0]) && !optional) {
        error("cannot read " + words[0]);
    }
}

void Reader::read_vendor(Words words) {
    const auto id = words.size() >= 2 ? parse_number(words[1]) : std::nullopt;
    if (words.size() > 3 || !id) {
        error("VENDOR wants a name, a number and perhaps a format");
        return;
    }
    TextVendor vendor{words[0], *id, "1,1", place_};
    if (words.size() == 3) {
        constexpr std::string_view keyword = "format=";
        if (!words[2].starts_with(keyword)) {
            error("unknown option " + words[2] + " of VENDOR " + vendor.name);
            return;
        }
        vendor.format = words[2].substr(keyword.size());
        radius::VendorInfo ignored;
        std::string reason;
        if (!radius::parse_vendor_format(vendor.format, ignored.type_size, ignored.length_size,
                                         ignored.continuation, reason)) {
            report(Severity::Warning, "vendor " + vendor.name + " is left out: " + reason);
            vendors_left_out_.insert(vendor.name);
            return;
        }
    }
    vendors_by_name_[vendor.name] = result.vendors.size();
    result.vendors.push_back(std::move(vendor));
}

void Reader::read_begin_vendor(Words words) {
    Block block{"VENDOR", words.empty() ? "" : words[0], {}, std::nullopt, true, place_};
    if (words.empty() || words.size() > 2) {
        error("BEGIN-VENDOR wants a name and perhaps a format");
    } else if (vendors_left_out_.contains(block.name)) {
        report(Severity::Warning, "the attributes of vendor " + block.name + " are left out with it");
    } else if (const TextVendor* const vendor = find_vendor(block.name); vendor == nullptr) {
        error("BEGIN-VENDOR of the unknown vendor " + block.name);
    } else {
        block.vendor = vendor->id;
        block.left_out = false;
        block.prefix = {radius::VSA_TYPE, vendor->id};
        if (words.size() == 2) {
            enter_extended_space(words[1], block);
        }
    }
    blocks_.push_back(std::move(block));
}

/// RFC 6929, section 2.4: a vendor's space in one of the six extended attributes.
void Reader::enter_extended_space(const std::string& option, Block& block) {
    constexpr std::string_view space_name = "Extended-Vendor-Specific-";
    const std::size_t start = option.find(space_name);
    const std::string number = start == std::string::npos ? "" : option.substr(start + space_name.size());
    const std::uint32_t space = parse_number(number).value_or(0);
    constexpr std::uint32_t spaces = radius::last_extended_type - radius::first_extended_type + 1;
    if (space == 0 || space > spaces) {
        error("unknown option " + option + " of BEGIN-VENDOR " + block.name);
        block.left_out = true;
        return;
    }
    block.prefix = {radius::first_extended_type + space - 1, radius::VSA_TYPE, *block.vendor};
    TextAttribute holder;
    holder.name = std::string(space_name) + number + "-" + block.name;
    holder.code = block.prefix;
    holder.type = "evs";
    holder.vendor = block.vendor;
    holder.place = place_;
    report(Severity::Note, holder.name + " is added, to hold the attributes of this block");
    result.attributes.push_back(std::move(holder));
}

void Reader::read_begin_tlv(Words words) {
    Block block{"TLV", words.empty() ? "" : words[0], {}, std::nullopt, true, place_};
    if (!blocks_.empty()) {
        block.vendor = blocks_.back().vendor;
    }
    if (words.size() != 1) {
        error("BEGIN-TLV wants one name");
    } else if (blocks_.empty() || !blocks_.back().left_out) {
        const auto attribute = codes_by_name_.find(utils::ascii_lower(block.name));
        if (attribute == codes_by_name_.end()) {
            error("BEGIN-TLV of the unknown attribute " + block.name);
        } else {
            block.prefix = attribute->second;
            block.left_out = false;
        }
    }
    blocks_.push_back(std::move(block));
}

void Reader::read_end(const std::string& keyword, Words words) {
    const std::string name = words.empty() ? "" : words[0];
    if (blocks_.empty() || blocks_.back().keyword != keyword || blocks_.back().name != name) {
        error("END-" + keyword + " " + name + " has no BEGIN-" + keyword);
        return;
    }
    blocks_.pop_back();
}

void Reader::read_attribute(Words words) {
    if (words.size() < 3) {
        error("ATTRIBUTE wants a name, a code and a type");
        return;
    }
    TextAttribute attribute;
    attribute.name = words[0];
    attribute.type = words[2];
    attribute.place = place_;
    CodePath prefix;
    if (!blocks_.empty()) {
        prefix = blocks_.back().prefix;
        attribute.vendor = blocks_.back().vendor;
    }
    for (const std::string& word : words.subspan(3)) {
        for (const std::string& flag : utils::split(word, ',')) {
            if (!flag.empty() && !read_flag(flag, attribute, prefix)) {
                names_left_out_.insert(utils::ascii_lower(attribute.name));
                return;
            }
        }
    }
    const auto code = radius::read_plain_code_path(words[1]);
    if (!code) {
        error("invalid code " + words[1] + " of ATTRIBUTE " + attribute.name);
        names_left_out_.insert(utils::ascii_lower(attribute.name));
        return;
    }
    attribute.code = prefix;
    attribute.code.append(code->begin(), code->end());
    if (attribute.code.size() > max_code_size) {
        error("ATTRIBUTE " + attribute.name + " is nested too deeply");
        names_left_out_.insert(utils::ascii_lower(attribute.name));
        return;
    }
    codes_by_name_[utils::ascii_lower(attribute.name)] = attribute.code;
    result.attributes.push_back(std::move(attribute));
}

/// Whether the attribute can be carried over with this flag.
bool Reader::read_flag(std::string_view flag, TextAttribute& attribute, CodePath& prefix) {
    constexpr std::string_view encrypt = "encrypt=";
    if (flag == "has_tag") {
        attribute.has_tag = true;
    } else if (flag == "concat") {
        attribute.concat = true;
    } else if (flag == "array") {
        attribute.array = true;
    } else if (flag.starts_with(encrypt)) {
        const auto method = parse_number(flag.substr(encrypt.size()));
        if (!method) {
            error("invalid flag " + std::string(flag) + " of ATTRIBUTE " + attribute.name);
            return false;
        }
        attribute.encrypt = *method;
    } else if (flag == "virtual" || flag == "internal") {
        report(Severity::Warning,
               attribute.name + " is left out: it is " + std::string(flag) + " and never on the wire");
        return false;
    } else if (const TextVendor* const vendor = find_vendor(flag)) {
        // How vendors were named before there was BEGIN-VENDOR.
        attribute.vendor = vendor->id;
        prefix = {radius::VSA_TYPE, vendor->id};
    } else {
        report(Severity::Note,
               "the flag " + shortened(flag) + " of " + shortened(attribute.name) + " is dropped");
    }
    return true;
}

void Reader::read_value(Words words) {
    if (words.size() != 3) {
        error("VALUE wants an attribute, a name and a number");
        return;
    }
    if (names_left_out_.contains(utils::ascii_lower(words[0]))) {
        report(Severity::Note, "the value " + words[1] + " is left out with its attribute " + words[0]);
        return;
    }
    const auto number = parse_number(words[2]);
    if (!number) {
        error("invalid number " + words[2] + " of VALUE " + words[1] + " of " + words[0]);
        return;
    }
    result.values.push_back({words[0], words[1], *number, place_});
}

}  // namespace

TextDictionary read_text_dictionary(const std::string& path, Problems& problems) {
    Reader reader(problems);
    if (!reader.read_file(path)) {
        throw FileError(path + ": cannot read");
    }
    return std::move(reader.result);
}

}  // namespace quarn::quarn_radius
