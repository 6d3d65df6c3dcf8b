// JSON objects on one line, as they are printed and as they are written into dictionary files.
#pragma once

#include <concepts>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace quarn::tools {

/// The text as a JSON string, quotes included: always valid JSON (RFC 8259) on one line, whatever the bytes.
/// Control characters (U+0000 to U+001F, U+007F to U+009F) and those that reorder or end a line
/// (`is_layout_control`) are escaped; bytes that are not UTF-8 become U+FFFD, one for each maximal subpart.
std::string json_string(std::string_view text);

/// Builds {"key": value, ...} with its members in the order in which they are added.
///
///     JsonObject object;
///     object.add("name", "Cisco");
///     object.add("id", 9U);
///     object.text();  // {"name": "Cisco", "id": 9}
class JsonObject {
  public:
    void add(std::string_view key, std::string_view value) { add_raw(key, json_string(value)); }
    void add(std::string_view key, std::uint32_t value) { add_raw(key, std::to_string(value)); }
    void add(std::string_view key, std::same_as<bool> auto value) { add_raw(key, value ? "true" : "false"); }
    void add(std::string_view key, const JsonObject& value) { add_raw(key, value.text()); }

    /// A fraction with three decimal places.
    void add(std::string_view key, std::same_as<double> auto value) { add_raw(key, fraction_text(value)); }

    /// null.
    void add_null(std::string_view key) { add_raw(key, "null"); }

    /// An array of what are JSON texts already.
    void add_list(std::string_view key, std::span<const std::string> items);

    bool empty() const { return members_.empty(); }
    std::string text() const { return "{" + members_ + "}"; }

  private:
    static std::string fraction_text(double value);
    void add_raw(std::string_view key, std::string_view value);

    std::string members_;
};

}  // namespace quarn::tools
