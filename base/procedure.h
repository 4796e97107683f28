// The one place where GetProcAddress becomes a typed function pointer.
#pragma once

#include <windows.h>

namespace qv {

// Null when the module is null or has no such export.
template <class Function>
Function FindProcedure(HMODULE module, const char* name) noexcept {
  if (module == nullptr) return nullptr;
  return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

}  // namespace qv
