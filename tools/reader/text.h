// Conversions for display: UTF-16LE text, FILETIME, hex dumps.
#pragma once

#include <cstdint>
#include <string>

#include "bytes.h"

namespace vread {

// UTF-16LE to UTF-8; trailing NUL code units are dropped, bad surrogates
// become U+FFFD.
std::string utf16ToUtf8(const Bytes& utf16);

// FILETIME (100 ns since 1601) as "YYYY-MM-DDTHH:MM:SSZ".
std::string filetimeToIso(std::uint64_t filetime);

// Bytes as space-separated hex pairs, cut after `limit` bytes with "...".
std::string hexDump(const Bytes& bytes, std::size_t limit = 64);

}  // namespace vread
