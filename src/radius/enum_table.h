// The enumerated values of one attribute.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quarn::subscriber::radius {

/// Names and numbers, each found by the other. A dictionary has thousands of values, most of which no run
/// asks for: sorted positions cost a fraction of what maps do to fill and to free. Of two values with one
/// name, or with one number, the later one is found.
class EnumTable {
  public:
    /// Adds a value. The name is kept as written.
    void add(std::string name, std::uint32_t number);

    /// The number of a name, which is matched without regard to ASCII case.
    std::optional<std::uint32_t> number_of(std::string_view name) const;

    /// The name of a number as written; null when there is none. Valid until a value is added.
    const std::string* name_of(std::uint32_t number) const;

  private:
    struct Entry {
        std::string name;
        std::uint32_t number;
    };
    struct HashedPosition {
        std::size_t hash;
        std::uint32_t position;
    };

    std::vector<HashedPosition>::const_iterator find_name(std::string_view name, std::size_t hash) const;
    std::vector<std::uint32_t>::const_iterator find_number(std::uint32_t number) const;

    std::vector<Entry> entries_;            // in the order in which they were added
    std::vector<HashedPosition> by_name_;   // into `entries_`, one for each name, by its hash
    std::vector<std::uint32_t> by_number_;  // the same for each number, by it
};

}  // namespace quarn::subscriber::radius
