// Exchanges in tests: packets, and what the machine says, as lines of text.
#pragma once

#include <chrono>
#include <string>
#include <type_traits>
#include <variant>

#include "quarn/client/exchange.h"
#include "testing/packets.h"

namespace quarn::test {

/// Where replies come from in tests without a network.
inline const net::Address server = net::Address::ipv4({192, 0, 2, 1}, 1812);

/// A packet that is a header alone.
inline utils::Bytes header(std::uint8_t code, std::uint8_t identifier) {
    utils::Bytes bytes(20);
    bytes[0] = code;
    bytes[1] = identifier;
    bytes[3] = 20;
    return bytes;
}

inline client::EncodedRequest request_of(std::uint8_t identifier) {
    return client::EncodedRequest(header(1, identifier));
}

/// So long after the clock's zero, with which a test begins.
constexpr client::TimePoint at(client::Duration time) {
    return client::TimePoint(time);
}

inline std::string text_of(client::Duration time) {
    return std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(time).count()) + " ms";
}

inline std::string text_of(client::Mismatch mismatch) {
    switch (mismatch) {
        case client::Mismatch::WrongSource:
            return "wrong source";
        case client::Mismatch::Malformed:
            return "malformed";
        case client::Mismatch::WrongIdentifier:
            return "wrong identifier";
        case client::Mismatch::NotAuthentic:
            return "not authentic";
    }
    return "?";
}

inline std::string text_of(const client::ReceivedPacket& packet) {
    return to_hex(utils::byte_span(packet.bytes).first(std::min<std::size_t>(2, packet.bytes.size()))) +
           " from " + packet.source.text();
}

inline std::string text_of(client::TimedOut) {
    return "timed out";
}

inline std::string text_of(client::Closed) {
    return "closed";
}

inline std::string text_of(client::Unanswered) {
    return "unanswered";
}

inline std::string text_of(const client::TransportError& error) {
    constexpr const char* origins[] = {"send", "wait", "receive", "network"};
    return std::string(origins[static_cast<int>(error.origin)]) + " error " + std::to_string(error.number);
}

inline std::string text_of(const client::UnacceptablePacket& packet) {
    return text_of(packet.mismatch) + ": " + text_of(packet.packet);
}

inline std::string text_of(const client::Answered& answered) {
    return "answered after " + text_of(answered.round_trip) + ": " + text_of(answered.packet);
}

inline std::string text_of(const client::ExchangeResult& result) {
    return std::visit([](const auto& outcome) { return text_of(outcome); }, result.outcome) + " (" +
           std::to_string(result.sends) + " sent)";
}

inline std::string text_of(const client::TryFailed& failure) {
    return "try " + std::to_string(failure.number) + ": " +
           std::visit([](const auto& reason) { return text_of(reason); }, failure.reason);
}

inline std::string text_of(const client::SendRequest& send) {
    return "send " + to_hex(send.datagram.first(2));
}

inline std::string text_of(client::WaitUntil wait) {
    return wait.time == client::TimePoint::max() ? "wait for ever"
                                                 : "wait until " + text_of(wait.time.time_since_epoch());
}

inline std::string text_of(const client::Done& done) {
    return text_of(done.result);
}

/// What the machine says, such as "wait until 5000 ms" or "unanswered (3 sent)".
inline std::string text_of(const client::Action& action) {
    return std::visit([](const auto& step) { return text_of(step); }, action);
}

}  // namespace quarn::test
