// The few dlfcn.h calls the tests use, over LoadLibrary and GetProcAddress,
// so that tests written for Linux also build and run as Windows programs.
#pragma once

#include <windows.h>

#include <cstdio>

#define RTLD_LAZY 1
#define RTLD_NOW 2

namespace dlfcn_compat {

inline const char*& LastError() {
  static const char* text = nullptr;
  return text;
}

inline void SetError(const char* what) {
  static char buffer[128];
  std::snprintf(buffer, sizeof buffer, "%s failed, error %lu", what,
                static_cast<unsigned long>(GetLastError()));
  LastError() = buffer;
}

}  // namespace dlfcn_compat

inline void* dlopen(const char* file, int /*mode*/) {
  HMODULE module = LoadLibraryA(file);
  if (module == nullptr) dlfcn_compat::SetError("LoadLibrary");
  return reinterpret_cast<void*>(module);
}

inline void* dlsym(void* handle, const char* name) {
  FARPROC proc = GetProcAddress(static_cast<HMODULE>(handle), name);
  if (proc == nullptr) dlfcn_compat::SetError("GetProcAddress");
  return reinterpret_cast<void*>(proc);
}

inline int dlclose(void* handle) {
  return FreeLibrary(static_cast<HMODULE>(handle)) ? 0 : -1;
}

inline const char* dlerror() {
  const char* text = dlfcn_compat::LastError();
  dlfcn_compat::LastError() = nullptr;
  return text;
}
