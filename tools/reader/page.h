// The 16-byte trailer shared by map pages and B-tree pages.
#pragma once

#include <cstdint>
#include <string>

#include "file_image.h"
#include "violations.h"

namespace vread {

struct PageExpectation {
  std::uint8_t ptype = 0;
  std::uint64_t bid = 0;        // expected bid field of the trailer
  std::uint16_t signature = 0;  // expected wSig
  std::string what;             // "AMap page", "NBT page" ...
};

// Returns the page bytes at `ib` (nullptr when the page runs past the file)
// and logs every trailer field that differs from `want`, and a bad CRC.
const std::uint8_t* readPage(const FileImage& file, std::uint64_t ib, const PageExpectation& want,
                             ViolationLog& log);

// True when the page at `ib` carries `ptype` twice in its trailer.
bool looksLikePage(const FileImage& file, std::uint64_t ib, std::uint8_t ptype);

}  // namespace vread
