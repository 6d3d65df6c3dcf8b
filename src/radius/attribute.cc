#include "quarn/radius/attribute.h"

#include <utility>

namespace quarn::subscriber::radius {

std::string attribute_key(const CodePath& code_path, std::string_view name) {
    return name.empty() ? "attr-" + radius_code_path_to_string(code_path) : std::string(name);
}

RadiusAttribute::RadiusAttribute(const AttributeMetadata& record, CodePath path, std::string given_name)
    : metadata(&record),
      code_path(std::move(path)),
      name(record.known ? std::string() : std::move(given_name)) {
    if (name.empty() && !record.known) {
        name = attribute_key(code_path, "");
    }
}

const std::string& RadiusAttribute::display_name() const {
    return metadata->known ? metadata->name : name;
}

}  // namespace quarn::subscriber::radius
