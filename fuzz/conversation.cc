// Whatever arrives, a conversation ends, gives a verdict for every request, keeps few notes, and accepts only
// a reply that a second opinion trusts. The input says what the servers and the network do.
#include <netdb.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <numeric>
#include <optional>
#include <utility>
#include <vector>

#include "quarn/client/conversation.h"
#include "testing/byte_input.h"
#include "testing/check.h"
#include "testing/every_kind.h"
#include "testing/trusted_reply.h"
#include "testing/wire.h"

namespace {

using namespace quarn;
using namespace quarn::client;
using fuzz::ByteInput;
using fuzz::require;
using utils::byte_span;
using utils::Bytes;

constexpr char secret[] = "testing123";

class InputNetwork : public Network {
  public:
    explicit InputNetwork(ByteInput& input) : input_(input) {}

    TimePoint now() override { return now_; }

    std::vector<net::Resolved> resolve(std::span<const net::ResolveQuestion> questions, TimePoint) override {
        std::vector<net::Resolved> answers;
        for (const net::ResolveQuestion& question : questions) {
            answers.push_back(addresses(question.port));
        }
        return answers;
    }

    utils::Result<std::unique_ptr<PollableTransport>, net::OpenError> open(
        const net::Address& address, const TransportOptions& options) override {
        constexpr int numbers[] = {EMFILE, EADDRINUSE, ENETUNREACH, ECONNREFUSED};
        if (const std::uint8_t byte = input_.byte(); byte >= 240) {
            return net::OpenError{net::OpenStep::Connect, numbers[byte % 4]};
        }
        return std::unique_ptr<PollableTransport>(
            std::make_unique<InputTransport>(*this, address, options.kind));
    }

    std::vector<std::size_t> wait(std::span<PollableTransport* const> transports,
                                  TimePoint deadline) override {
        require(!transports.empty(), "somebody is waited for");
        require(deadline < TimePoint::max(), "no wait is for ever");
        now_ = std::min(deadline, now_ + std::chrono::milliseconds(input_.byte()));
        if (input_.byte() % 4 == 0) {
            now_ = std::max(now_, deadline);
        }
        std::vector<std::size_t> ready(transports.size());
        std::iota(ready.begin(), ready.end(), std::size_t{0});
        return ready;
    }

  private:
    net::Resolved addresses(std::uint16_t port) {
        const std::uint8_t count = input_.byte() % 4;
        if (count == 3) {
            return net::ResolveError{EAI_NONAME, 0};
        }
        std::vector<net::Address> found;
        for (std::uint8_t i = 0; i <= count; ++i) {
            found.push_back(net::Address::ipv4({192, 0, 2, i}, port));
        }
        return found;
    }

    class InputTransport : public PollableTransport {
      public:
        InputTransport(InputNetwork& network, const net::Address& address, TransportKind kind)
            : network_(network), address_(address), kind_(kind) {}

        std::optional<TransportError> send(byte_span packet) override {
            request_.assign(packet.begin(), packet.end());
            return network_.input_.byte() == 1 ? std::optional(TransportError{ErrorOrigin::Send, EPERM})
                                               : std::nullopt;
        }

        Event receive(TimePoint) override {
            ByteInput& input = network_.input_;
            switch (input.byte() % 16) {
                case 1:
                    return Closed{input.byte()};
                case 2:
                    return TransportError{ErrorOrigin::Network, ECONNREFUSED};
                case 3:
                    return TransportError{ErrorOrigin::Network, EMSGSIZE};
                case 4:
                    return ReceivedPacket{input.bytes(input.byte()), source(input)};
                case 5:
                case 6:
                case 7:
                    return ReceivedPacket{reply(input), source(input)};
                default:
                    return TimedOut{};
            }
        }

        std::optional<net::Address> local_address() const override { return std::nullopt; }
        net::Address remote_address() const override { return address_; }
        Interest interest() const override { return {}; }
        bool is_stream() const override { return kind_ == TransportKind::Tcp; }
        bool is_connected() const override { return is_stream(); }

