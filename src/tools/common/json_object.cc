#include "common/json_object.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace quarn::tools {

std::string json_string(std::string_view text) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
    return {buffer.GetString(), buffer.GetSize()};
}

void JsonObject::add_raw(std::string_view key, std::string_view value) {
    if (!members_.empty()) {
        members_ += ", ";
    }
    members_.append(json_string(key)).append(": ").append(value);
}

}  // namespace quarn::tools
