#include "quarn_radius/send/request_draft.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <stdexcept>
#include <utility>

#include "quarn/radius/packet_code.h"
#include "quarn/radius/random.h"
#include "quarn/utils/case_insensitive.h"
#include "quarn/utils/text.h"

namespace quarn::quarn_radius {

namespace {

namespace radius = subscriber::radius;

using client::CredentialMethod;
using radius::RadiusAttribute;
using radius::RadiusPacket;

struct CodeWord {
    std::string_view word;
    std::uint8_t code;
};

constexpr std::array code_words = std::to_array<CodeWord>({
    {"access", radius::ACCESS_REQUEST},
    {"accounting", radius::ACCOUNTING_REQUEST},
    {"coa", radius::COA_REQUEST},
    {"disconnect", radius::DISCONNECT_REQUEST},
    {"status", radius::STATUS_SERVER},
});

/// Items by which request files steer other clients. They are on no wire.
constexpr std::array passed_over = std::to_array<std::string_view>({
    "Packet-Dst-IP-Address",
    "Packet-Dst-IPv6-Address",
    "Packet-Dst-Port",
    "Packet-Src-IP-Address",
    "Packet-Src-IPv6-Address",
    "Packet-Src-Port",
    "Response-Packet-Type",
});

/// Other items of this kind begin so.
constexpr std::string_view other_client = "Radclient-";

// Values of Service-Type (RFC 2865, section 5.6; RFC 5176, section 3.1) that ask for no password.
constexpr std::uint8_t call_check = 10;
constexpr std::uint8_t authorize_only = 17;

constexpr std::size_t chap_password_size = 17;  // an identifier and a digest (RFC 2865, section 5.3)
constexpr std::size_t mac_address_size = 6;

/// Whether an attribute proves who the user is, whatever the dictionary calls it: User-Password,
/// CHAP-Password, ARAP-Password, EAP-Message, Digest-Response, MS-CHAP-Response and MS-CHAP2-Response.
bool is_credential(const radius::CodePath& path) {
    constexpr std::array standard = std::to_array<std::uint32_t>({2, 3, 70, 79, 103});
    if (path.size() == 1) {
        return std::find(standard.begin(), standard.end(), path[0]) != standard.end();
    }
    return path == radius::CodePath{26, 311, 1} || path == radius::CodePath{26, 311, 25};
}

bool is_name(std::string_view left, std::string_view right) {
    return utils::CaseInsensitiveEqual{}(left, right);
}

class DraftBuilder {
  public:
    DraftBuilder(const DraftSettings& settings,
                 const std::shared_ptr<const radius::RadiusDictionary>& dictionary, const NasFacts& facts)
        : settings_(settings), facts_(facts), code_(settings.code), method_(settings.method) {
        draft_.packet = RadiusPacket(dictionary);
    }

    RequestDraft build(std::span<const PlacedAttribute> attributes, std::uint8_t identifier) {
        choose_code(attributes);
        RadiusPacket& packet = draft_.packet;
        packet.code = code_;
        packet.identifier = identifier;
        packet.authenticator = radius::random_authenticator();
        if (wants_message_authenticator(attributes)) {
            add_message_authenticator();
        }
        const bool names_user = has_attribute(attributes, "User-Name");
        if (!names_user) {
            add_user_name();
        }
        for (const PlacedAttribute& attribute : attributes) {
            add(attribute);
        }
        if (code_ == radius::ACCESS_REQUEST) {
            add_credentials();
            look_for_password();
        }
        if (!settings_.bare) {
            add_nas_attributes();
        }
        return std::move(draft_);
    }

  private:
    static bool has_attribute(std::span<const PlacedAttribute> attributes, std::string_view name) {
        return std::any_of(attributes.begin(), attributes.end(), [name](const PlacedAttribute& attribute) {
            return is_name(attribute.text->name, name);
        });
    }

    [[noreturn]] static void fail(const std::string& place, const std::string& reason) {
        throw std::invalid_argument(place.empty() ? reason : place + ": " + reason);
    }

    void choose_code(std::span<const PlacedAttribute> attributes) {
        for (const PlacedAttribute& attribute : attributes) {
            if (!is_name(attribute.text->name, "Packet-Type")) {
                continue;
            }
            const std::string_view value = attribute.text->value;
            const auto code = parse_request_code(value);
            if (!code) {
                fail(attribute.place, "Packet-Type: \"" + std::string(value) + "\" is no code of a request");
            }
            code_ = *code;
        }
    }

    /// Access-Requests and Status-Server are signed so (RFC 3579, section 3.2; RFC 5997, section 2); every
    /// other request is when somebody asks for it.
    bool wants_message_authenticator(std::span<const PlacedAttribute> attributes) const {
        return code_ == radius::ACCESS_REQUEST || code_ == radius::STATUS_SERVER ||
               has_attribute(attributes, "Message-Authenticator");
    }

