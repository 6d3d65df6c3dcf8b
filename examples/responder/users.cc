#include "users.h"

#include <yaml-cpp/yaml.h>

namespace responder {

namespace {

Attributes read_attributes(const YAML::Node& list) {
    Attributes attributes;
    for (const YAML::Node& item : list) {
        for (const auto& attribute : item) {
            attributes.emplace_back(attribute.first.as<std::string>(), attribute.second.as<std::string>());
        }
    }
    return attributes;
}

}  // namespace

Users read_users(const std::string& path) {
    const YAML::Node root = YAML::LoadFile(path);
    Users users;
    users.secret = root["secret"].as<std::string>();
    for (const auto& entry : root["users"]) {
        const YAML::Node& properties = entry.second;
        User user;
        user.password = properties["password"].as<std::string>();
        user.challenged = properties["challenged"].as<bool>(false);
        user.reply = read_attributes(properties["reply"]);
        users.by_name.emplace(entry.first.as<std::string>(), std::move(user));
    }
    return users;
}

}  // namespace responder
