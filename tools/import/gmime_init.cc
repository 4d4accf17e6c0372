#include "gmime_init.h"

#include <gmime/gmime.h>

#include <mutex>

namespace vimport {

void InitGMimeOnce() {
  static std::once_flag once;
  std::call_once(once, [] { g_mime_init(); });
}

}  // namespace vimport
