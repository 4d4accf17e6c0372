// Writer lifecycle and folder exports.
#include "api/barrier.h"
#include "api/handles.h"
#include "core/virel.h"
#include "core/writer_impl.h"
#include "virel.h"

using virel::Virel;
using virel::api::CopyText;
using virel::api::AsVirel;
using virel::api::Guarded;

extern "C" {

VIREL_API virel_writer* virel_create_writer(const char* path) {
  return Guarded<virel_writer*>(nullptr, [&] {
    return reinterpret_cast<virel_writer*>(new Virel(CopyText(path, "out.pst")));
  });
}

VIREL_API void virel_close(virel_writer* writer) {
  if (writer == nullptr) return;
  Guarded([&] { AsVirel(writer)->impl().close(); });
}

VIREL_API void virel_destroy_writer(virel_writer* writer) {
  // Destruction closes an unclosed writer; a failure there is fatal.
  delete AsVirel(writer);
}

VIREL_API uint64_t virel_create_folder(virel_writer* writer, const char* path) {
  if (writer == nullptr) return 0;
  return Guarded<uint64_t>(0, [&] {
    return AsVirel(writer)->impl().CreateFolder(CopyText(path));
  });
}

}  // extern "C"
