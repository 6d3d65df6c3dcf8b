#include "lane.h"

#include <algorithm>
#include <cerrno>
#include <string>
#include <utility>
#include <variant>

#include "packet_fault.h"
#include "quarn/radius/signature.h"

namespace quarn::client {

namespace {

/// Most packets thrown away before a request is sent.
constexpr int max_stale_events = 1024;

/// Throws away what has arrived. False when the connection has ended.
bool empty_lane(Lane& lane, TimePoint now, const EncodedRequest& request, std::string_view secret,
                std::vector<Note>& notes) {
    PollableTransport& transport = lane.transport();
    for (int i = 0; i < max_stale_events; ++i) {
        const Event event = transport.receive(now);
        if (std::holds_alternative<TimedOut>(event)) {
            return true;
        }
        if (const auto* const packet = std::get_if<ReceivedPacket>(&event)) {
            if (auto note = lane.earlier_reply(*packet, request, secret)) {
                add_note(notes, note->id, std::move(note->text));
            }
        } else if (transport.is_stream()) {
            return false;
        }
    }
    return !transport.is_stream();
}

}  // namespace

bool is_shortage(const net::OpenError& error) {
    // A second connection from one port to the same server.
    const bool is_connected_already = error.step == net::OpenStep::Connect && error.number == EADDRNOTAVAIL;
    return error.number == EMFILE || error.number == ENFILE || error.number == EADDRINUSE ||
           is_connected_already;
}

Lane::Lane(std::size_t route, const net::Address& address, std::unique_ptr<PollableTransport> transport)
    : route_(route), address_(address), transport_(std::move(transport)) {}

void Lane::remember(const EncodedRequest& request, bool is_answered) {
    std::erase_if(past_, [&](const PastRequest& entry) { return entry.identifier == request.identifier(); });
    past_.push_back({request.identifier(), request.authenticator(), is_answered});
}

std::optional<Note> Lane::earlier_reply(const ReceivedPacket& received, const EncodedRequest& present,
                                        std::string_view secret) const {
    namespace radius = subscriber::radius;
    const utils::byte_span packet = packet_in(received.bytes);
    if (packet.size() < min_packet_size || received.source != address_ || secret.empty()) {
        return std::nullopt;
    }
    if (packet[1] == present.identifier() &&
        radius::response_authenticator_fits(packet, present.authenticator(), secret)) {
        return std::nullopt;
    }
    const auto past = std::find_if(past_.begin(), past_.end(), [&](const PastRequest& entry) {
        return entry.identifier == packet[1] &&
               radius::response_authenticator_fits(packet, entry.authenticator, secret);
    });
    if (past == past_.end()) {
        return std::nullopt;
    }
    const std::string what = " reply to an earlier request (Identifier " + std::to_string(packet[1]) +
                             ") arrived and was left alone.";
    return past->is_answered ? Note{NoteId::SecondReply, "A second" + what}
                             : Note{NoteId::LateReply, "A late" + what};
}

utils::Result<std::unique_ptr<Lane>, net::OpenError> IdleLanes::take(std::size_t number, const Route& route,
                                                                     const net::Address& address,
                                                                     const EncodedRequest& request,
                                                                     std::string_view secret,
                                                                     std::vector<Note>& notes) {
    while (auto lane = take_idle(number, address)) {
        if (empty_lane(*lane, network_.now(), request, secret, notes)) {
            return lane;
        }
    }
    auto opened = open(number, route, address);
    if (!opened && is_shortage(opened.error()) && !lanes_.empty()) {
        lanes_.clear();
        opened = open(number, route, address);
    }
    return opened;
}

std::unique_ptr<Lane> IdleLanes::take_idle(std::size_t number, const net::Address& address) {
    const auto idle = std::find_if(lanes_.begin(), lanes_.end(), [&](const auto& lane) {
        return lane->route() == number && lane->address() == address;
    });
    if (idle == lanes_.end()) {
        return nullptr;
    }
    std::unique_ptr<Lane> lane = std::move(*idle);
    lanes_.erase(idle);
    return lane;
}

utils::Result<std::unique_ptr<Lane>, net::OpenError> IdleLanes::open(std::size_t number, const Route& route,
                                                                     const net::Address& address) {
    auto opened = network_.open(address, {route.server.transport, route.source, route.interface});
    if (!opened) {
        return opened.error();
    }
    return std::make_unique<Lane>(number, address, *std::move(opened));
}

}  // namespace quarn::client
