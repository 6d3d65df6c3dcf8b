// Builds the Accounting-Request with which a session starts and prints its datagram in hexadecimal.
//
//     accounting_request USER SESSION SECRET [DICTIONARY]
#include <quarn/radius/packet.h>
#include <quarn/radius/packet_code.h>
#include <quarn/radius/pkt_dump.h>
#include <quarn/utils/text.h>

#include <cstdlib>
#include <exception>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

using namespace quarn::subscriber::radius;

int main(int argc, char* argv[]) {
    if (argc < 4 || argc > 5) {
        std::cerr << "usage: accounting_request USER SESSION SECRET [DICTIONARY]\n";
        return EXIT_FAILURE;
    }
    try {
        const auto dictionary = std::make_shared<RadiusDictionary>();
        dictionary->load(argc == 5 ? argv[4] : "/opt/quarn/share/quarn/radius/dictionary.yaml");

        RadiusPacket request(dictionary);
        request.code = ACCOUNTING_REQUEST;
        request.identifier = 1;  // a client numbers its requests, to tell the replies apart
        request.set_attribute("User-Name", argv[1]);
        request.set_attribute("Acct-Status-Type", "Start");
        request.set_attribute("Acct-Session-Id", argv[2]);
        request.set_attribute("NAS-IP-Address", "192.0.2.1");

        std::vector<ParseIssue> issues;
        const Bytes datagram = pkt_dump(request, argv[3], issues);
        for (const ParseIssue& issue : issues) {
            std::cerr << "accounting_request: " << issue.context << ": " << issue.message << '\n';
        }
        std::cout << quarn::utils::bytes_to_hex(datagram.data(), datagram.size()) << '\n';
        return issues.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
    } catch (const std::exception& error) {
        std::cerr << "accounting_request: " << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
