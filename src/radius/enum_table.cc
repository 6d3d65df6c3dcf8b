#include "quarn/radius/enum_table.h"

#include <algorithm>
#include <utility>

#include "quarn/utils/case_insensitive.h"

namespace quarn::subscriber::radius {

namespace {

/// Where `key` is or belongs among index entries sorted by `key_of`.
template <typename Index, typename Key, typename KeyOf>
auto lower_bound(Index& index, Key key, KeyOf key_of) {
    return std::lower_bound(index.begin(), index.end(), key,
                            [key_of](const auto& entry, Key wanted) { return key_of(entry) < wanted; });
}

}  // namespace

void EnumTable::add(std::string name, std::uint32_t number) {
    const auto latest = static_cast<std::uint32_t>(entries_.size());
    entries_.push_back({std::move(name), number});

    const std::string_view key = entries_.back().name;
    const std::size_t hash = utils::CaseInsensitiveHash()(key);
    if (const auto place = find_name(key, hash); place != by_name_.end() && place->hash == hash) {
        by_name_[static_cast<std::size_t>(place - by_name_.begin())].position = latest;
    } else {
        by_name_.insert(place, {hash, latest});
    }

    if (by_number_.empty() || entries_[by_number_.back()].number < number) {  // mostly they come in order
        by_number_.push_back(latest);
    } else if (const auto place = find_number(number); entries_[*place].number == number) {
        by_number_[static_cast<std::size_t>(place - by_number_.begin())] = latest;
    } else {
        by_number_.insert(place, latest);
    }
}

std::optional<std::uint32_t> EnumTable::number_of(std::string_view name) const {
    const std::size_t hash = utils::CaseInsensitiveHash()(name);
    const auto place = find_name(name, hash);
    return place != by_name_.end() && place->hash == hash ? std::optional(entries_[place->position].number)
                                                          : std::nullopt;
}

const std::string* EnumTable::name_of(std::uint32_t number) const {
    const auto place = find_number(number);
    return place != by_number_.end() && entries_[*place].number == number ? &entries_[*place].name : nullptr;
}

std::vector<EnumTable::HashedPosition>::const_iterator EnumTable::find_name(std::string_view name,
                                                                            std::size_t hash) const {
    const auto start = lower_bound(by_name_, hash, [](const HashedPosition& entry) { return entry.hash; });
    // Names of one hash stand together; as good as always there is but one.
    return std::find_if(start, by_name_.end(), [&](const HashedPosition& entry) {
        return entry.hash != hash || utils::CaseInsensitiveEqual()(entries_[entry.position].name, name);
    });
}

std::vector<std::uint32_t>::const_iterator EnumTable::find_number(std::uint32_t number) const {
    return lower_bound(by_number_, number,
                       [this](std::uint32_t position) { return entries_[position].number; });
}

}  // namespace quarn::subscriber::radius
