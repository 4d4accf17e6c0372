// Native side of the UTF-8 check: compares the portable decoder with the
// Windows conversion recorded by utf8_probe, for the same generated list.
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "ltp/utf8.h"
#include "utf8_cases.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: utf8_compare PROBE_OUTPUT\n");
    return 2;
  }
  std::ifstream in(argv[1]);
  if (!in) {
    std::fprintf(stderr, "cannot read %s\n", argv[1]);
    return 2;
  }
  const std::vector<std::string> cases = utf8cases::Generate();
  size_t line_no = 0, differences = 0;
  std::string line;
  for (const std::string& bytes : cases) {
    ++line_no;
    if (!std::getline(in, line)) {
      std::fprintf(stderr, "%s ends at line %zu of %zu\n", argv[1], line_no,
                   cases.size());
      return 1;
    }
    const std::string hex = utf8cases::Hex(bytes);
    const size_t tab = line.find('\t');
    if (tab == std::string::npos || line.compare(0, tab, hex) != 0) {
      std::fprintf(stderr, "line %zu is not for %s: %s\n", line_no,
                   hex.c_str(), line.c_str());
      return 1;
    }
    const virel::Bytes utf16 = virel::ltp::Utf8ToUtf16(bytes);
    std::vector<uint16_t> units;
    for (size_t i = 0; i + 1 < utf16.size(); i += 2) {
      units.push_back(static_cast<uint16_t>(utf16[i] | (utf16[i + 1] << 8)));
    }
    const std::string portable = utf8cases::UnitsText(units);
    const std::string windows = line.substr(tab + 1);
    if (portable != windows && ++differences <= 40) {
      std::printf("%-24s windows %-30s portable %s\n", hex.c_str(),
                  windows.c_str(), portable.c_str());
    }
  }
  if (std::getline(in, line)) {
    std::fprintf(stderr, "%s has more lines than the %zu generated strings\n",
                 argv[1], cases.size());
    return 1;
  }
  std::printf("%zu strings, %zu differences\n", cases.size(), differences);
  return differences == 0 ? 0 : 1;
}
