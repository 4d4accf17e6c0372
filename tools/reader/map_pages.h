// The allocation-map pages (AMap, PMap, FMap, density list) after the header.
#pragma once

#include <cstdint>
#include <vector>

#include "file_image.h"
#include "header.h"
#include "violations.h"

namespace vread {

struct MapPages {
  std::vector<std::uint64_t> offsets;  // every map page read, in file order
  unsigned amapCount = 0;
  Bytes bitmap;  // the AMap data concatenated: bit u marks 512-byte unit u
  bool unitUsed(std::uint64_t unit) const;
};

// Reads and checks the map pages of a final file.
MapPages readMapPages(const FileImage& file, const HeaderInfo& header, ViolationLog& log);

}  // namespace vread
