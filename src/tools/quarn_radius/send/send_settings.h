// From the options of `send` to settings that are checked.
//
// Every function throws `std::invalid_argument` for a value that it cannot take. In front of the reason
// stands the file and line of a profile when the value comes from there.
#pragma once

#include <memory>
#include <vector>

#include "quarn/client/conversation.h"
#include "quarn/radius/dictionary.h"
#include "quarn_radius/send/expectation.h"
#include "quarn_radius/send/request_draft.h"
#include "quarn_radius/send/secret_source.h"
#include "quarn_radius/send/send_options.h"

namespace quarn::quarn_radius {

/// A route for each server, those of --server first.
std::vector<client::Route> make_routes(const SendOptions& options);

/// How to wait, and which replies to accept.
client::ConversationOptions make_conversation_options(const SendOptions& options);

/// What holds for every request. The password is not read.
DraftSettings make_draft_settings(const SendOptions& options);

/// Each --expect, in order.
std::vector<Expectation> make_expectations(
    const SendOptions& options,
    const std::shared_ptr<const subscriber::radius::RadiusDictionary>& dictionary);

/// The shared secret and the password as they were given; nothing where none was. A shared secret is not
/// empty. Throws `FileError`, too, for a file that cannot be read.
struct GivenSecrets {
    std::optional<GivenSecret> secret = {};
    std::optional<GivenSecret> password = {};
};
GivenSecrets read_given_secrets(const SendOptions& options);

}  // namespace quarn::quarn_radius
