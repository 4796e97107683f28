// Every function of the import library is a pointer here, by the name that compilers of Windows call imported functions
// through. The rows are made of host/qvshr.def, which holds the ordinals.
#include "doctor/host_library.h"

#include <cstdint>

namespace {

extern "C" intptr_t Nothing() { return 0; }

}  // namespace

extern "C" {
#define QV_HOST_FUNCTION(name, ordinal) void* __imp_##name = reinterpret_cast<void*>(&Nothing);  // NOLINT
#include "host_functions.inc"
#undef QV_HOST_FUNCTION
}

namespace doctor {

namespace {

struct Import {
  void** place;
  int ordinal;
};

const Import kImports[] = {
#define QV_HOST_FUNCTION(name, ordinal) {&__imp_##name, ordinal},
#include "host_functions.inc"
#undef QV_HOST_FUNCTION
};

}  // namespace

HostLibraryLoad LoadHostLibrary(const std::wstring& path) {
  HostLibraryLoad load;
  const HMODULE library = LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);  // for good
  if (library == nullptr) {
    load.error = GetLastError();
    return load;
  }
  for (const Import& import : kImports) {
    const FARPROC function = GetProcAddress(library, MAKEINTRESOURCEA(import.ordinal));
    if (function != nullptr) {
      *import.place = reinterpret_cast<void*>(function);
    } else if (load.missing++ == 0) {
      load.firstMissing = import.ordinal;
    }
  }
  return load;
}

}  // namespace doctor
