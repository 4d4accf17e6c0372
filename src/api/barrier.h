// The exception barrier every export runs its body in: any exception is
// swallowed and the export returns its failure value.
#pragma once

#include <string>

namespace virel {
namespace api {

template <typename Result, typename Body>
Result Guarded(Result failure, Body&& body) noexcept {
  try {
    return body();
  } catch (...) {
    return failure;
  }
}

template <typename Body>
void Guarded(Body&& body) noexcept {
  try {
    body();
  } catch (...) {
  }
}

// Copies a caller text; NULL gives `fallback`.
inline std::string CopyText(const char* text, const char* fallback = "") {
  return std::string(text != nullptr ? text : fallback);
}

}  // namespace api
}  // namespace virel
