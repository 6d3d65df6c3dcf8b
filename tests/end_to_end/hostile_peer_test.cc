// A peer that means harm: it cannot make a run last, be believed, or reach the user's terminal.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "end_to_end/client.h"
#include "quarn/utils/text.h"
#include "testing/dictionaries.h"
#include "testing/hex.h"
#include "testing/scratch_folder.h"
#include "testing/wire.h"

namespace quarn::test {
namespace {

using utils::Bytes;

constexpr std::uint8_t access_accept = 2;
constexpr std::uint8_t access_reject = 3;

/// Many more datagrams than there are attempts, and no more than a socket's buffer holds.
constexpr std::size_t flood_size = 100;

/// Longer than any run here takes that does not wait without end, even on a slow machine.
constexpr std::chrono::seconds long_enough(25);

Bytes accept(const Bytes& request) {
    return reply_to(request, {.code = access_accept});
}

/// User-Name bob, password hello, and these options.
Setting with_options(std::vector<std::string> options) {
    options.insert(options.end(), {"--username", "bob", "--password", "hello"});
    return {.options = std::move(options)};
}

/// Answers one request with all the datagrams that the function makes from it.
template <typename Make>
UdpPeer::Answer answer_with(Make make_replies) {
    return [make_replies](std::span<const Datagram> requests) { return make_replies(requests.back().bytes); };
}

std::string times(std::size_t count, const std::string& text) {
    std::string repeated;
    for (std::size_t i = 0; i < count; ++i) {
        repeated += text;
    }
    return repeated;
}

void expect_unanswered(const Conversation& run, std::size_t attempts) {
    EXPECT_EQ(run.client.output, banner() + run.sent() + listing_of_bob());
    EXPECT_EQ(run.client.errors, times(attempts, run.no_reply()) + no_response_from(run.server()));
    EXPECT_EQ(run.client.ending, exited_with(1));
    EXPECT_LT(run.client.duration, long_enough);
}

// Floods. Each datagram that is no reply uses up an attempt, so that none of them can prolong the run.

/// A datagram that looks like an Access-Accept with an Identifier which is not the request's.
Bytes with_wrong_identifier(const Bytes& request, std::size_t number) {
    return reply_to(request,
                    {.code = access_accept, .identifier_offset = 1 + static_cast<int>(number % 255)});
}

TEST(HostilePeer, CannotProlongARunByAFloodOfWrongIdentifiers) {
    const auto flood = answer_with([](const Bytes& request) {
        std::vector<Bytes> datagrams;
        for (std::size_t i = 0; i < flood_size; ++i) {
            datagrams.push_back(with_wrong_identifier(request, i));
        }
        return datagrams;
    });
    const Conversation run =
        converse({flood, flood, flood, flood}, with_options({"--timeout", "2147483647", "--retry", "3"}));
    expect_unanswered(run, 3);
    EXPECT_EQ(run.requests.size(), 3U);
}

TEST(HostilePeer, CannotProlongARunByAFloodOfMalformedDatagrams) {
    // Every length below a header's, the Identifier being right where there is one.
    const auto flood = answer_with([](const Bytes& request) {
        std::vector<Bytes> datagrams;
        for (std::size_t i = 0; i < flood_size; ++i) {
            Bytes datagram = accept(request);
            datagram.resize(i % 20);
            datagrams.push_back(datagram);
        }
        return datagrams;
    });
    const Conversation run =
        converse({flood, flood, flood, flood}, with_options({"--timeout", "2147483647", "--retry", "3"}));
    expect_unanswered(run, 3);
    EXPECT_EQ(run.requests.size(), 3U);
}

TEST(HostilePeer, CannotHideTheReplyBehindAFloodOfFewerDatagramsThanAttempts) {
    const auto flood = answer_with([](const Bytes& request) {
        std::vector<Bytes> datagrams;
        for (std::size_t i = 0; i < flood_size; ++i) {
            datagrams.push_back(with_wrong_identifier(request, i));
        }
        datagrams.push_back(accept(request));
        return datagrams;
    });
    const Conversation run = converse(
        {flood}, with_options({"--timeout", "2147483647", "--retry", std::to_string(flood_size + 1)}));
    EXPECT_EQ(run.client.errors, times(flood_size, run.no_reply()));
    EXPECT_TRUE(run.client.output.ends_with("\nauthprobe: Success\n\n")) << run.client.output;
    EXPECT_EQ(run.client.ending, exited_with(0));
}

// Others than the server.

/// The first request is answered by a flood of forged accepts, and then perhaps by the server itself.
UdpPeer::Answer forged_then(const std::function<void(const Datagram& request)>& forge,
                            std::vector<Bytes> (*own)(const Bytes& request)) {
    return [forge, own](std::span<const Datagram> requests) {
        for (std::size_t i = 0; i < flood_size; ++i) {
            forge(requests.back());
        }
        return own(requests.back().bytes);
    };
}

std::vector<Bytes> nothing(const Bytes&) {
    return {};
}

std::vector<Bytes> a_reject(const Bytes& request) {
    return {reply_to(request, {.code = access_reject})};
}

TEST(HostilePeer, IsNotHeardFromAnotherPort) {
    const auto forge = [](const Datagram& request) {
        send_from_elsewhere(accept(request.bytes), request.port);
    };
    expect_unanswered(
        converse({forged_then(forge, nothing)}, with_options({"--timeout", "1", "--retry", "1"})), 1);

    const Conversation run = converse({forged_then(forge, a_reject)});
    EXPECT_EQ(run.client.errors,
              "authprobe: ERROR: expected Access-Accept, got Access-Reject\nauthprobe: Fail\n\n");
    EXPECT_EQ(run.client.ending, exited_with(1));
    EXPECT_EQ(run.requests.size(), 1U);
}

TEST(HostilePeer, IsNotHeardFromAnotherAddress) {
    // From the server's port number there, lest it be the port that gives the forger away. The peer's own
    // port is known only once it is there.
    std::uint16_t port = 0;
    const auto forge = [&port](const Datagram& request) {
        send_from_another_address(accept(request.bytes), port, request.port);
    };
    UdpPeer peer({forged_then(forge, a_reject)});
    port = peer.port();
    const ProcessResult client = run_process(
        authprobe({"-d", shipped_dictionary_path(), "--username", "bob", peer.address(), shared_secret}));
    EXPECT_EQ(peer.finish().size(), 1U);
    EXPECT_EQ(client.errors,
              "authprobe: ERROR: expected Access-Accept, got Access-Reject\nauthprobe: Fail\n\n");
    EXPECT_EQ(client.ending, exited_with(1));
}

// Replays: genuine replies, but to another request.

TEST(HostilePeer, IsNotBelievedWithTheReplyToAnEarlierRequest) {
    for (const bool message_authenticator : {true, false}) {
        SCOPED_TRACE(message_authenticator);
        Bytes recorded;
        const auto record = [&](const Bytes& request) {
            recorded =
                reply_to(request, {.code = access_accept, .message_authenticator = message_authenticator});
            return recorded;
        };
        ASSERT_EQ(converse_with(record).client.ending, exited_with(0));

        // With the Identifier of the new request, or it would not even be looked at.
        const Conversation run = converse_with([&](const Bytes& request) {
            recorded[1] = request[1];
            return recorded;
        });
        EXPECT_EQ(run.client.errors,
                  message_authenticator
                      ? "\nauthprobe: ERROR: reply Message-Authenticator is invalid (shared secret is "
                        "incorrect or the packet was tampered with): RadiusPacket: Message-Authenticator "
                        "mismatch\nauthprobe: Fail\n\n"
                      : "\nauthprobe: ERROR: reply failed validation (shared secret is probably incorrect): "
                        "RadiusPacket: invalid Response Authenticator\nauthprobe: Fail\n\n");
        EXPECT_EQ(run.client.ending, exited_with(1));
        EXPECT_EQ(run.client.output.find("Success"), std::string::npos);
    }
}

TEST(HostilePeer, IsNotBelievedWithTheRequestItself) {
    for (const std::uint8_t code : {std::uint8_t{1}, access_accept}) {
        const Conversation run = converse_with([code](Bytes request) {
            request[0] = code;
            return request;
        });
        EXPECT_EQ(run.client.ending, exited_with(1));
        EXPECT_EQ(run.client.output.find("Success"), std::string::npos);
    }
}

// Sizes.

/// An accept without Message-Authenticator, filled to this size with attributes of all lengths.
Bytes accept_of(std::size_t size, const Bytes& request) {
    Bytes attributes;
    std::size_t left = size - 20;
    for (std::size_t value_size = 253; left > 0;) {
        // What is left behind an attribute is nothing, or enough for another.
        const std::size_t fitting = left == value_size + 3 ? value_size - 1 : std::min(value_size, left - 2);
        const Bytes one = attribute(25, Bytes(fitting, 0x1b));
        attributes.insert(attributes.end(), one.begin(), one.end());
        left -= one.size();
        value_size = value_size == 1 ? 253 : value_size - 1;
    }
    return reply_to(request,
                    {.code = access_accept, .attributes = attributes, .message_authenticator = false});
}

TEST(HostilePeer, MaySend4096Bytes) {
    const Conversation run = converse_with([](const Bytes& request) { return accept_of(4096, request); }, {});
    EXPECT_NE(run.client.output.find(run.received("Access-Accept", Bytes(4096))), std::string::npos);
    EXPECT_TRUE(run.client.output.ends_with("\nauthprobe: Success\n\n"));
    EXPECT_EQ(run.client.ending, exited_with(0));
}

TEST(HostilePeer, GainsNothingByTheLargestDatagramThereIs) {
    constexpr std::size_t largest = 65507;  // 65535 without the headers of IPv4 and UDP
    // Its Length says what was sent, of which no more than 4096 bytes are received.
    const Conversation honest =
        converse_with([](const Bytes& request) { return accept_of(largest, request); });
    EXPECT_EQ(honest.client.output, banner() + honest.sent() + listing_of_bob());
    EXPECT_EQ(honest.client.errors,
              "\nauthprobe: failed to parse reply: pkt_load: invalid packet length\nauthprobe: Fail\n\n");
    EXPECT_EQ(honest.client.ending, exited_with(1));

    // The signed packet comes first, and then what nobody reads.
    const Conversation padded = converse_with([](const Bytes& request) {
        Bytes reply = accept_of(4096, request);
        reply.resize(largest, 0x1b);
        return reply;
    });
    EXPECT_NE(padded.client.output.find(padded.received("Access-Accept", Bytes(4096))), std::string::npos);
    EXPECT_EQ(padded.client.ending, exited_with(0));

    // What follows the packet within those bytes is signed, or the reply is refused.
    const Conversation appended = converse_with([](const Bytes& request) {
        Bytes reply = accept(request);
        reply.resize(largest);
        return reply;
    });
    EXPECT_EQ(appended.client.errors,
              "\nauthprobe: ERROR: reply Message-Authenticator is invalid (shared secret is incorrect or the "
              "packet was tampered with): RadiusPacket: Message-Authenticator mismatch\n"
              "authprobe: Fail\n\n");
    EXPECT_EQ(appended.client.ending, exited_with(1));
}

// Control characters.

/// What a terminal would act upon, alone and in company.
const std::vector<std::string> control_texts = {
    "\x1b[2J",                        // clears the screen
    "ok\x1b]0;title\x07",             // renames the window
    "\x1b]52;c;cm0gLXJm\x07",         // writes to the clipboard
    "\x1bP$q\"p\x1b\\",               // asks for an answer, which would be typed in
    "no\r     Reply-Message = \"ok",  // writes over the line
    "line\nauthprobe: Success\n\n",   // a verdict of its own
    "back\b\b\b\bspace",              //
    "tab\there",                      //
    "bell\x07",                       //
    "delete\x7f",                     //
    "\x0e\x0f",                       // other character sets
    "\x9b"
    "2J",                      // as in Latin-1, where this byte begins a sequence
    "\xc0\x9b[2J",             // overlong
    "\xe2\x80",                // half a character
    std::string("nul\0l", 5),  //
    std::string(1, '\0'),      //
    "\x1b",                    //
};

/// The bytes of a program's output that a terminal would act upon, in hexadecimal; and "not UTF-8".
std::string controls_in(std::string_view output) {
    std::string controls;
    for (const char character : output) {
        const auto byte = static_cast<std::uint8_t>(character);
        if ((byte < 0x20 && byte != '\n') || byte == 0x7f) {
            controls += utils::bytes_to_hex(&byte, 1) + " ";
        }
    }
    return controls + (utils::is_well_formed_utf8(output) ? "" : "not UTF-8");
}

/// The text without the colours that the program uses itself.
std::string without_colours(std::string text) {
    for (const std::string_view colour : {"\x1b[32m", "\x1b[31m", "\x1b[33m", "\x1b[0m"}) {
        for (std::size_t place = 0; (place = text.find(colour)) != std::string::npos;) {
            text.erase(place, colour.size());
        }
    }
    return text;
}

void expect_no_controls(const Conversation& run) {
    EXPECT_EQ(controls_in(without_colours(run.client.output)), "");
    EXPECT_EQ(controls_in(without_colours(run.client.errors)), "");
}

/// An attribute of each type there is, at 150 and on, and in every kind of container.
constexpr char all_types[] = R"(
vendor: {id: 32473, name: Example, format: "1,1"}
attributes:
  User-Name: {code: 1, type: text}
  User-Password: {code: 2, type: text, encrypt: 1}
  NAS-IP-Address: {code: 4, type: ipv4addr}
  Tunnel-Password: {code: 69, type: text, encrypt: 2, has_tag: true}
  Message-Authenticator: {code: 80, type: octets}
  Some-Text: {code: 150, type: text}
  Some-String: {code: 151, type: string}
  Some-Octets: {code: 152, type: octets}
  Some-Integer: {code: 153, type: integer}
  Some-Enum: {code: 154, type: enum, values: {Off: 0}}
  Some-Time: {code: 155, type: time}
  Some-Signed: {code: 156, type: signed}
  Some-Integer64: {code: 157, type: integer64}
  Some-Short: {code: 158, type: short}
  Some-Byte: {code: 159, type: byte}
  Some-Ipv4addr: {code: 160, type: ipv4addr}
  Some-Ipv4prefix: {code: 161, type: ipv4prefix}
  Some-Ipv6addr: {code: 162, type: ipv6addr}
  Some-Ipv6prefix: {code: 163, type: ipv6prefix}
  Some-Combo-Ip: {code: 164, type: combo-ip}
  Some-Ether: {code: 165, type: ether}
  Some-Ifid: {code: 166, type: ifid}
  Some-Struct: {code: 167, type: struct}
  Some-Tagged-Text: {code: 168, type: text, has_tag: true}
  Some-Joined-Text: {code: 169, type: text, concat: true}
  Some-Tlv: {code: 170, type: tlv}
  Some-Nested-Text: {code: 170.1, type: text}
  Vendor-Text: {code: 26.32473.1, type: text}
  Vendor-String: {code: 26.32473.2, type: string}
  Extended: {code: 241, type: extended}
  Extended-Text: {code: 241.1, type: text}
  Long-Extended: {code: 245, type: long-extended}
  Long-Text: {code: 245.1, type: text}
)";
constexpr int first_type = 150;
constexpr int last_type = 169;

/// The text as the value of attributes of every type, known and unknown, plain and inside others.
Bytes everywhere(const std::string& text, const Bytes& request) {
    const Bytes value = utils::to_bytes(text);
    const auto size = [&](std::size_t headers) { return static_cast<std::uint8_t>(value.size() + headers); };
    Bytes attributes = joined({
        attribute(1, value),                                                 // known everywhere
        attribute(192, value),                                               // known nowhere
        attribute(170, joined({{1, size(2)}, value, {2, size(2)}, value})),  // nested, the second unknown
        attribute(26, joined({{0, 0, 0x7e, 0xd9, 1, size(2)}, value})),      // of a vendor
        attribute(26, joined({{0, 0, 0x7e, 0xd9, 2, size(2)}, value})),      //
        attribute(26, joined({{0, 0, 0x7e, 0xd9, 3, size(2)}, value})),      // of its unknown attributes
        attribute(26, joined({{0, 1, 0x7e, 0xd9, 1, size(2)}, value})),      // of an unknown vendor
        attribute(26, value),                                                // where a vendor should be
        attribute(241, joined({{1}, value})),                                // extended
        attribute(241, joined({{9}, value})),                                //
        attribute(245, joined({{1, 0x80}, value})),                          // in two fragments
        attribute(245, joined({{1, 0x00}, value})),                          //
        attribute(2, hidden_password(text, shared_secret, authenticator_of(request))),
        attribute(69, joined({{0x1b}, value})),
        attribute(168, joined({{0x1b}, value})),
    });
    for (int type = first_type; type <= last_type; ++type) {
        const Bytes one = attribute(static_cast<std::uint8_t>(type), value);
        attributes.insert(attributes.end(), one.begin(), one.end());
        // As long as addresses and numbers are.
        for (const std::size_t fixed : {1U, 2U, 4U, 6U, 8U, 16U}) {
            Bytes cut = value;
            cut.resize(fixed, 0x1b);
            const Bytes other = attribute(static_cast<std::uint8_t>(type), cut);
            attributes.insert(attributes.end(), other.begin(), other.end());
        }
    }
    return attributes;
}

TEST(HostilePeer, CannotControlTheTerminalThroughAnyAttribute) {
    const ScratchFolder folder;
    const std::string dictionary = folder.write("dictionary.yaml", all_types);
    for (const std::string& text : control_texts) {
        SCOPED_TRACE(testing::PrintToString(text));
        const auto make_reply = [&](const Bytes& request) {
            return reply_to(request, {.code = access_accept, .attributes = everywhere(text, request)});
        };
        const Conversation run = converse_with(make_reply, {.dictionary = dictionary});
        expect_no_controls(run);
        EXPECT_EQ(run.client.errors, "");
        EXPECT_TRUE(run.client.output.ends_with("\n\nauthprobe: Success\n\n")) << run.client.output;
        EXPECT_EQ(run.client.ending, exited_with(0));
        // It was listed, and as bytes. (A password loses its zero bytes at the end, and may be none.)
        const Bytes bytes = utils::to_bytes(text);
        const std::string digits = utils::bytes_to_hex(bytes.data(), bytes.size());
        for (const char* const name : {"User-Name", "Some-Text", "Some-Nested-Text", "Vendor-Text",
                                       "Extended-Text", "Some-Tagged-Text"}) {
            EXPECT_NE(run.client.output.find(std::string(name) + " = \"0x" + digits + "\"\n"),
                      std::string::npos)
                << name;
        }
        for (const char* const name : {"attr-192", "attr-241.9", "attr-26.32473.3", "Some-Octets"}) {
            EXPECT_NE(run.client.output.find(std::string(name) + " = 0x" + digits + "\n"), std::string::npos)
                << name;
        }
    }
}

TEST(HostilePeer, CannotControlTheTerminalThroughTheShippedDictionary) {
    for (const std::string& text : control_texts) {
        SCOPED_TRACE(testing::PrintToString(text));
        // In two parts, each short enough to be received whole.
        for (const auto& [first, last] : {std::pair{1, 127}, std::pair{128, 255}}) {
            const auto make_reply = [&, from = first, to = last](const Bytes& request) {
                Bytes attributes;
                for (int type = from; type <= to; ++type) {
                    if (type != 80) {
                        const Bytes one = attribute(static_cast<std::uint8_t>(type), text);
                        attributes.insert(attributes.end(), one.begin(), one.end());
                    }
                }
                return reply_to(request, {.code = access_reject, .attributes = attributes});
            };
            const Conversation run = converse_with(make_reply, {.output = Stream::Terminal});
            expect_no_controls(run);
            EXPECT_NE(run.client.output.find(" Received Access-Reject "), std::string::npos);
            EXPECT_EQ(run.client.ending, exited_with(1));
        }
    }
}

TEST(HostilePeer, CannotControlTheTerminalThroughAReplyThatFails) {
    // The listing comes before the check: what nobody has vouched for is shown, too.
    for (const std::string& text : control_texts) {
        SCOPED_TRACE(testing::PrintToString(text));
        const auto forged = [&](const Bytes& request) {
            return reply_to(request, {.code = access_accept,
                                      .attributes = joined({attribute(18, text), attribute(11, text)}),
                                      .secret = "another"});
        };
        const Conversation run = converse_with(forged, {.output = Stream::Terminal});
        expect_no_controls(run);
        EXPECT_EQ(run.client.ending, exited_with(1));

        // A packet of nothing else but such bytes, behind a header that is looked at.
        const auto garbage = [&](const Bytes& request) {
            Bytes datagram = joined({utils::to_bytes(text), Bytes(20, 0x1b), utils::to_bytes(text)});
            datagram[1] = request[1];
            return datagram;
        };
        const Conversation unparsable = converse_with(garbage, {.output = Stream::Terminal});
        expect_no_controls(unparsable);
        EXPECT_EQ(unparsable.client.ending, exited_with(1));
    }
}

TEST(HostilePeer, CannotControlTheTerminalThroughAnyCode) {
    for (int code = 0; code < 256; code += 5) {
        const Conversation run = converse_with([code](const Bytes& request) {
            return reply_to(request, {.code = static_cast<std::uint8_t>(code), .secret = "another"});
        });
        expect_no_controls(run);
        EXPECT_EQ(run.client.ending, exited_with(1)) << code;
    }
}

// What the user gives, and the user's own files, is another matter: a name is shown as it was given.

TEST(HostilePeer, IsNotTheOneWhoNamesTheDictionary) {
    const ScratchFolder folder;
    const std::string path = (folder.path() / "\x1b[2Jx").string();
    const ProcessResult missing = run_process(authprobe({"-d", path, "127.0.0.1:9", shared_secret}));
    EXPECT_EQ(missing.output, banner());
    EXPECT_EQ(missing.errors, "authprobe: failed to load dictionary \"" + path + "\": " + path +
                                  ": cannot load: bad file: " + path + "\n");
    EXPECT_EQ(missing.ending, exited_with(1));
}

}  // namespace
}  // namespace quarn::test
