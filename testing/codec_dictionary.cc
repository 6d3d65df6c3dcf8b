#include "testing/codec_dictionary.h"

#include "testing/dictionaries.h"
#include "testing/scratch_folder.h"

namespace quarn::test {

namespace {

constexpr std::string_view root = R"(
includes: [one.yaml, two.yaml, four.yaml, continued.yaml, long-type.yaml]
attributes:
  User-Name: {code: "1", type: text}
  User-Password: {code: "2", type: text, encrypt: 1}
  CHAP-Password: {code: "3", type: octets}
  NAS-IP-Address: {code: "4", type: ipv4addr}
  NAS-Port: {code: "5", type: integer}
  Framed-Protocol: {code: "7", type: enum, values: {PPP: 1, SLIP: 2}}
  Reply-Message: {code: "18", type: text}
  Class: {code: "25", type: octets}
  Vendor-Specific: {code: "26", type: vsa}
  Tunnel-Type: {code: "64", type: enum, has_tag: true, values: {L2TP: 3}}
  Tunnel-Client-Endpoint: {code: "66", type: text, has_tag: true}
  Tunnel-Password: {code: "69", type: text, has_tag: true, encrypt: 2}
  EAP-Message: {code: "79", type: octets, concat: true}
  Message-Authenticator: {code: "80", type: octets}
  NAS-Port-Id: {code: "87", type: text}
  Hidden-Octets: {code: "190", type: octets, encrypt: 2}
  Hidden-Number: {code: "191", type: integer, has_tag: true, encrypt: 2}
  Unhidden-Octets: {code: "192", type: octets, encrypt: 3}
  Tagged-Byte: {code: "193", type: byte, has_tag: true}
  Tagged-Short: {code: "194", type: short, has_tag: true}
  Tagged-Integer64: {code: "195", type: integer64, has_tag: true}
  Tagged-Concat: {code: "196", type: octets, has_tag: true, concat: true}
  Hidden-Concat: {code: "197", type: octets, encrypt: 2, concat: true}
  Second-Concat: {code: "198", type: octets, concat: true}
  Tlv-Top: {code: "199", type: tlv}
  Tlv-Top-Number: {code: "199.1", type: integer}
  Tlv-Top-Concat: {code: "199.2", type: octets, concat: true}
  Tlv-Concat: {code: "200", type: tlv, concat: true}
  Tlv-Concat-Octets: {code: "200.1", type: octets}
  Extended-1: {code: "241", type: extended}
  Extended-Text: {code: "241.1", type: text}
  Extended-Tlv: {code: "241.2", type: tlv}
  Extended-Tlv-Number: {code: "241.2.1", type: integer}
  Extended-Tlv-Tlv: {code: "241.2.2", type: tlv}
  Extended-Tlv-Tlv-Text: {code: "241.2.2.1", type: text}
  Extended-Concat: {code: "241.3", type: octets, concat: true}
  Extended-Tagged: {code: "241.4", type: integer, has_tag: true}
  Extended-Hidden: {code: "241.5", type: text, encrypt: 1}
  Extended-Vendor: {code: "241.26", type: evs}
  Extended-Vendor-Text: {code: "241.26.101.1", type: text}
  Extended-Vendor-Tlv: {code: "241.26.101.2", type: tlv}
  Extended-Vendor-Tlv-Number: {code: "241.26.101.2.1", type: integer}
  Long-Extended-1: {code: "245", type: long-extended}
  Long-Octets: {code: "245.1", type: octets}
  Long-Tlv: {code: "245.2", type: tlv}
  Long-Tlv-Octets: {code: "245.2.1", type: octets}
  Long-Hidden: {code: "245.3", type: text, encrypt: 1}
  Long-Tagged: {code: "245.4", type: text, has_tag: true}
  Long-Concat: {code: "245.5", type: octets, concat: true}
  Long-Vendor: {code: "245.26", type: evs}
  Long-Vendor-Octets: {code: "245.26.101.1", type: octets}
  Long-Vendor-Tlv: {code: "245.26.101.2", type: tlv}
  Long-Vendor-Tlv-Number: {code: "245.26.101.2.1", type: integer}
  Codeless: {type: text}
)";

constexpr std::string_view one = R"(
vendor: {id: 101, name: One, format: "1,1"}
attributes:
  One-Text: {code: "26.101.1", type: text}
  One-Number: {code: "26.101.2", type: integer}
  One-Tlv: {code: "26.101.3", type: tlv}
  One-Tlv-Number: {code: "26.101.3.1", type: integer}
  One-Tlv-Tlv: {code: "26.101.3.2", type: tlv}
  One-Tlv-Tlv-Text: {code: "26.101.3.2.5", type: text}
  One-Hidden: {code: "26.101.4", type: text, encrypt: 1}
  One-Salted: {code: "26.101.5", type: text, encrypt: 2}
  One-Tagged: {code: "26.101.6", type: integer, has_tag: true}
  One-Concat: {code: "26.101.7", type: octets, concat: true}
)";

constexpr std::string_view two = R"(
vendor: {id: 102, name: Two, format: "2,2"}
attributes:
  Two-Text: {code: "26.102.258", type: text}
)";

constexpr std::string_view four = R"(
vendor: {id: 103, name: Four, format: "4,4"}
attributes:
  Four-Text: {code: "26.103.16909060", type: text}
)";

constexpr std::string_view continued = R"(
vendor: {id: 104, name: Continued, format: "1,1,c"}
attributes:
  Continued-Octets: {code: "26.104.1", type: octets}
  Continued-Other: {code: "26.104.2", type: octets}
  Continued-Tlv: {code: "26.104.3", type: tlv}
  Continued-Tlv-Octets: {code: "26.104.3.1", type: octets}
  Continued-Concat: {code: "26.104.4", type: octets, concat: true}
  Continued-Plain: {code: "210", type: octets}
)";

constexpr std::string_view long_type = R"(
vendor: {id: 105, name: Long-Type, format: "2,1"}
attributes:
  Long-Type-Text: {code: "26.105.515", type: text}
)";

SharedDictionary load() {
    const ScratchFolder folder;
    folder.write("one.yaml", one);
    folder.write("two.yaml", two);
    folder.write("four.yaml", four);
    folder.write("continued.yaml", continued);
    folder.write("long-type.yaml", long_type);
    auto dictionary = std::make_shared<subscriber::radius::RadiusDictionary>();
    dictionary->load(folder.write("dictionary.yaml", root));
    return dictionary;
}

}  // namespace

SharedDictionary codec_dictionary() {
    static const SharedDictionary dictionary = load();
    return dictionary;
}

SharedDictionary dictionary_without_vendor_specific() {
    return dictionary_from(R"(
attributes:
  Opaque-26: {code: "26", type: octets}
  Opaque-241: {code: "241", type: octets}
)");
}

}  // namespace quarn::test
