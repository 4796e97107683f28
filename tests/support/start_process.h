// The start of another process, for tests and benchmarks.
#pragma once

#include <windows.h>

namespace qvtest {

// `create` is a call of CreateProcess; false with its last error when that failed. Where Linux puts heaps at
// random, Wine cannot set up one process of 4,000 and answers an internal error. Nothing of it ran, so it is asked
// again.
template <class Create>
bool StartProcess(Create&& create) {
  for (int attempt = 0; attempt < 3; ++attempt) {
    if (create() != FALSE) return true;
    if (GetLastError() != ERROR_INTERNAL_ERROR) break;
  }
  return false;
}

}  // namespace qvtest
