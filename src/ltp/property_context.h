// Lays a property bag out as a property context inside a heap.
#pragma once

#include "ltp/heap.h"
#include "ltp/property_bag.h"

namespace virel {
namespace ltp {

// Resets the heap and fills it in this order: every value longer than
// 4 bytes (in tag order), the record array, then the BTHHEADER, which
// becomes the user root. Values of 1 to 4 bytes are stored inline in the
// record; empty values as 0. The heap refers to the bag's longer values,
// so the bag must stay unchanged until the heap is serialised.
void BuildPropertyContext(const PropertyBag& bag, Heap* heap);

}  // namespace ltp
}  // namespace virel
