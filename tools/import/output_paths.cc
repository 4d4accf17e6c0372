#include "output_paths.h"

namespace vimport {
namespace {

// Where the extension of the file name starts, or the end of the path.
size_t ExtensionStart(const std::string& path) {
  const size_t slash = path.find_last_of("/\\");
  const size_t name = slash == std::string::npos ? 0 : slash + 1;
  const size_t dot = path.rfind('.');
  return dot != std::string::npos && dot > name ? dot : path.size();
}

}  // namespace

std::string SeriesPath(const std::string& first, int n) {
  if (n <= 1) return first;
  const size_t ext = ExtensionStart(first);
  return first.substr(0, ext) + "-" + std::to_string(n) + first.substr(ext);
}

std::string SiblingPath(const std::string& first, const std::string& suffix) {
  return first.substr(0, ExtensionStart(first)) + suffix;
}

}  // namespace vimport
