// Owning pointer for GObject instances (GMime streams, parsers, messages).
#pragma once

#include <glib-object.h>

#include <memory>

namespace vimport {

struct GObjectUnref {
  void operator()(gpointer object) const {
    if (object != nullptr) g_object_unref(object);
  }
};

template <typename T>
using GObjectPtr = std::unique_ptr<T, GObjectUnref>;

}  // namespace vimport
