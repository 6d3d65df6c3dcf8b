// What `AttributeReader` and `PartReader` promise for any bytes, checked against the decoder.
#pragma once

#include "quarn/radius/dictionary.h"
#include "quarn/utils/bytes.h"

namespace quarn::fuzz {

/// Ends the process with a message (see `require`) unless, for this datagram, the readers account for every
/// byte of the packet, and what they yield, put together, is what `pkt_load` makes of it: its refusals, its
/// values and its issues. The dictionary is the one of every kind.
void require_agreement(utils::byte_span datagram);

}  // namespace quarn::fuzz
