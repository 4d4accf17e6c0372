// RFC 2047 encoded words whose charset is missing, unknown or wrong lose
// their non-ASCII text in GMime's decoder. Rewriting them first as UTF-8
// words, decoded through our charset fallback, keeps that text.
#pragma once

#include <string>
#include <vector>

namespace vimport {

// `raw` (a header value) with every encoded word replaced by one holding
// the same text in UTF-8. Adjacent words of one charset are decoded
// together, as a character may be split across them. Everything else is
// left as it is; what needed a fallback is added to `problems`.
std::string RepairEncodedWords(const std::string& raw, std::vector<std::string>* problems);

}  // namespace vimport
