// What `send` does once its command line has been read: checks everything, sends, and reports.
#pragma once

#include "common/exit_status.h"
#include "quarn/client/network.h"
#include "quarn_radius/command.h"
#include "quarn_radius/send/send_options.h"

namespace quarn::quarn_radius {

/// Sends the requests and prints an outcome for each exchange, as soon as all before it are known. Returns
/// the largest exit status. Throws `std::invalid_argument` for whatever is wrong with options, files'
/// content, attributes and expectations, and `FileError` for files that cannot be read: nothing was sent
/// then.
tools::ExitStatus run_send(const SendOptions& options, client::Network& network, Streams streams);

}  // namespace quarn::quarn_radius
