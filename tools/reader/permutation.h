// The byte permutation that hides the payload of encoded blocks.
#pragma once

#include "bytes.h"

namespace vread {

// Undoes the encoding in place.
void decodePayload(Bytes& data);

// Applies the encoding in place (used to build test images).
void encodePayload(Bytes& data);

}  // namespace vread
