#include "quarn/radius/value_type.h"

#include <algorithm>
#include <array>
#include <limits>

#include "quarn/utils/case_insensitive.h"

namespace quarn::subscriber::radius {

namespace {

using enum ValueType;
using Kind = ContainerKind;

constexpr std::array rows = std::to_array<TypeRow>({
    {"text", Text, Kind::None, 0, {"string"}},
    {"integer", Integer, Kind::None, 4, {"integer", "uint32"}},
    {"enum", Integer, Kind::None, 4},
    {"time", Time, Kind::None, 4, {"date"}},
    {"signed", Signed, Kind::None, 4, {"signed", "int32"}},
    {"integer64", Integer64, Kind::None, 8, {"integer64", "uint64"}},
    {"short", Short, Kind::None, 2, {"short", "uint16"}},
    {"byte", Byte, Kind::None, 1, {"byte", "uint8"}},
    {"ipv4addr", Ipv4Addr, Kind::None, 0, {"ipaddr", "ipv4addr"}},
    {"ipv4prefix", Ipv4Prefix, Kind::None, 0, {"ipv4prefix"}},
    {"ipv6addr", Ipv6Addr, Kind::None, 0, {"ipv6addr"}},
    {"ipv6prefix", Ipv6Prefix, Kind::None, 0, {"ipv6prefix"}},
    {"combo-ip", ComboIp, Kind::None, 0, {"combo-ip"}},
    {"ether", Ether, Kind::None, 0, {"ether"}},
    {"ifid", Ifid, Kind::None, 0, {"ifid"}},
    {"octets", Octets, Kind::None, 0, {"octets"}},
    {"string", Octets},
    {"concat", Octets},
    {"vsa", Octets, Kind::Vsa, 0, {"vsa"}},
    {"tlv", Octets, Kind::Tlv, 0, {"tlv"}},
    {"extended", Octets, Kind::Extended, 0, {"extended"}},
    {"long-extended", Octets, Kind::LongExtended, 0, {"long-extended"}},
    {"evs", Octets, Kind::Evs, 0, {"evs"}},
    {"struct", Octets, Kind::Struct},
});

}  // namespace

std::span<const TypeRow> type_rows() {
    return rows;
}

const TypeRow* find_type(std::string_view type_name) {
    const auto* const row = std::find_if(rows.begin(), rows.end(), [type_name](const TypeRow& candidate) {
        return utils::CaseInsensitiveEqual{}(candidate.name, type_name);
    });
    return row != rows.end() ? row : nullptr;
}

ValueType classify_value_type(std::string_view type_name) {
    const TypeRow* const row = find_type(type_name);
    return row != nullptr ? row->value_type : Octets;
}

ContainerKind classify_container_kind(std::string_view type_name) {
    const TypeRow* const row = find_type(type_name);
    return row != nullptr ? row->kind : ContainerKind::None;
}

std::uint32_t fixed_size_of(ValueType type) {
    const auto* const row = std::find_if(
        rows.begin(), rows.end(), [type](const TypeRow& candidate) { return candidate.value_type == type; });
    return row != rows.end() ? row->width : 0;
}

std::uint32_t largest_number_of(ValueType type, bool has_tag) {
    const std::uint32_t width = fixed_size_of(type) - (has_tag && type == Integer ? 1 : 0);
    constexpr std::uint32_t largest = std::numeric_limits<std::uint32_t>::max();
    return width >= 1 && width <= 3 ? (std::uint32_t{1} << (8 * width)) - 1 : largest;
}

}  // namespace quarn::subscriber::radius
