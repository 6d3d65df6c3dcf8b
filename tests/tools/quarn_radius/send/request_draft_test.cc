#include "quarn_radius/send/request_draft.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <list>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "quarn/radius/packet_code.h"
#include "quarn_radius/send/value_text.h"
#include "testing/dictionaries.h"
#include "testing/scratch_folder.h"
#include "testing/thrown_text.h"

namespace quarn::quarn_radius {
namespace {

namespace radius = subscriber::radius;

using Lines = std::vector<std::string>;

const NasFacts facts{.identifier = "nas", .now = 1700000000, .session_id = "0123456789abcdef"};

RequestDraft draft_of(const DraftSettings& settings, const std::vector<std::string>& arguments) {
    std::list<AttributeText> texts;
    std::vector<PlacedAttribute> attributes;
    int line = 0;
    for (const std::string& argument : arguments) {
        texts.push_back(*split_attribute(argument));
        attributes.push_back({&texts.back(), "file:" + std::to_string(++line)});
    }
    return make_draft(settings, attributes, 7, test::shipped_dictionary(), facts);
}

/// The packet's attributes; a Message-Authenticator without its value, credentials by their size.
Lines lines_of(const RequestDraft& draft) {
    Lines lines;
    for (const auto* const attribute : draft.packet.attributes()) {
        for (const auto& value : attribute->values) {
            const std::string& name = attribute->display_name();
            const bool is_random = name == "CHAP-Password" || name.starts_with("MS-CHAP");
            lines.push_back(name == "Message-Authenticator" ? name
                            : is_random ? name + " of " + std::to_string(value.data.size())
                                        : attribute_line(*attribute, value, draft.packet.dictionary.get()));
        }
    }
    return lines;
}

Lines lines(const DraftSettings& settings, const std::vector<std::string>& arguments = {}) {
    return lines_of(draft_of(settings, arguments));
}

DraftSettings settings_for(std::uint8_t code) {
    DraftSettings settings;
    settings.code = code;
    return settings;
}

TEST(RequestCode, IsAWordANameOrANumber) {
    EXPECT_EQ(parse_request_code("access"), radius::ACCESS_REQUEST);
    EXPECT_EQ(parse_request_code("accounting"), radius::ACCOUNTING_REQUEST);
    EXPECT_EQ(parse_request_code("coa"), radius::COA_REQUEST);
    EXPECT_EQ(parse_request_code("disconnect"), radius::DISCONNECT_REQUEST);
    EXPECT_EQ(parse_request_code("Status"), radius::STATUS_SERVER);
    EXPECT_EQ(parse_request_code("Disconnect-Request"), radius::DISCONNECT_REQUEST);
    EXPECT_EQ(parse_request_code("99"), 99);
    for (const char* const text : {"", "0", "256", "acces", "-1", "1x"}) {
        EXPECT_FALSE(parse_request_code(text)) << text;
    }
}

TEST(RequestDraft, OfAccessIsSignedFirstAndHasWhatANasSends) {
    DraftSettings settings;
    settings.username = "bob";
    settings.password = "hello";
    const RequestDraft draft = draft_of(settings, {"Calling-Station-Id=a"});
    EXPECT_EQ(draft.packet.code, radius::ACCESS_REQUEST);
    EXPECT_EQ(draft.packet.identifier, 7);
    EXPECT_NE(draft.packet.authenticator, radius::ZERO16);
    EXPECT_EQ(lines_of(draft),
              (Lines{"Message-Authenticator", "User-Name = \"bob\"", "Calling-Station-Id = \"a\"",
                     "User-Password = \"hello\"", "NAS-Identifier = \"nas\"", "Service-Type = Framed-User",
                     "NAS-Port-Type = Virtual"}));
}

TEST(RequestDraft, LeavesOutWhatIsThereAndWhatBareForbids) {
    DraftSettings settings;
    EXPECT_EQ(lines(settings, {"NAS-IP-Address=192.0.2.1", "Service-Type=1", "NAS-Port-Type=15"}),
              (Lines{"Message-Authenticator", "NAS-IP-Address = 192.0.2.1", "Service-Type = Login-User",
                     "NAS-Port-Type = Ethernet"}));
    settings.bare = true;
    EXPECT_EQ(lines(settings, {"User-Name=bob"}), (Lines{"Message-Authenticator", "User-Name = \"bob\""}));
}

TEST(RequestDraft, MakesEachKindOfCredential) {
    DraftSettings settings;
    settings.bare = true;
    settings.username = "bob";
    settings.password = "hello";
    settings.method = client::CredentialMethod::Chap;
    EXPECT_EQ(lines(settings),
              (Lines{"Message-Authenticator", "User-Name = \"bob\"", "CHAP-Password of 17"}));
    settings.method = client::CredentialMethod::MsChap;
    EXPECT_EQ(lines(settings), (Lines{"Message-Authenticator", "User-Name = \"bob\"",
                                      "MS-CHAP-Challenge of 8", "MS-CHAP-Response of 50"}));
    settings.method = client::CredentialMethod::MsChapV2;
    const RequestDraft draft = draft_of(settings, {});
    EXPECT_EQ(lines_of(draft), (Lines{"Message-Authenticator", "User-Name = \"bob\"",
                                      "MS-CHAP-Challenge of 16", "MS-CHAP2-Response of 50"}));
    EXPECT_TRUE(draft.mschapv2);
}

TEST(RequestDraft, TakesCredentialsAsRequestFilesNameThem) {
    DraftSettings settings;
    settings.bare = true;
    const std::string signature = "Message-Authenticator";
    const std::string bob = "User-Name = \"bob\"";
    EXPECT_EQ(lines(settings, {"User-Name=bob", "User-Password=hello"}),
              (Lines{signature, bob, "User-Password = \"hello\""}));
    EXPECT_EQ(lines(settings, {"User-Name=bob", "Cleartext-Password=hello"}),
              (Lines{signature, bob, "User-Password = \"hello\""}));
    EXPECT_EQ(lines(settings, {"User-Name=bob", "CHAP-Password=hello"}),
              (Lines{signature, bob, "CHAP-Password of 17"}));
    EXPECT_EQ(lines(settings, {"User-Name=bob", "CHAP-Password=0x" + std::string(34, '0')}),
              (Lines{signature, bob, "CHAP-Password of 17"}));
    EXPECT_EQ(lines(settings, {"User-Name=bob", "MS-CHAP-Password=hello"}),
              (Lines{signature, bob, "MS-CHAP-Challenge of 8", "MS-CHAP-Response of 50"}));
    settings.method = client::CredentialMethod::Chap;
    EXPECT_EQ(lines(settings, {"User-Name=bob", "User-Password=hello"}),
              (Lines{signature, bob, "CHAP-Password of 17"}));
}

TEST(RequestDraft, OfMacAuthenticationIsWhatSwitchesSend) {
    DraftSettings settings;
    settings.mac_address = "001122aabbcc";
    EXPECT_EQ(lines(settings), (Lines{"Message-Authenticator", "User-Name = \"001122aabbcc\"",
                                      "User-Password = \"001122aabbcc\"", "NAS-Identifier = \"nas\"",
                                      "Service-Type = Call-Check", "NAS-Port-Type = Ethernet",
                                      "Calling-Station-Id = \"00-11-22-AA-BB-CC\""}));
    for (const std::string text : {"00:11:22:aa:bb:cc", "00-11-22-AA-BB-CC", "0011.22aa.bbcc"}) {
        settings.mac_address = text;
        EXPECT_EQ(lines(settings).back(), "Calling-Station-Id = \"00-11-22-AA-BB-CC\"");
        EXPECT_EQ(lines(settings)[1], "User-Name = \"" + text + "\"");
    }
    EXPECT_FALSE(calling_station_id("0011"));
    EXPECT_FALSE(calling_station_id("00112233445g"));
    EXPECT_FALSE(calling_station_id(""));
}

TEST(RequestDraft, OfAccountingBeginsOrTakesUpASession) {
    DraftSettings settings = settings_for(radius::ACCOUNTING_REQUEST);
    const RequestDraft start = draft_of(settings, {"User-Name=bob"});
    EXPECT_EQ(lines_of(start), (Lines{"User-Name = \"bob\"", "NAS-Identifier = \"nas\"",
                                      "Service-Type = Framed-User", "NAS-Port-Type = Virtual",
                                      "Acct-Session-Id = \"0123456789abcdef\"", "Acct-Status-Type = Start"}));
    EXPECT_EQ(start.session_id, "0123456789abcdef");
    settings.session_id = "17";
    const Lines interim = lines(settings);
    EXPECT_EQ(interim[interim.size() - 2], "Acct-Session-Id = \"17\"");
    EXPECT_EQ(interim.back(), "Acct-Status-Type = Interim-Update");
    const RequestDraft stop = draft_of(settings, {"Acct-Status-Type=Stop"});
    EXPECT_EQ(lines_of(stop).front(), "Acct-Status-Type = Stop");
    EXPECT_EQ(stop.session_id, "17");
}

TEST(RequestDraft, OfOtherCodesHasWhatTheirRfcsWant) {
    EXPECT_EQ(lines(settings_for(radius::STATUS_SERVER)),
              (Lines{"Message-Authenticator", "NAS-Identifier = \"nas\""}));
    EXPECT_EQ(lines(settings_for(radius::COA_REQUEST), {"User-Name=bob"}),
              (Lines{"User-Name = \"bob\"", "Event-Timestamp = 2023-11-14T22:13:20Z"}));
    EXPECT_EQ(lines(settings_for(radius::DISCONNECT_REQUEST), {"Event-Timestamp=0"}),
              (Lines{"Event-Timestamp = 1970-01-01T00:00:00Z"}));
    EXPECT_EQ(lines(settings_for(99), {"User-Name=bob"}), (Lines{"User-Name = \"bob\""}));
}

TEST(RequestDraft, SignsWhatIsAskedToBeSigned) {
    EXPECT_EQ(
        lines(settings_for(radius::COA_REQUEST), {"User-Name=bob", "Message-Authenticator=0x00"}),
        (Lines{"Message-Authenticator", "User-Name = \"bob\"", "Event-Timestamp = 2023-11-14T22:13:20Z"}));
    EXPECT_EQ(lines(settings_for(radius::STATUS_SERVER), {"Message-Authenticator=0x00"}),
              (Lines{"Message-Authenticator", "NAS-Identifier = \"nas\""}));
}

TEST(RequestDraft, TakesItsCodeFromPacketTypeAndPassesOverWhereToSendIt) {
    const RequestDraft draft = draft_of(
        DraftSettings(), {"Packet-Type=Disconnect-Request", "Packet-Dst-Port=3799", "Acct-Session-Id=17"});
    EXPECT_EQ(draft.packet.code, radius::DISCONNECT_REQUEST);
    EXPECT_EQ(lines_of(draft), (Lines{"Acct-Session-Id = \"17\"", "Event-Timestamp = 2023-11-14T22:13:20Z"}));
    EXPECT_EQ(
        draft.remarks,
        (std::vector<Remark>{
            {"passed-over", "file:2: Packet-Dst-Port is passed over: options say where a request goes to"}}));
}

TEST(RequestDraft, PassesOverWhatIsMeantForAnotherClient) {
    const RequestDraft draft = draft_of(settings_for(radius::STATUS_SERVER),
                                        {"Radclient-Test-Name=one", "radclient-coa-filename=a"});
    EXPECT_EQ(lines_of(draft), (Lines{"Message-Authenticator", "NAS-Identifier = \"nas\""}));
    EXPECT_EQ(
        draft.remarks,
        (std::vector<Remark>{
            {"passed-over", "file:1: Radclient-Test-Name is passed over: it is meant for another client"},
            {"passed-over",
             "file:2: radclient-coa-filename is passed over: it is meant for another client"}}));
}

TEST(RequestDraft, KnowsWhetherAPasswordIsMissing) {
    DraftSettings settings;
    const auto lacks = [&settings](const std::vector<std::string>& arguments) {
        const RequestDraft draft = draft_of(settings, arguments);
        EXPECT_EQ(draft.lacks_password,
                  std::any_of(draft.remarks.begin(), draft.remarks.end(),
                              [](const Remark& remark) { return remark.word == "no-password"; }));
        return draft.lacks_password;
    };
    EXPECT_TRUE(lacks({"User-Name=bob"}));
    EXPECT_TRUE(lacks({"1=0x626f62"}));
    EXPECT_TRUE(lacks({"User-Name=bob", "Session-Timeout=3", "Service-Type=Framed-User"}));
    EXPECT_FALSE(lacks({}));
    EXPECT_FALSE(lacks({"User-Name=bob", "user-password=x"}));
    EXPECT_FALSE(lacks({"User-Name=bob", "CHAP-PASSWORD=x"}));
    EXPECT_FALSE(lacks({"User-Name=bob", "3=0x" + std::string(34, '0')}));
    EXPECT_FALSE(lacks({"User-Name=bob", "79=0x0201000501"}));
    EXPECT_FALSE(lacks({"User-Name=bob", "26.311.1=0x" + std::string(100, '0')}));
    EXPECT_FALSE(lacks({"User-Name=bob", "MS-CHAP2-Response=0x" + std::string(100, '0')}));
    EXPECT_FALSE(lacks({"User-Name=001122334455", "Service-Type=Call-Check"})) << "MAC authentication";
    EXPECT_FALSE(lacks({"User-Name=bob", "Service-Type=17"})) << "Authorize-Only";
    settings.username = "bob";
    EXPECT_TRUE(lacks({}));
    settings.password = "";
    EXPECT_FALSE(lacks({}));
    settings.code = radius::ACCOUNTING_REQUEST;
    settings.password.reset();
    EXPECT_FALSE(lacks({}));
}

TEST(RequestDraft, IsSignedWhateverTheDictionaryDefines) {
    const test::ScratchFolder folder;
    const auto dictionary = std::make_shared<radius::RadiusDictionary>();
    dictionary->load(folder.write("tiny.yaml", "attributes:\n  User-Name: {code: 1, type: text}\n"));
    const RequestDraft draft = make_draft(settings_for(radius::STATUS_SERVER), {}, 7, dictionary, facts);
    ASSERT_EQ(draft.packet.attributes().size(), 1U);
    EXPECT_EQ(draft.packet.attributes().front()->code_path, (radius::CodePath{80}));
}

TEST(RequestDraft, TellsThePlaceOfWhatCannotBeAdded) {
    const auto problem = [](const std::vector<std::string>& arguments) {
        return test::thrown_text<std::invalid_argument>([&] { draft_of(DraftSettings(), arguments); });
    };
    EXPECT_EQ(problem({"User-Name=bob", "NAS-Prot=3"}),
              "file:2: unknown attribute \"NAS-Prot\", did you mean \"NAS-Port\"?");
    EXPECT_EQ(problem({"Packet-Type=Nothing"}), "file:1: Packet-Type: \"Nothing\" is no code of a request");
}

TEST(FactsOfThisMachine, AreNeverEmpty) {
    const NasFacts own = facts_of_this_machine();
    EXPECT_FALSE(own.identifier.empty());
    EXPECT_GT(own.now, 1700000000U);
    EXPECT_EQ(own.session_id.size(), 16U);
    EXPECT_NE(own.session_id, facts_of_this_machine().session_id);
}

}  // namespace
}  // namespace quarn::quarn_radius
