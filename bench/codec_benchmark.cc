// Encoding, decoding and validating packets, beside the digests that they cannot do without.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "crypto/digest.h"
#include "quarn/radius/attribute_reader.h"
#include "quarn/radius/packet.h"
#include "quarn/radius/packet_code.h"
#include "quarn/radius/pkt_dump.h"
#include "quarn/radius/pkt_load.h"
#include "quarn/radius/signature.h"

namespace {

std::size_t allocations = 0;

}  // namespace

// Counted, because allocations are most of what is not digests. Out of line, so that the compiler does not
// take malloc for a mistake.
[[gnu::noinline]] void* operator new(std::size_t size) {
    ++allocations;
    if (void* const block = std::malloc(size > 0 ? size : 1)) {
        return block;
    }
    throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* block) noexcept {
    std::free(block);
}

[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}

namespace {

using namespace quarn::subscriber::radius;
using quarn::utils::as_text;

constexpr char secret[] = "testing123";

std::shared_ptr<const RadiusDictionary> dictionary() {
    static const std::shared_ptr<const RadiusDictionary> shared = [] {
        auto loaded = std::make_shared<RadiusDictionary>();
        loaded->load(QUARN_SOURCE_DIR "/share/quarn/radius/dictionary.yaml");
        return loaded;
    }();
    return shared;
}

/// 106 bytes, eight attributes.
RadiusPacket request() {
    RadiusPacket packet(dictionary());
    packet.code = ACCESS_REQUEST;
    packet.identifier = 7;
    packet.authenticator.fill(0x5A);
    packet.set_attribute("User-Name", "bob@example");
    packet.set_attribute("User-Password", "hello");
    packet.set_attribute("NAS-IP-Address", "127.0.0.1");
    packet.set_attribute("NAS-Port", 3);
    packet.set_attribute("Service-Type", "Framed-User");
    packet.set_attribute("Framed-Protocol", "PPP");
    packet.set_attribute("Calling-Station-Id", "00112233445");
    packet.add_attribute("Message-Authenticator", as_text(ZERO16));
    return packet;
}

/// 141 bytes, twelve attributes, two of them of vendors.
RadiusPacket reply() {
    RadiusPacket packet(dictionary());
    packet.code = ACCESS_ACCEPT;
    packet.identifier = 7;
    packet.request_authenticator = request().authenticator;
    packet.add_attribute("Message-Authenticator", as_text(ZERO16));
    packet.add_attribute("Reply-Message", "Hello, bob");
    packet.add_attribute("Service-Type", "Framed-User");
    packet.add_attribute("Framed-Protocol", "PPP");
    packet.add_attribute("Framed-IP-Address", "192.0.2.5");
    packet.add_attribute("Framed-IP-Netmask", "255.255.255.0");
    packet.add_attribute("Session-Timeout", "3600");
    packet.add_attribute("Idle-Timeout", "600");
    packet.add_attribute("Class", "0x00ff10203040506070");
    packet.add_attribute("Framed-MTU", "1500");
    packet.add_attribute("Cisco-AVPair", "shell:priv-lvl=15!");
    packet.add_attribute("WISPr-Bandwidth-Max-Up", "1000000");
    return packet;
}

/// Counts what `action` allocates, apart from OpenSSL, and reports it for one packet.
template <typename Action>
void measure(benchmark::State& state, Action action) {
    action();  // the first digest of a thread fetches its algorithms
    const std::size_t before = allocations;
    for ([[maybe_unused]] const auto& iteration : state) {
        action();
    }
    state.counters["allocations"] =
        benchmark::Counter(static_cast<double>(allocations - before), benchmark::Counter::kAvgIterations);
}

void digests(benchmark::State& state, std::size_t md5_size, std::size_t hmac_size) {
    const Bytes md5_bytes(md5_size);
    const Bytes hmac_bytes(hmac_size);
    measure(state, [&] {
        benchmark::DoNotOptimize(md5_spans({md5_bytes}));
        benchmark::DoNotOptimize(hmac_md5_spans(secret, {hmac_bytes}));
    });
}

void encode(benchmark::State& state, const RadiusPacket& packet) {
    std::vector<ParseIssue> issues;
    measure(state, [&] { benchmark::DoNotOptimize(pkt_dump(packet, secret, issues)); });
    if (!issues.empty()) {
        state.SkipWithError("a value was truncated");
    }
}

void decode(benchmark::State& state, const Bytes& datagram, bool validated,
            const std::shared_ptr<const RadiusDictionary>& shared = dictionary()) {
    const Authenticator request_authenticator = request().authenticator;
    measure(state, [&] {
        RadiusPacket packet(shared);
        benchmark::DoNotOptimize(pkt_load(packet, datagram.data(), datagram.size(), secret));
        if (validated) {
            packet.request_authenticator = request_authenticator;
            if (packet.validate(secret).error != ValidationError::None) {
                state.SkipWithError("the reply is not valid");
            }
        }
    });
}

/// Verifies the reply and goes over all that is in it, without a packet.
void view(benchmark::State& state, const Bytes& datagram) {
    const Authenticator request_authenticator = request().authenticator;
    measure(state, [&] {
        if (verify_reply(datagram, request_authenticator, secret) != SignatureStatus::Valid) {
            state.SkipWithError("the reply is not valid");
        }
        AttributeReader attributes(datagram);
        while (const auto attribute = attributes.next()) {
            PartReader parts(*attribute, *dictionary());
            while (const auto part = parts.next()) {
                benchmark::DoNotOptimize(part->definition);
                benchmark::DoNotOptimize(part->value.data());
            }
        }
    });
}

Bytes encoded(const RadiusPacket& packet) {
    std::vector<ParseIssue> issues;
    return pkt_dump(packet, secret, issues);
}

/// An Access-Accept with `count` attributes, each made by `append(bytes, index)`.
template <typename Append>
Bytes datagram_of(std::size_t count, Append append) {
    Bytes bytes(20);
    bytes[0] = ACCESS_ACCEPT;
    for (std::size_t i = 0; i < count; ++i) {
        append(bytes, i);
    }
    bytes[2] = static_cast<std::uint8_t>(bytes.size() >> 8);
    bytes[3] = static_cast<std::uint8_t>(bytes.size());
    return bytes;
}

void append_attribute(Bytes& bytes, std::uint8_t type, std::size_t value_size) {
    bytes.push_back(type);
    bytes.push_back(static_cast<std::uint8_t>(2 + value_size));
    bytes.resize(bytes.size() + value_size);
}

/// A vendor attribute of two codes that no dictionary defines.
void append_unknown(Bytes& bytes, std::size_t index) {
    append_attribute(bytes, 26, 12);
    Bytes::iterator value = bytes.end() - 12;
    value[2] = 0xFF;
    value[3] = static_cast<std::uint8_t>(index >> 8);
    value[4] = static_cast<std::uint8_t>(index);
    value[5] = 8;
}

/// A dictionary of 200 text attributes of one vendor, "Text-1" and so on.
std::shared_ptr<const RadiusDictionary> wide_dictionary() {
    static const std::shared_ptr<const RadiusDictionary> shared = [] {
        const std::filesystem::path file = std::filesystem::temp_directory_path() /
                                           ("quarn-benchmark-" + std::to_string(getpid()) + ".yaml");
        std::ofstream yaml(file);
        yaml << "attributes:\n";
        for (int i = 1; i <= 200; ++i) {
            yaml << "  Text-" << i << ": {code: 26.64496." << i << ", type: text}\n";
        }
        yaml.close();
        auto loaded = std::make_shared<RadiusDictionary>();
        loaded->load(file.string());
        std::filesystem::remove(file);
        return loaded;
    }();
    return shared;
}

/// An Access-Accept with `count` attributes of different names.
RadiusPacket packet_of(std::size_t count) {
    RadiusPacket packet(wide_dictionary());
    packet.code = ACCESS_ACCEPT;
    for (std::size_t i = 1; i <= count; ++i) {
        packet.set_attribute("Text-" + std::to_string(i), "12345678");
    }
    return packet;
}

void set_anew(benchmark::State& state, std::size_t count) {
    RadiusPacket packet = packet_of(count);
    std::vector<std::string> names;
    for (const RadiusAttribute* const attribute : packet.attributes()) {
        names.push_back(attribute->display_name());
    }
    measure(state, [&] {
        for (const std::string& name : names) {
            packet.set_attribute(name, "87654321");
        }
    });
}

/// An attribute for each way of framing a value, with a value that says as much as the others do.
struct Kind {
    const char* name;
    const char* attribute;
    std::string value;
};

const std::vector<Kind>& kinds() {
    static const std::vector<Kind> all = {
        {"plain", "Reply-Message", "12345678"},
        {"tlv", "IPv6-6rd-IPv4MaskLen", "24"},
        {"vendor", "Cisco-AVPair", "12345678"},
        {"wide_vendor", "SN-VPN-Name", "12345678"},
        {"vendor_continuation", "WiMAX-AAA-Session-Id", "12345678"},
        {"vendor_tlv", "WiMAX-Release", "12345678"},
        {"extended", "Proxy-State-Length", "12345678"},
        {"extended_tlv", "IP-Port-Local-Id", "12345678"},
        {"long_extended", "SAML-Assertion", "12345678"},
        {"long_extended_fragments", "SAML-Assertion", std::string(600, 'x')},
        {"concat", "EAP-Message", std::string(600, 'x')},
        {"tagged", "Tunnel-Private-Group-Id", "12345678"},
        {"hidden", "Tunnel-Password", "12345678"},
    };
    return all;
}

/// An Access-Accept with four values of one attribute.
RadiusPacket packet_of(const Kind& kind) {
    static const auto full_dictionary = [] {
        auto loaded = std::make_shared<RadiusDictionary>();
        loaded->load(QUARN_SOURCE_DIR "/share/quarn/radius/full.yaml");
        return loaded;
    }();
    RadiusPacket packet(full_dictionary);
    packet.code = ACCESS_ACCEPT;
    for (int i = 0; i < 4; ++i) {
        packet.add_attribute(kind.attribute, kind.value);
    }
    if (packet.attributes().front()->values.size() != 4) {
        throw std::logic_error(std::string(kind.attribute) + " does not take its value");
    }
    return packet;
}

/// The least that taking a datagram over can cost.
void copy(benchmark::State& state, const Bytes& datagram) {
    measure(state, [&] {
        Bytes taken(datagram);
        benchmark::DoNotOptimize(taken.data());
    });
}

template <typename Function>
void add(std::string name, const std::string& size, Function function) {
    benchmark::RegisterBenchmark(name.append(size).c_str(), function)->Repetitions(5);
}

template <typename Function>
void add(const char* name, Function function) {
    add(name, "", function);
}

const bool registered = [] {
    add("Encode/digests", [](auto& state) { digests(state, 26, 106); });
    add("Encode/request", [](auto& state) { encode(state, request()); });
    add("Decode/digests", [](auto& state) { digests(state, 151, 141); });
    add("View/reply", [](auto& state) { view(state, encoded(reply())); });
    add("Decode/reply", [](auto& state) { decode(state, encoded(reply()), true); });
    for (const int count : {10, 50, 200}) {
        const std::string suffix = std::to_string(count);
        const auto size = static_cast<std::size_t>(count);
        add("Encode/attributes/", suffix, [size](auto& state) { encode(state, packet_of(size)); });
        add("Decode/attributes/", suffix,
            [size](auto& state) { decode(state, encoded(packet_of(size)), false, wide_dictionary()); });
        add("Decode/one_name/", suffix, [size](auto& state) {
            decode(state,
                   datagram_of(size, [](Bytes& bytes, std::size_t) { append_attribute(bytes, 18, 8); }),
                   false);
        });
        add("Decode/unknown/", suffix,
            [size](auto& state) { decode(state, datagram_of(size, append_unknown), false); });
        add("Set/", suffix, [size](auto& state) { set_anew(state, size); });
    }
    add("Decode/empty/2038", [](auto& state) {
        decode(state, datagram_of(2038, [](Bytes& bytes, std::size_t) { append_attribute(bytes, 18, 0); }),
               false);
    });
    add("Decode/full/16", [](auto& state) {
        decode(state, datagram_of(16, [](Bytes& bytes, std::size_t) { append_attribute(bytes, 18, 252); }),
               false);
    });
    for (const Kind& kind : kinds()) {
        add("Encode/kind/", kind.name, [kind](auto& state) { encode(state, packet_of(kind)); });
        add("Decode/kind/", kind.name, [kind](auto& state) {
            const RadiusPacket packet = packet_of(kind);
            decode(state, encoded(packet), false, packet.dictionary);
        });
        add("Copy/kind/", kind.name, [kind](auto& state) { copy(state, encoded(packet_of(kind))); });
    }
    return true;
}();

}  // namespace
