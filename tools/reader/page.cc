#include "page.h"

#include "crc32.h"
#include "layout.h"

namespace vread {

using namespace layout;

const std::uint8_t* readPage(const FileImage& file, std::uint64_t ib, const PageExpectation& want,
                             ViolationLog& log) {
  const std::uint8_t* p = file.at(ib, kPageSize);
  if (p == nullptr) {
    log.add(ib, want.what + " runs past the end of the file");
    return nullptr;
  }
  if (p[kOffPtype] != want.ptype || p[kOffPtypeRepeat] != want.ptype)
    log.add(ib + kOffPtype, want.what + ": ptype " + hex(p[kOffPtype]) + "/" + hex(p[kOffPtypeRepeat]) +
                                ", expected " + hex(want.ptype));
  if (le16(p + kOffPageSig) != want.signature)
    log.add(ib + kOffPageSig, want.what + ": wSig " + hex(le16(p + kOffPageSig)) + ", expected " +
                                  hex(want.signature));
  std::uint32_t crc = crc32(p, kPageData);
  if (le32(p + kOffPageCrc) != crc)
    log.add(ib + kOffPageCrc, want.what + ": dwCRC " + hex(le32(p + kOffPageCrc)) + ", computed " + hex(crc));
  if (le64(p + kOffPageBid) != want.bid)
    log.add(ib + kOffPageBid, want.what + ": bid " + hex(le64(p + kOffPageBid)) + ", expected " + hex(want.bid));
  return p;
}

bool looksLikePage(const FileImage& file, std::uint64_t ib, std::uint8_t ptype) {
  const std::uint8_t* p = file.at(ib, kPageSize);
  return p != nullptr && p[kOffPtype] == ptype && p[kOffPtypeRepeat] == ptype;
}

}  // namespace vread
