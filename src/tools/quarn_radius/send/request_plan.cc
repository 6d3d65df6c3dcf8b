#include "quarn_radius/send/request_plan.h"

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <utility>

#include "quarn/radius/parse_issue.h"
#include "quarn/utils/case_insensitive.h"
#include "quarn_radius/dictionary/problem.h"

namespace quarn::quarn_radius {

namespace {

constexpr std::size_t max_packet_size = 4096;  // RFC 2865, section 3

WrittenRequest written_in_file(const RequestFile& file, const FileRequest& request) {
    WrittenRequest written{.origin = place_text({file.name, request.line})};
    for (const FileAttribute& attribute : request.attributes) {
        written.attributes.push_back({&attribute.text, place_text({file.name, attribute.line})});
    }
    for (const Problem& note : request.notes) {
        written.remarks.push_back({"operator", place_text({note.file, note.line}) + ": " + note.text});
    }
    return written;
}

}  // namespace

WrittenRequests::WrittenRequests(const SendOptions& options) {
    read_operands(options);
    read_files(options);
    if (options.request_files.empty()) {
        requests_.emplace_back();
    }
    for (WrittenRequest& request : requests_) {
        add_common_attributes(options, request);
    }
}

void WrittenRequests::read_operands(const SendOptions& options) {
    for (const std::string& operand : options.operands) {
        if (is_server_operand(operand)) {
            continue;
        }
        auto attribute = split_attribute(operand);
        if (!attribute) {
            throw std::invalid_argument("\"" + operand + "\" is no attribute: its name is missing");
        }
        typed_.push_back(*std::move(attribute));
    }
}

void WrittenRequests::read_files(const SendOptions& options) {
    for (const std::string& path : options.request_files) {
        const RequestFile& file = files_.emplace_back(read_request_file(path));
        if (file.requests.empty()) {
            throw std::invalid_argument(file.name + ": no request is in it");
        }
        for (const FileRequest& request : file.requests) {
            requests_.push_back(written_in_file(file, request));
        }
    }
}

/// The attributes of the command line, and those of the profile that nothing else sets.
void WrittenRequests::add_common_attributes(const SendOptions& options, WrittenRequest& request) const {
    for (const AttributeText& attribute : typed_) {
        request.attributes.push_back({&attribute, std::string()});
    }
    const auto own = static_cast<std::ptrdiff_t>(request.attributes.size());
    for (const FileAttribute& attribute : options.profile_attributes) {
        const bool is_set =
            std::any_of(request.attributes.begin(), request.attributes.begin() + own,
                        [&attribute](const PlacedAttribute& other) {
                            return utils::CaseInsensitiveEqual{}(other.text->name, attribute.text.name);
                        });
        if (!is_set) {
            request.attributes.push_back(
                {&attribute.text, place_text({options.profile_file, attribute.line})});
        }
    }
}

std::vector<PlannedExchange> plan_exchanges(
    const WrittenRequests& written, const DraftSettings& settings, std::size_t routes,
    const std::shared_ptr<const subscriber::radius::RadiusDictionary>& dictionary) {
    const NasFacts facts = facts_of_this_machine();
    std::uint8_t identifier = facts.first_identifier;
    std::vector<PlannedExchange> plan;
    plan.reserve(written.all().size() * std::max<std::size_t>(routes, 1));
    for (const WrittenRequest& request : written.all()) {
        for (std::size_t route = 0; route < std::max<std::size_t>(routes, 1); ++route) {
            RequestDraft draft = make_draft(settings, request.attributes, identifier, dictionary, facts);
            std::vector<Remark> remarks = request.remarks;
            remarks.insert(remarks.end(), draft.remarks.begin(), draft.remarks.end());
            plan.push_back({std::move(draft), request.origin, std::move(remarks), route});
            identifier = static_cast<std::uint8_t>((identifier + 1U) & 0xFFU);
        }
    }
    return plan;
}

void encode_plan(std::span<PlannedExchange> plan, std::string_view secret) {
    for (PlannedExchange& exchange : plan) {
        exchange.request = client::encode_request(exchange.draft.packet, secret);
        const std::string place = exchange.origin.empty() ? "" : exchange.origin + ": ";
        if (!exchange.request->issues().empty()) {
            throw std::invalid_argument(place + "the value of " + exchange.request->issues().front().context +
                                        " is too long for an attribute");
        }
        const std::size_t size = exchange.request->datagram().size();
        if (size > max_packet_size) {
            throw std::invalid_argument(place + "the request has " + std::to_string(size) +
                                        " octets, and at most 4096 fit into a packet");
        }
    }
}

}  // namespace quarn::quarn_radius