      private:
        net::Address source(ByteInput& input) const {
            return input.byte() % 8 == 1 ? net::Address::ipv4({203, 0, 113, 9}, 1) : address_;
        }

        /// A reply to the last request, with one fault or another.
        Bytes reply(ByteInput& input) const {
            constexpr std::uint8_t codes[] = {2, 3, 5, 11, 45, 52};
            if (request_.empty()) {
                return {};
            }
            const std::uint8_t kind = input.byte();
            return test::reply_to(request_, {.code = input.any_of(codes),
                                             .attributes = input.bytes(input.byte() % 32),
                                             .message_authenticator = kind % 2 == 0,
                                             .secret = kind % 3 == 1 ? "other" : secret,
                                             .identifier_offset = kind % 5 == 1 ? 1 : 0,
                                             .trailer = input.bytes(kind % 7 == 1 ? 3 : 0)});
        }

        InputNetwork& network_;
        net::Address address_;
        TransportKind kind_;
        Bytes request_;
    };

    ByteInput& input_;
    TimePoint now_ = {};
};

EncodedRequest request(ByteInput& input) {
    constexpr std::uint8_t codes[] = {1, 4, 12, 43, 99};
    Bytes bytes(20);
    bytes[0] = input.any_of(codes);
    bytes[1] = input.byte() % 4;  // the same one again, often enough
    bytes[3] = 20;
    bytes[19] = input.byte();
    return EncodedRequest(bytes);
}

void check(const Report& report) {
    require(report.notes.size() <= 100, "notes are few");
    require(report.reply.has_value() == report.decoded.has_value(), "a packet comes with what it says");
    const bool is_trusted = report.verdict == Verdict::Accepted || report.verdict == Verdict::Rejected ||
                            report.verdict == Verdict::Challenge;
    require((report.offset.has_value()) == (report.verdict == Verdict::Malformed), "a fault has a place");
    if (!is_trusted) {
        return;
    }
    require(report.reply.has_value() && report.decoded->verified() != nullptr, "trust has its reason");
    require(report.reply_source == report.address, "the server answered");
    // The second opinion knows neither padding nor Protocol-Error nor other codes.
    const Bytes& reply = *report.reply;
    const auto length = static_cast<std::size_t>(reply[2] << 8 | reply[3]);
    if (reply[0] != 52 && report.request[0] != 99) {
        require(test::is_trustworthy_reply(byte_span(reply).first(length), report.request, secret),
                "a second opinion trusts the reply, too");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ByteInput input({data, size});
    InputNetwork network(input);
    ConversationOptions options;
    options.tries = input.byte() % 4;
    options.timeout = std::chrono::milliseconds(input.byte());
    options.grace = std::chrono::milliseconds(input.byte());
    options.wait_full_time = input.byte() % 2 == 1;
    options.parallel = input.byte() % 4;
    options.max_rounds = input.byte() % 4;

    Job job;
    job.routes.push_back({.server = *parse_server("udp://radius.example")});
    job.routes.push_back({.server = *parse_server("tcp://radius.example")});
    const std::size_t asks = input.byte() % 6;
    for (std::size_t i = 0; i < asks; ++i) {
        job.asks.push_back({.request = request(input), .route = input.byte() % std::size_t{2}});
    }
    std::size_t told = 0;
    const ConversationHooks hooks = {
        .on_challenge = [&](std::size_t, const Conversation&) -> std::optional<Ask> {
            return input.byte() % 4 == 0 ? std::nullopt : std::optional(Ask{.request = request(input)});
        },
        .on_result =
            [&](std::size_t number, const Conversation&) {
                require(number == told, "results are told in order");
                ++told;
            }};
    const auto conversations =
        converse(std::move(job), secret, fuzz::dictionary_of_every_kind(), options, network, hooks);
    require(conversations.size() == asks && told == asks, "every request has an end");
    for (const Conversation& conversation : conversations) {
        require(!conversation.rounds.empty(), "every request has a report");
        for (const Report& report : conversation.rounds) {
            check(report);
        }
    }
    return 0;
}
