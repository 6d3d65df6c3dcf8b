#include "quarn_radius/send/profile.h"

#include <yaml-cpp/yaml.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <stdexcept>
#include <string_view>

#include "quarn/utils/nearest_name.h"
#include "quarn/utils/whole_file.h"
#include "quarn_radius/dictionary/problem.h"
#include "quarn_radius/send/argument_secrets.h"

namespace quarn::quarn_radius {

namespace {

constexpr std::array keys =
    std::to_array<std::string_view>({"server", "secret-file", "password-file", "options", "attributes"});

/// The 1-based line on which a node begins.
std::uint32_t line_of(const YAML::Node& node) {
    return static_cast<std::uint32_t>(std::max(node.Mark().line, 0) + 1);
}

class ProfileReader {
  public:
    explicit ProfileReader(std::filesystem::path file) : path_(std::move(file)) {
        profile_.file = path_.string();
    }

    Profile read() {
        const YAML::Node root = load();
        if (root.IsNull()) {
            return profile_;
        }
        if (!root.IsMap()) {
            fail(line_of(root), "a profile is a map of " + all_keys());
        }
        for (const auto& entry : root) {
            read_entry(entry.first, entry.second);
        }
        return profile_;
    }

  private:
    [[noreturn]] void fail(std::uint32_t line, const std::string& reason) const {
        throw std::invalid_argument(place_text({profile_.file, line}) + ": " + reason);
    }

    static std::string all_keys() {
        std::string text;
        for (const std::string_view key : keys) {
            text.append(text.empty() ? "" : ", ").append(key);
        }
        return text;
    }

    YAML::Node load() const {
        std::string text;
        if (const auto failure = utils::read_whole_file(profile_.file, utils::FileKind::Regular, text)) {
            throw FileError(profile_.file + ": cannot read: " + failure->reason);
        }
        try {
            return YAML::Load(text);
        } catch (const YAML::ParserException& error) {
            fail(static_cast<std::uint32_t>(error.mark.line + 1), "not valid YAML: " + error.msg);
        } catch (const YAML::Exception& error) {
            throw FileError(profile_.file + ": cannot read: " + error.what());
        }
    }

    std::string scalar(const YAML::Node& node, std::uint32_t line, const std::string& what) const {
        if (!node.IsScalar()) {
            fail(line, what + " has to be a text or a number");
        }
        return node.Scalar();
    }

    void read_entry(const YAML::Node& key_node, const YAML::Node& value) {
        const std::uint32_t line = line_of(key_node);
        const std::string key = scalar(key_node, line, "a key");
        if (key == "server") {
            add_options(key, value, line);
        } else if (key == "secret-file" || key == "password-file") {
            const std::string file = resolved(scalar(value, line, "'" + key + "'"));
            profile_.options.push_back({key, file, line});
        } else if (key == "options") {
            read_options(value, line);
        } else if (key == "attributes") {
            read_attributes(value, line);
        } else {
            refuse_secret(key, line);
            fail(line, "unknown key \"" + key + "\"" + utils::suggestion(key, keys));
        }
    }

    /// A file that a profile names is meant from the profile's folder.
    std::string resolved(const std::string& file) const {
        const char* const home = std::getenv("HOME");
        if (file.starts_with("~/") && home != nullptr) {
            return (std::filesystem::path(home) / file.substr(2)).string();
        }
        return (path_.parent_path() / file).string();
    }

    void add_options(const std::string& name, const YAML::Node& values, std::uint32_t line) {
        if (!values.IsSequence()) {
            profile_.options.push_back({name, scalar(values, line, "'" + name + "'"), line});
            return;
        }
        for (const YAML::Node& value : values) {
            profile_.options.push_back(
                {name, scalar(value, line_of(value), "'" + name + "'"), line_of(value)});
        }
    }

    void read_options(const YAML::Node& options, std::uint32_t line) {
        if (!options.IsMap()) {
            fail(line, "'options' has to be a map");
        }
        for (const auto& option : options) {
            const std::uint32_t option_line = line_of(option.first);
            const std::string name = scalar(option.first, option_line, "an option's name");
            refuse_secret(name, option_line);
            add_options(name, option.second, option_line);
        }
    }

    [[noreturn]] void fail_for_secret(const std::string& name, std::uint32_t line) const {
        fail(line,
             "'" + name + "' does not belong in a profile; name a file with secret-file or password-file");
    }

    /// Fails for an option that is a secret itself.
    void refuse_secret(const std::string& name, std::uint32_t line) const {
        if (name == "secret" || name == "password" || name == "answer") {
            fail_for_secret(name, line);
        }
    }

    void read_attributes(const YAML::Node& attributes, std::uint32_t line) {
        if (!attributes.IsMap()) {
            fail(line, "'attributes' has to be a map of names to values");
        }
        for (const auto& attribute : attributes) {
            const std::uint32_t name_line = line_of(attribute.first);
            const std::string name = scalar(attribute.first, name_line, "an attribute's name");
            if (name.empty()) {
                fail(name_line, "an attribute's name is missing");
            }
            if (names_a_secret(name)) {
                fail_for_secret(name, name_line);
            }
            if (!attribute.second.IsSequence()) {
                add_attribute_text(name, scalar(attribute.second, name_line, name), name_line);
                continue;
            }
            for (const YAML::Node& value : attribute.second) {
                add_attribute_text(name, scalar(value, line_of(value), name), line_of(value));
            }
        }
    }

    void add_attribute_text(const std::string& name, const std::string& value, std::uint32_t line) {
        FileAttribute attribute;
        attribute.text = {name, value};
        attribute.line = line;
        profile_.attributes.push_back(std::move(attribute));
    }

    std::filesystem::path path_;
    Profile profile_;
};

}  // namespace

std::filesystem::path profile_path(const std::string& name) {
    if (name.empty() || name.front() == '.' || name.find('/') != std::string::npos) {
        throw std::invalid_argument("--profile: \"" + name + "\" is no name of a profile");
    }
    const char* const config = std::getenv("XDG_CONFIG_HOME");
    const char* const home = std::getenv("HOME");
    std::filesystem::path folder;
    if (config != nullptr && config[0] == '/') {
        folder = config;
    } else if (home != nullptr && home[0] != '\0') {
        folder = std::filesystem::path(home) / ".config";
    } else {
        throw std::invalid_argument("--profile: neither XDG_CONFIG_HOME nor HOME is set");
    }
    return folder / "quarn-radius" / "send" / (name + ".yaml");
}

Profile read_profile(const std::filesystem::path& file) {
    return ProfileReader(file).read();
}

}  // namespace quarn::quarn_radius
