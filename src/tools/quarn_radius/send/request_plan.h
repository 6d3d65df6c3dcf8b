// From operands, request files and the profile to the exchanges of a run.
//
//     const WrittenRequests written(options);
//     std::vector<PlannedExchange> plan = plan_exchanges(written, settings, routes.size(), dictionary);
//     encode_plan(plan, secret);
#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "quarn/client/request.h"
#include "quarn/radius/dictionary.h"
#include "quarn_radius/send/attribute_text.h"
#include "quarn_radius/send/remark.h"
#include "quarn_radius/send/request_draft.h"
#include "quarn_radius/send/request_file.h"
#include "quarn_radius/send/send_options.h"

namespace quarn::quarn_radius {

/// A request before it is built.
struct WrittenRequest {
    std::string origin = {};  ///< where it begins, "file:line"; empty for one of the command line
    std::vector<PlacedAttribute> attributes = {};
    std::vector<Remark> remarks = {};  ///< on how it was written
};

/// Every request that was written, with the attributes of the command line and of the profile. Its requests
/// point into it, and into the options.
class WrittenRequests {
  public:
    /// Reads the request files. Throws `std::invalid_argument` for an operand that is no attribute and for
    /// content that is no request, `FileError` for a file that cannot be read.
    explicit WrittenRequests(const SendOptions& options);
    WrittenRequests(const WrittenRequests&) = delete;
    WrittenRequests& operator=(const WrittenRequests&) = delete;

    std::span<const WrittenRequest> all() const { return requests_; }

  private:
    void read_operands(const SendOptions& options);
    void read_files(const SendOptions& options);
    void add_common_attributes(const SendOptions& options, WrittenRequest& request) const;

    std::vector<AttributeText> typed_;
    std::deque<RequestFile> files_;
    std::vector<WrittenRequest> requests_;
};

/// One exchange to make.
struct PlannedExchange {
    RequestDraft draft;
    std::string origin = {};                             ///< of the written request
    std::vector<Remark> remarks = {};                    ///< on the request
    std::size_t route = 0;                               ///< which server
    std::optional<client::EncodedRequest> request = {};  ///< nothing before `encode_plan`
};

/// Builds each request for each route, with Identifiers that follow each other; once when there is no route.
/// Throws as `make_draft` does.
std::vector<PlannedExchange> plan_exchanges(
    const WrittenRequests& written, const DraftSettings& settings, std::size_t routes,
    const std::shared_ptr<const subscriber::radius::RadiusDictionary>& dictionary);

/// Encodes each request. Throws `std::invalid_argument`, the request's place in front of the reason, for a
/// value that is too long for an attribute and for a request of more than 4096 octets (RFC 2865, section 3).
void encode_plan(std::span<PlannedExchange> plan, std::string_view secret);

}  // namespace quarn::quarn_radius
