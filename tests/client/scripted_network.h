// A network on paper: servers that answer by a script, and a clock that goes on only while somebody waits.
//
//     ScriptedNetwork network;
//     network.server("192.0.2.1:1812", [](const Arrived& arrived) {
//         return Events{packet_after(10ms, reply_to(arrived.bytes, {.code = 2}))};
//     });
//     converse(job, secret, dictionary, options, network);
//     EXPECT_EQ(network.lines(), (Lines{"0 ms: 192.0.2.1:1812 udp 0107"}));
#pragma once

#include <gtest/gtest.h>
#include <netdb.h>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "client/transcript.h"
#include "quarn/client/network.h"
#include "quarn/net/endpoint.h"
#include "testing/wire.h"

namespace quarn::test {

/// Something that happens at a time after a request was sent.
struct TimedEvent {
    client::Duration after;
    std::function<client::Event(const net::Address& server)> event;
};
using Events = std::vector<TimedEvent>;

/// A packet from the server that was asked.
inline TimedEvent packet_after(client::Duration time, utils::Bytes bytes) {
    return {time, [bytes = std::move(bytes)](const net::Address& address) -> client::Event {
                return client::ReceivedPacket{bytes, address};
            }};
}

/// A packet from somebody else.
inline TimedEvent packet_from(net::Address source, client::Duration time, utils::Bytes bytes) {
    return {time, [source, bytes = std::move(bytes)](const net::Address&) -> client::Event {
                return client::ReceivedPacket{bytes, source};
            }};
}

inline TimedEvent event_after(client::Duration time, client::Event event) {
    return {time, [event = std::move(event)](const net::Address&) { return event; }};
}

/// A request as it arrived, and how many came to this server before it.
struct Arrived {
    utils::Bytes bytes;
    std::size_t earlier;
};

using Behaviour = std::function<Events(const Arrived& request)>;

class ScriptedNetwork : public client::Network {
  public:
    /// What a server at an address such as "192.0.2.1:1812" does. Without one, an address is silent.
    void server(const std::string& address, Behaviour behaviour) { servers_[address] = std::move(behaviour); }

    void name(const std::string& host, std::vector<std::string> addresses) {
        names_[host] = std::move(addresses);
    }

    /// Opening a transport to this address fails.
    void cannot_open(const std::string& address, net::OpenError error) { unopened_.emplace(address, error); }

    /// No more transports than these are open at a time; opening another one fails so.
    void limit_transports(int count, net::OpenError error = {net::OpenStep::Socket, EMFILE}) {
        transports_left_ = count;
        shortage_ = error;
    }

    client::Duration resolving_takes = {};

    client::TimePoint now() override { return now_; }

    std::vector<net::Resolved> resolve(std::span<const net::ResolveQuestion> questions,
                                       client::TimePoint deadline) override {
        const bool is_late = now_ + resolving_takes > deadline;
        now_ = std::min(now_ + resolving_takes, deadline);
        std::vector<net::Resolved> answers;
        for (const net::ResolveQuestion& question : questions) {
            answers.push_back(is_late ? net::ResolveError{EAI_AGAIN, ETIMEDOUT} : addresses_of(question));
        }
        return answers;
    }

    utils::Result<std::unique_ptr<client::PollableTransport>, net::OpenError> open(
        const net::Address& address, const client::TransportOptions& options) override {
        if (const auto error = unopened_.find(address.text()); error != unopened_.end()) {
            return error->second;
        }
        if (transports_left_ == 0) {
            return shortage_;
        }
        --transports_left_;
        ++opened_;
        return std::unique_ptr<client::PollableTransport>(
            std::make_unique<ScriptedTransport>(*this, address, options.kind));
    }

    std::vector<std::size_t> wait(std::span<client::PollableTransport* const> transports,
                                  client::TimePoint deadline) override {
        client::TimePoint next = deadline;
        for (const client::PollableTransport* const transport : transports) {
            next = std::min(next, static_cast<const ScriptedTransport*>(transport)->next_event());
        }
        now_ = std::max(now_, next);
        std::vector<std::size_t> ready;
        for (std::size_t i = 0; i < transports.size(); ++i) {
            if (static_cast<const ScriptedTransport*>(transports[i])->next_event() <= now_) {
                ready.push_back(i);
            }
        }
        return ready;
    }

    /// What was sent, such as "0 ms: 192.0.2.1:1812 udp 0107", the first two bytes of the request last.
    const std::vector<std::string>& lines() const { return lines_; }

    int opened() const { return opened_; }

  private:
    net::Resolved addresses_of(const net::ResolveQuestion& question) const {
        const auto named = names_.find(question.host);
        const std::vector<std::string> hosts =
            named == names_.end() ? std::vector{question.host} : named->second;
        std::vector<net::Address> addresses;
        for (const std::string& text : hosts) {
            const auto address = net::Address::parse(text, question.port);
            if (address && question.options.family.value_or(address->family()) == address->family()) {
                addresses.push_back(*address);
            }
        }
        if (addresses.empty()) {
            return net::ResolveError{EAI_NONAME, 0};
        }
        return addresses;
    }

    class ScriptedTransport : public client::PollableTransport {
      public:
        ScriptedTransport(ScriptedNetwork& network, net::Address address, client::TransportKind kind)
            : network_(network), address_(std::move(address)), kind_(kind) {}
        ~ScriptedTransport() override { ++network_.transports_left_; }

        std::optional<client::TransportError> send(utils::byte_span packet) override {
            network_.lines_.push_back(text_of(network_.now_.time_since_epoch()) + ": " + address_.text() +
                                      " " + std::string(client::transport_name(kind_)) + " " +
                                      to_hex(packet.first(2)));
            const auto found = network_.servers_.find(address_.text());
            if (found == network_.servers_.end()) {
                return std::nullopt;
            }
            const std::size_t earlier = network_.arrived_[address_.text()]++;
            for (TimedEvent& event : found->second({{packet.begin(), packet.end()}, earlier})) {
                coming_.emplace(network_.now_ + event.after, event.event(address_));
            }
            return std::nullopt;
        }

        client::Event receive(client::TimePoint deadline) override {
            EXPECT_LE(deadline, network_.now_) << "a conversation waits for all transports together";
            if (coming_.empty() || coming_.begin()->first > network_.now_) {
                return client::TimedOut{};
            }
            client::Event event = std::move(coming_.begin()->second);
            coming_.erase(coming_.begin());
            return event;
        }

        std::optional<net::Address> local_address() const override {
            return net::Address::ipv4({192, 0, 2, 99}, 40000);
        }
        net::Address remote_address() const override { return address_; }
        client::Interest interest() const override { return {}; }
        bool is_stream() const override { return kind_ == client::TransportKind::Tcp; }
        bool is_connected() const override { return is_stream(); }

        client::TimePoint next_event() const {
            return coming_.empty() ? client::TimePoint::max() : coming_.begin()->first;
        }

      private:
        ScriptedNetwork& network_;
        net::Address address_;
        client::TransportKind kind_;
        std::multimap<client::TimePoint, client::Event> coming_;
    };

    client::TimePoint now_ = {};
    std::map<std::string, Behaviour> servers_;
    std::map<std::string, std::size_t> arrived_;
    std::map<std::string, std::vector<std::string>> names_;
    std::map<std::string, net::OpenError> unopened_;
    int transports_left_ = 1000000;
    net::OpenError shortage_{net::OpenStep::Socket, EMFILE};
    int opened_ = 0;
    std::vector<std::string> lines_;
};

}  // namespace quarn::test
