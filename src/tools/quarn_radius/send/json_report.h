// What `send --json` tells programs: one object an exchange, on one line. share/quarn/radius/send.schema.json
// describes it.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "quarn/radius/dictionary.h"
#include "quarn_radius/send/outcome.h"

namespace quarn::quarn_radius {

/// The object of one exchange, without a line end; ASCII control characters and bytes that are no UTF-8 are
/// escaped, so that the line is JSON whatever a server sends.
std::string outcome_json(const Outcome& outcome, const ReportStyle& style, std::string_view secret,
                         const std::shared_ptr<const subscriber::radius::RadiusDictionary>& dictionary);

}  // namespace quarn::quarn_radius
