#include "authprobe/exchange.h"

#include <iostream>
#include <string>

#include "authprobe/console_report.h"
#include "common/colour.h"
#include "quarn/radius/wire_format.h"

namespace quarn::authprobe {

namespace {

bool is_reply_to(const AccessRequest& request, const utils::Bytes& datagram) {
    return datagram.size() >= subscriber::radius::header_size &&
           datagram[subscriber::radius::identifier_offset] == request.packet.identifier;
}

}  // namespace

void announce_request(const AccessRequest& request, const ServerConnection& connection) {
    std::cout << tools::colourise(tools::green, " Sent Access-Request Id " +
                                                    std::to_string(request.packet.identifier) + " from " +
                                                    connection.local_endpoint() + " to " +
                                                    connection.server_endpoint() + " length " +
                                                    std::to_string(request.datagram.size()))
              << '\n';
    print_attributes(request.packet, request.packet.dictionary.get());
    std::cout.flush();  // what was asked is there to read while the answer is awaited
}

std::optional<utils::Bytes> exchange(const AccessRequest& request, const ServerConnection& connection,
                                     const ClientSettings& settings) {
    for (std::int32_t attempt = 0; attempt < settings.retry; ++attempt) {
        connection.send(request.datagram);
        std::optional<utils::Bytes> datagram = connection.receive(settings.timeout);
        if (datagram && is_reply_to(request, *datagram)) {
            return datagram;
        }
        std::cerr << tools::colourise(tools::yellow, " No reply from server for ID " +
                                                         std::to_string(request.packet.identifier))
                  << '\n';
    }
    return std::nullopt;
}

}  // namespace quarn::authprobe