    /// By number, so that a dictionary without it will do.
    void add_message_authenticator() {
        constexpr std::uint32_t type = 80;  // RFC 2869, section 5.14
        RadiusAttribute signature(draft_.packet.dictionary->top_level_attribute(type), {type},
                                  "Message-Authenticator");
        signature.values.emplace_back("octets", radius::Bytes(radius::ZERO16.size()), std::uint8_t{0}, false);
        draft_.packet.add_attribute(std::move(signature));
    }

    void add_user_name() {
        const std::string& name = settings_.username.empty() && code_ == radius::ACCESS_REQUEST
                                      ? settings_.mac_address
                                      : settings_.username;
        if (!name.empty()) {
            add_text("User-Name", name);
        }
    }

    void add_text(std::string_view name, std::string_view value) {
        if (const std::string problem = add_attribute(draft_.packet, {std::string(name), value});
            !problem.empty()) {
            fail({}, problem);
        }
    }

    /// Adds one of what a NAS adds, unless the request or the dictionary says otherwise.
    void add_default(std::string_view name, std::string_view value) {
        const RadiusPacket& packet = draft_.packet;
        if (packet.find_attribute(name) == nullptr && packet.dictionary->attribute_by_name(name).known) {
            add_text(name, value);
        }
    }

    void add(const PlacedAttribute& attribute) {
        const std::string_view name = attribute.text->name;
        const std::string_view value = attribute.text->value;
        if (is_name(name, "Packet-Type") || is_name(name, "Message-Authenticator")) {
            return;  // chosen and added already
        }
        const auto* const steering =
            std::find_if(passed_over.begin(), passed_over.end(),
                         [name](std::string_view item) { return is_name(name, item); });
        if (steering != passed_over.end()) {
            pass_over(attribute, "options say where a request goes to");
            return;
        }
        if (is_name(name.substr(0, other_client.size()), other_client)) {
            pass_over(attribute, "it is meant for another client");
            return;
        }
        if (code_ == radius::ACCESS_REQUEST && take_password(name, value)) {
            return;
        }
        if (const std::string problem = add_attribute(draft_.packet, *attribute.text); !problem.empty()) {
            fail(attribute.place, problem);
        }
    }

    void pass_over(const PlacedAttribute& attribute, const char* reason) {
        const std::string place = attribute.place.empty() ? "" : attribute.place + ": ";
        draft_.remarks.push_back(
            {"passed-over", place + attribute.text->name + " is passed over: " + reason});
    }

    /// Whether the attribute is the password for a method.
    bool take_password(std::string_view name, std::string_view value) {
        if (is_name(name, "CHAP-Password") && !is_chap_value(value)) {
            method_ = CredentialMethod::Chap;
        } else if (is_name(name, "MS-CHAP-Password")) {
            if (method_ != CredentialMethod::MsChapV2) {
                method_ = CredentialMethod::MsChap;
            }
        } else if (!is_name(name, "User-Password") && !is_name(name, "Cleartext-Password")) {
            return false;
        }
        password_ = value;
        return true;
    }

    static bool is_chap_value(std::string_view value) {
        return utils::is_hex_literal(value) && value.size() == 2 + 2 * chap_password_size;
    }

    std::optional<utils::SecretText> password() const {
        if (password_) {
            return password_;
        }
        if (settings_.password) {
            return settings_.password;
        }
        return settings_.mac_address.empty() ? std::nullopt
                                             : std::optional<utils::SecretText>(settings_.mac_address);
    }

    void add_credentials() {
        const std::optional<utils::SecretText> secret = password();
        const std::vector<const RadiusAttribute*> attributes = draft_.packet.attributes();
        const bool has_own =
            std::any_of(attributes.begin(), attributes.end(),
                        [](const RadiusAttribute* attribute) { return is_credential(attribute->code_path); });
        if (!secret || (has_own && !password_)) {
            return;
        }
        const RadiusAttribute* const user = draft_.packet.find_attribute("User-Name");
        const std::string user_name =
            user != nullptr && !user->values.empty() ? utils::to_text(user->values.front().data) : "";
        const auto added = client::add_credentials(draft_.packet, method_, user_name, *secret);
        if (!added) {
            fail({}, std::string(client::credential_error_text(added.error())));
        }
        draft_.mschapv2 = added->mschapv2;
    }

    void look_for_password() {
        const RadiusPacket& packet = draft_.packet;
        const RadiusAttribute* const user = packet.find_attribute("User-Name");
        const std::vector<const RadiusAttribute*> attributes = packet.attributes();
        const bool has_credential =
            std::any_of(attributes.begin(), attributes.end(),
                        [](const RadiusAttribute* attribute) { return is_credential(attribute->code_path); });
        const RadiusAttribute* const service = packet.find_attribute("Service-Type");
        const bool wants_none = service != nullptr && !service->values.empty() &&
                                service->values.front().data.size() == 4 &&
                                (service->values.front().data[3] == call_check ||
                                 service->values.front().data[3] == authorize_only);
        if (user == nullptr || user->values.empty() || has_credential || wants_none) {
            return;
        }
        draft_.lacks_password = true;
        draft_.remarks.push_back(
            {"no-password", "No password was given: the request has a User-Name and no credential."});
    }

