// The dictionary of the codec's tests.
#pragma once

#include "testing/packets.h"

namespace quarn::test {

/// A small dictionary with an attribute of every shape that the codec tells apart. The vendors and their
/// formats: 101 "1,1", 102 "2,2", 103 "4,4", 104 "1,1,c", 105 "2,1". Types 242 to 244 and 246 are undefined.
SharedDictionary codec_dictionary();

/// The same but for type 26, which it defines as octets.
SharedDictionary dictionary_without_vendor_specific();

}  // namespace quarn::test
