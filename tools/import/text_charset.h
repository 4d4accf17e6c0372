// Turns text in whatever charset a message declares into valid UTF-8,
// falling back when the declaration is missing or wrong so no text is lost.
#pragma once

#include <string>

namespace vimport {

// True when `bytes` is valid UTF-8 (NUL bytes allowed).
bool IsValidUtf8(const std::string& bytes);

// Converts `bytes` from `declared` (may be empty) to UTF-8. Tries the
// declared charset, then UTF-8, then windows-1252, then ISO-8859-1, which
// takes any byte. When the result is not a plain reading of the declared
// charset, `*problem` says what was done; otherwise it is left unchanged.
std::string TextToUtf8(std::string bytes, const std::string& declared,
                       std::string* problem);

// A C string from a library (may be null, may hold raw bytes) as valid UTF-8.
std::string ValidUtf8(const char* text);

}  // namespace vimport
