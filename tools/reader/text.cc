#include "text.h"

#include <cstdio>

namespace vread {

namespace {

constexpr std::uint32_t kReplacement = 0xFFFD;
constexpr std::uint64_t kTicksPerSecond = 10000000;
constexpr std::int64_t kEpochDelta = 11644473600;  // seconds from 1601 to 1970
constexpr std::int64_t kSecondsPerDay = 86400;

void appendUtf8(std::string& out, std::uint32_t cp) {
  if (cp < 0x80) {
    out += static_cast<char>(cp);
  } else if (cp < 0x800) {
    out += static_cast<char>(0xC0 | (cp >> 6));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    out += static_cast<char>(0xE0 | (cp >> 12));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (cp >> 18));
    out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  }
}

// Days since 1970-01-01 to a civil date (proleptic Gregorian).
void civilFromDays(std::int64_t z, std::int64_t& y, unsigned& m, unsigned& d) {
  z += 719468;
  std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  auto doe = static_cast<unsigned>(z - era * 146097);
  unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  y = static_cast<std::int64_t>(yoe) + era * 400;
  unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  unsigned mp = (5 * doy + 2) / 153;
  d = doy - (153 * mp + 2) / 5 + 1;
  m = mp < 10 ? mp + 3 : mp - 9;
  if (m <= 2) ++y;
}

}  // namespace

std::string utf16ToUtf8(const Bytes& utf16) {
  std::size_t units = utf16.size() / 2;
  while (units > 0 && le16(utf16.data() + 2 * (units - 1)) == 0) --units;
  std::string out;
  for (std::size_t i = 0; i < units; ++i) {
    std::uint32_t u = le16(utf16.data() + 2 * i);
    if (u >= 0xD800 && u < 0xDC00 && i + 1 < units) {
      std::uint32_t low = le16(utf16.data() + 2 * (i + 1));
      if (low >= 0xDC00 && low < 0xE000) {
        appendUtf8(out, 0x10000 + ((u - 0xD800) << 10) + (low - 0xDC00));
        ++i;
        continue;
      }
    }
    appendUtf8(out, (u >= 0xD800 && u < 0xE000) ? kReplacement : u);
  }
  return out;
}

std::string filetimeToIso(std::uint64_t filetime) {
  std::int64_t seconds = static_cast<std::int64_t>(filetime / kTicksPerSecond) - kEpochDelta;
  std::int64_t days = seconds / kSecondsPerDay;
  std::int64_t rest = seconds % kSecondsPerDay;
  if (rest < 0) {
    rest += kSecondsPerDay;
    --days;
  }
  std::int64_t year = 0;
  unsigned month = 0, day = 0;
  civilFromDays(days, year, month, day);
  char buf[48];
  std::snprintf(buf, sizeof buf, "%04lld-%02u-%02uT%02d:%02d:%02dZ", static_cast<long long>(year), month, day,
                static_cast<int>(rest / 3600), static_cast<int>(rest / 60 % 60), static_cast<int>(rest % 60));
  return buf;
}

std::string hexDump(const Bytes& bytes, std::size_t limit) {
  std::string out;
  char buf[4];
  for (std::size_t i = 0; i < bytes.size() && i < limit; ++i) {
    std::snprintf(buf, sizeof buf, "%02X", bytes[i]);
    if (i) out += ' ';
    out += buf;
  }
  if (bytes.size() > limit) out += " ...";
  return out;
}

}  // namespace vread
