// Who may get in, and what they get.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace responder {

/// Reply attributes in order: a dictionary name, with ":" and a tag number where a tag is wanted, and the
/// value as text.
using Attributes = std::vector<std::pair<std::string, std::string>>;

struct User {
    std::string password;
    bool challenged = false;  ///< answered with Access-Challenge instead of Access-Accept
    Attributes reply;
};

struct Users {
    std::string secret;
    std::map<std::string, User> by_name;
};

/// Reads a file such as users.yaml beside this source. Throws yaml-cpp's exceptions.
Users read_users(const std::string& path);

}  // namespace responder
