#include "quarn/radius/enum_table.h"

#include <algorithm>
#include <utility>

#include "quarn/utils/ascii.h"

namespace quarn::subscriber::radius {

namespace {

/// Where `key` is or belongs among positions sorted by what `key_at` gives for them.
template <typename Positions, typename Key, typename KeyAt>
auto lower_bound(Positions& positions, const Key& key, KeyAt key_at) {
    return std::lower_bound(
        positions.begin(), positions.end(), key,
        [&key_at](std::uint32_t position, const Key& wanted) { return key_at(position) < wanted; });
}

/// Puts the latest position in its place, in that of an earlier one with the same key if there is one.
template <typename Key, typename KeyAt>
void insert_sorted(std::vector<std::uint32_t>& positions, std::uint32_t latest, const Key& key,
                   KeyAt key_at) {
    if (positions.empty() || key_at(positions.back()) < key) {  // dictionaries mostly list them in order
        positions.push_back(latest);
        return;
    }
    const auto place = lower_bound(positions, key, key_at);
    if (key_at(*place) == key) {
        *place = latest;
    } else {
        positions.insert(place, latest);
    }
}

}  // namespace

void EnumTable::add(std::string name, std::uint32_t number) {
    const auto latest = static_cast<std::uint32_t>(entries_.size());
    std::string name_lower = utils::ascii_lower(name);
    entries_.push_back({std::move(name), std::move(name_lower), number});
    insert_sorted(by_name_, latest, std::string_view(entries_.back().name_lower),
                  [this](std::uint32_t position) { return std::string_view(entries_[position].name_lower); });
    insert_sorted(by_number_, latest, number,
                  [this](std::uint32_t position) { return entries_[position].number; });
}

std::optional<std::uint32_t> EnumTable::number_of(std::string_view name) const {
    const std::string wanted = utils::ascii_lower(name);
    const auto place = lower_bound(by_name_, std::string_view(wanted), [this](std::uint32_t position) {
        return std::string_view(entries_[position].name_lower);
    });
    if (place == by_name_.end() || entries_[*place].name_lower != wanted) {
        return std::nullopt;
    }
    return entries_[*place].number;
}

const EnumTable::Entry* EnumTable::find_number(std::uint32_t number) const {
    const auto place =
        lower_bound(by_number_, number, [this](std::uint32_t position) { return entries_[position].number; });
    return place != by_number_.end() && entries_[*place].number == number ? &entries_[*place] : nullptr;
}

const std::string* EnumTable::name_of(std::uint32_t number) const {
    const Entry* const entry = find_number(number);
    return entry != nullptr ? &entry->name : nullptr;
}

const std::string* EnumTable::lower_name_of(std::uint32_t number) const {
    const Entry* const entry = find_number(number);
    return entry != nullptr ? &entry->name_lower : nullptr;
}

}  // namespace quarn::subscriber::radius
