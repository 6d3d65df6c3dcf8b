// Profiles of `send`: YAML files in the user's configuration folder.
//
//     # ~/.config/quarn-radius/send/lab.yaml
//     server: radius.example.net           # one, or a list
//     secret-file: lab.secret              # beside this file; ~/ and / lead elsewhere
//     options:                             # the long options, without their dashes
//       timeout: 1
//       method: mschapv2
//     attributes:                          # a list for several values
//       NAS-Identifier: probe
//       Cisco-AVPair: [a=1, b=2]
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "quarn_radius/dictionary/problem.h"
#include "quarn_radius/send/request_file.h"

namespace quarn::quarn_radius {

/// An option that a profile sets.
struct ProfileOption {
    std::string name;  ///< such as "timeout"
    std::string value;
    std::uint32_t line = 1;  ///< 1-based
};

/// What a profile holds.
struct Profile {
    std::string file;                    ///< its path
    std::vector<ProfileOption> options;  ///< "server" and "secret-file" among them
    std::vector<FileAttribute> attributes;
};

/// The path of the profile of this name: NAME.yaml in quarn-radius/send below $XDG_CONFIG_HOME, or below
/// ~/.config when that variable is empty or no absolute path (XDG Base Directory Specification). Throws
/// `std::invalid_argument` for a name that is no plain file name, and when the environment names no folder.
std::filesystem::path profile_path(const std::string& name);

/// Reads a profile. Throws `std::invalid_argument` "FILE:LINE: REASON" for the first thing that no profile
/// has, and `FileError` for a file that cannot be read. Whether options and attributes exist is not checked.
Profile read_profile(const std::filesystem::path& file);

}  // namespace quarn::quarn_radius
