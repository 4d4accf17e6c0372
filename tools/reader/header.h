// The 512-byte file header.
#pragma once

#include <cstdint>
#include <string>

#include "file_image.h"
#include "violations.h"

namespace vread {

struct BRef {
  std::uint64_t bid = 0;
  std::uint64_t ib = 0;
};

enum class HeaderState {
  Final,        // written by a completed close
  Provisional,  // the header written at opening: the close never completed
  Invalid,      // not a header of this format
};

struct HeaderInfo {
  HeaderState state = HeaderState::Invalid;
  std::string magic;  // the first four bytes as text, '?' for any byte that is not printable ASCII
  bool unicode = false;
  std::uint16_t version = 0;
  std::uint16_t clientVersion = 0;
  std::uint64_t fileEof = 0;
  std::uint64_t amapLast = 0;
  BRef nbt;
  BRef bbt;
  bool amapValid = false;
  std::uint8_t cryptMethod = 0;
  std::uint64_t fileSize = 0;  // real length of the file
};

// Parses and checks the header; every deviation goes to `log`.
HeaderInfo readHeader(const FileImage& file, ViolationLog& log);

const char* stateName(HeaderState state);

}  // namespace vread