    void add_nas_attributes() {
        switch (code_) {
            case radius::ACCESS_REQUEST:
                add_nas_name();
                add_port();
                if (const auto station = calling_station_id(settings_.mac_address)) {
                    add_default("Calling-Station-Id", *station);
                }
                break;
            case radius::ACCOUNTING_REQUEST:
                add_nas_name();
                add_port();
                add_default("Acct-Session-Id",
                            settings_.session_id.empty() ? facts_.session_id : settings_.session_id);
                add_default("Acct-Status-Type", settings_.session_id.empty() ? "1" : "3");  // start, interim
                remember_session_id();
                break;
            case radius::STATUS_SERVER:
                add_nas_name();
                break;
            case radius::COA_REQUEST:
            case radius::DISCONNECT_REQUEST:
                // RFC 5176, section 6.3: against replay. The NAS's own name is not this machine's to give.
                add_default("Event-Timestamp", std::to_string(facts_.now));
                break;
            default:
                break;
        }
    }

    /// RFC 2865, section 4.1: one of these has to be there.
    void add_nas_name() {
        const RadiusPacket& packet = draft_.packet;
        if (packet.find_attribute("NAS-IP-Address") == nullptr &&
            packet.find_attribute("NAS-IPv6-Address") == nullptr) {
            add_default("NAS-Identifier", facts_.identifier);
        }
    }

    void add_port() {
        const bool is_mac = !settings_.mac_address.empty();
        add_default("Service-Type", is_mac ? "10" : "2");   // Call-Check, Framed
        add_default("NAS-Port-Type", is_mac ? "15" : "5");  // Ethernet, Virtual
    }

    void remember_session_id() {
        const RadiusAttribute* const id = draft_.packet.find_attribute("Acct-Session-Id");
        if (id != nullptr && !id->values.empty()) {
            draft_.session_id = utils::to_text(id->values.front().data);
        }
    }

    const DraftSettings& settings_;
    const NasFacts& facts_;
    std::uint8_t code_;
    CredentialMethod method_;
    std::optional<utils::SecretText> password_;
    RequestDraft draft_;
};

}  // namespace

std::optional<std::string> calling_station_id(std::string_view address) {
    std::string digits;
    for (const char character : address) {
        if (utils::is_hex_literal(std::string("0x") + character)) {
            digits += character >= 'a' ? static_cast<char>(character - 'a' + 'A') : character;
        } else if (character != ':' && character != '-' && character != '.') {
            return std::nullopt;
        }
    }
    if (digits.size() != 2 * mac_address_size) {
        return std::nullopt;
    }
    for (std::size_t at = digits.size() - 2; at > 0; at -= 2) {
        digits.insert(at, 1, '-');
    }
    return digits;
}

RequestDraft::~RequestDraft() {
    for (const std::string_view name : {"User-Password", "Tunnel-Password"}) {
        const auto entry = packet.attribute_map.find(name);
        if (entry == packet.attribute_map.end()) {
            continue;
        }
        for (radius::RadiusValue& value : entry->second.values) {
            utils::wipe(value.data);
        }
    }
}

std::optional<std::uint8_t> parse_request_code(std::string_view text) {
    const auto* const row = std::find_if(code_words.begin(), code_words.end(),
                                         [text](const CodeWord& entry) { return is_name(entry.word, text); });
    if (row != code_words.end()) {
        return row->code;
    }
    if (const auto named = radius::packet_code_number(text)) {
        return *named;
    }
    const auto number = utils::parse_decimal<std::uint8_t>(text);
    return number && *number != 0 ? number : std::nullopt;
}

NasFacts facts_of_this_machine() {
    NasFacts facts;
    std::array<char, 256> name{};
    if (gethostname(name.data(), name.size() - 1) == 0) {
        facts.identifier = name.data();
    }
    if (facts.identifier.empty()) {
        facts.identifier = "quarn-radius";
    }
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    facts.now = static_cast<std::uint32_t>(std::chrono::duration_cast<std::chrono::seconds>(now).count());
    const radius::Authenticator random = radius::random_authenticator();
    facts.session_id = utils::bytes_to_hex(random.data(), 8);
    facts.first_identifier = random.back();
    return facts;
}

RequestDraft make_draft(const DraftSettings& settings, std::span<const PlacedAttribute> attributes,
                        std::uint8_t identifier,
                        const std::shared_ptr<const radius::RadiusDictionary>& dictionary,
                        const NasFacts& facts) {
    return DraftBuilder(settings, dictionary, facts).build(attributes, identifier);
}

}  // namespace quarn::quarn_radius
