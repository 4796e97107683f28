// The start of another process, for tests and benchmarks.
#pragma once

#include <windows.h>

namespace qvtest {

// `create` is a call of CreateProcess; false with its last error when that failed. Wine answers an internal
// error when it cannot set the process up (tools/lib/wine.sh tells when). Nothing of it ran, so it is asked again.
template <class Create>
bool StartProcess(Create&& create) {
  for (int attempt = 0; attempt < 3; ++attempt) {
    if (create() != FALSE) return true;
    if (GetLastError() != ERROR_INTERNAL_ERROR) break;
  }
  return false;
}

}  // namespace qvtest
