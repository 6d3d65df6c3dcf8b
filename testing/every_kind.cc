#include "testing/every_kind.h"

#include <initializer_list>
#include <string>

#include "quarn/radius/code_path.h"
#include "testing/scratch_folder.h"

namespace quarn::fuzz {

namespace {

using subscriber::radius::CodePath;

/// Writes the "attributes" of one file.
class Definitions {
  public:
    void add(const CodePath& path, std::string_view type, std::string_view flags = "") {
        const std::string code = subscriber::radius::radius_code_path_to_string(path);
        text_ += (text_.empty() ? "" : ",\n") + std::string("\"A-") + code + "\": {\"code\": \"" + code +
                 "\", \"type\": \"" + std::string(type) + "\"" + std::string(flags) + "}";
    }

    void add_leaves(const CodePath& place) {
        for (std::uint32_t i = 0; i < type_names.size(); ++i) {
            const bool is_enum = type_names[i] == "enum";
            const std::string values =
                is_enum ? R"(, "values": {"Off": 0, "On": 1, "Most": 4294967295})" : "";
            add(below(place, first_type + i), type_names[i], values);
            add(below(place, first_tagged_type + i), type_names[i], R"(, "has_tag": true)" + values);
        }
        add(below(place, hidden_as_user_password_text), "text", R"(, "encrypt": 1)");
        add(below(place, hidden_as_tunnel_password_octets), "octets", R"(, "encrypt": 2)");
        add(below(place, hidden_tagged_number), "integer", R"(, "encrypt": 2, "has_tag": true)");
        add(below(place, hidden_tagged_text), "text", R"(, "encrypt": 2, "has_tag": true)");
        add(below(place, hidden_concat), "octets", R"(, "encrypt": 2, "concat": true)");
        add(below(place, concat_octets), "octets", R"(, "concat": true)");
        add(below(place, tagged_concat), "octets", R"(, "has_tag": true, "concat": true)");
        add(below(place, tagged_concat_number), "integer64", R"(, "has_tag": true, "concat": true)");
        add(below(place, unknown_hiding_method), "octets", R"(, "encrypt": 3)");
        add(below(place, structure), "struct");
    }

    void add_place(const CodePath& place) {
        add_leaves(place);
        for (const auto& [code, flags] : {std::pair(tlv, ""), std::pair(concat_tlv, R"(, "concat": true)")}) {
            const CodePath outer = below(place, code);
            add(outer, "tlv", flags);
            add_leaves(outer);
            const CodePath inner = below(outer, tlv);
            add(inner, "tlv");
            add(below(inner, first_type + 1), "octets");
            add(below(inner, hidden_tagged_text), "text", R"(, "encrypt": 2, "has_tag": true)");
        }
    }

    void add_bottomless_tlv(const CodePath& place) {
        CodePath path = below(place, bottomless_tlv);
        for (std::size_t level = 0; level < tlv_levels; ++level) {
            add(path, "tlv");
            path.push_back(1);
        }
    }

    std::string file(const std::string& vendor = "") const {
        return "{" + vendor + "\"attributes\": {\n" + text_ + "\n}}\n";
    }

  private:
    static CodePath below(CodePath path, std::uint32_t code) {
        path.push_back(code);
        return path;
    }

    std::string text_;
};

std::string standard_file() {
    Definitions standard;
    standard.add({1}, "text");
    standard.add({2}, "text", R"(, "encrypt": 1)");
    standard.add({4}, "ipv4addr");
    standard.add({5}, "integer");
    standard.add({6}, "enum", R"(, "values": {"Login-User": 1, "Framed-User": 2})");
    standard.add({18}, "text");
    standard.add({24}, "octets");
    standard.add({25}, "octets");
    standard.add({26}, "vsa");
    standard.add({64}, "enum", R"(, "has_tag": true, "values": {"PPTP": 1, "L2TP": 3})");
    standard.add({69}, "text", R"(, "has_tag": true, "encrypt": 2)");
    standard.add({79}, "octets", R"(, "concat": true)");
    return standard.file();
}

/// Names that matter: the validator looks for the one, and a packet calls an attribute of the unknown type 99
/// by the other.
constexpr std::string_view names_file = R"({"attributes": {
"Message-Authenticator": {"code": "80", "type": "octets"},
"attr-99": {"code": "154", "type": "octets"}
}})";

std::string plain_file() {
    Definitions plain;
    plain.add_place({});
    plain.add_bottomless_tlv({});
    return plain.file();
}

std::string extended_file() {
    Definitions extended;
    extended.add({241}, "extended");
    extended.add_place({241});
    extended.add_bottomless_tlv({241});
    extended.add({241, 26}, "evs");
    extended.add_place({241, 26, extended_vendor});
    extended.add({243}, "octets");
    extended.add({245}, "long-extended");
    extended.add_place({245});
    extended.add_bottomless_tlv({245});
    extended.add({245, 26}, "evs");
    extended.add_place({245, 26, extended_vendor});
    return extended.file();
}

std::string vendor_file(const Vendor& vendor) {
    const std::string id = std::to_string(vendor.id);
    Definitions attributes;
    attributes.add_place({26, vendor.id});
    attributes.add_bottomless_tlv({26, vendor.id});
    return attributes.file("\"vendor\": {\"id\": " + id + ", \"name\": \"V-" + id + "\", \"format\": \"" +
                           std::to_string(vendor.type_size) + "," + std::to_string(vendor.length_size) +
                           (vendor.continuation ? ",c" : "") + "\"}, ");
}

}  // namespace

const std::shared_ptr<const subscriber::radius::RadiusDictionary>& dictionary_of_every_kind() {
    static const std::shared_ptr<const subscriber::radius::RadiusDictionary> loaded = [] {
        const test::ScratchFolder folder;
        folder.write("standard", standard_file());
        folder.write("names", names_file);
        folder.write("plain", plain_file());
        folder.write("extended", extended_file());
        std::string includes = "includes: [standard, names, plain, extended";
        for (const Vendor& vendor : vendors) {
            const std::string name = std::to_string(vendor.id);
            folder.write(name, vendor_file(vendor));
            includes += ", '" + name + "'";
        }
        auto dictionary = std::make_shared<subscriber::radius::RadiusDictionary>();
        dictionary->load(folder.write("dictionary.yaml", includes + "]\n"));
        return dictionary;
    }();
    return loaded;
}

}  // namespace quarn::fuzz
