#include "ndb/page_trailer.h"

#include "ndb/crc32.h"

namespace virel {
namespace ndb {

void WritePageTrailer(uint8_t* page, uint8_t ptype, uint16_t sig,
                      uint64_t bid) {
  page[page_offset::kType] = ptype;
  page[page_offset::kTypeRepeat] = ptype;
  EncodeFixed16(page + page_offset::kSig, sig);
  EncodeFixed64(page + page_offset::kBid, bid);
  UpdatePageCrc(page);
}

void UpdatePageCrc(uint8_t* page) {
  EncodeFixed32(page + page_offset::kCrc, Crc32(page, kPageDataSize));
}

}  // namespace ndb
}  // namespace virel
