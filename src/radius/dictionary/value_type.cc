#include "quarn/radius/value_type.h"

#include <algorithm>
#include <array>
#include <utility>

#include "quarn/utils/case_insensitive.h"

namespace quarn::subscriber::radius {

namespace {

constexpr std::array value_type_names = std::to_array<std::pair<std::string_view, ValueType>>({
    {"text", ValueType::Text},
    {"integer", ValueType::Integer},
    {"enum", ValueType::Integer},
    {"time", ValueType::Time},
    {"signed", ValueType::Signed},
    {"integer64", ValueType::Integer64},
    {"short", ValueType::Short},
    {"byte", ValueType::Byte},
    {"ipv4addr", ValueType::Ipv4Addr},
    {"ipv4prefix", ValueType::Ipv4Prefix},
    {"ipv6addr", ValueType::Ipv6Addr},
    {"ipv6prefix", ValueType::Ipv6Prefix},
    {"combo-ip", ValueType::ComboIp},
    {"ether", ValueType::Ether},
    {"ifid", ValueType::Ifid},
});

constexpr std::array container_kind_names = std::to_array<std::pair<std::string_view, ContainerKind>>({
    {"vsa", ContainerKind::Vsa},
    {"tlv", ContainerKind::Tlv},
    {"extended", ContainerKind::Extended},
    {"long-extended", ContainerKind::LongExtended},
    {"evs", ContainerKind::Evs},
    {"struct", ContainerKind::Struct},
});

template <typename Table, typename Result>
Result find_name(const Table& table, std::string_view name, Result otherwise) {
    const auto row = std::find_if(table.begin(), table.end(), [name](const auto& entry) {
        return utils::CaseInsensitiveEqual{}(entry.first, name);
    });
    return row == table.end() ? otherwise : row->second;
}

}  // namespace

ValueType classify_value_type(std::string_view type_name) {
    return find_name(value_type_names, type_name, ValueType::Octets);
}

ContainerKind classify_container_kind(std::string_view type_name) {
    return find_name(container_kind_names, type_name, ContainerKind::None);
}

std::uint32_t fixed_size_of(ValueType type) {
    switch (type) {
        case ValueType::Integer:
        case ValueType::Time:
        case ValueType::Signed:
            return 4;
        case ValueType::Integer64:
            return 8;
        case ValueType::Short:
            return 2;
        case ValueType::Byte:
            return 1;
        case ValueType::Octets:
        case ValueType::Text:
        case ValueType::Ipv4Addr:
        case ValueType::Ipv4Prefix:
        case ValueType::Ipv6Addr:
        case ValueType::Ipv6Prefix:
        case ValueType::ComboIp:
        case ValueType::Ether:
        case ValueType::Ifid:
            return 0;
    }
    return 0;
}

}  // namespace quarn::subscriber::radius
