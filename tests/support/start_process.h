// The start of another process, for tests and benchmarks.
#pragma once

#include <windows.h>

namespace qvtest {

// `create` is a call of CreateProcess; false with its last error when that failed. Once in many thousands Wine cannot
// set a new process up and answers an internal error. Nothing of the program ran then, so it is asked again.
template <class Create>
bool StartProcess(Create&& create) {
  for (int attempt = 0; attempt < 3; ++attempt) {
    if (create() != FALSE) return true;
    if (GetLastError() != ERROR_INTERNAL_ERROR) break;
  }
  return false;
}

}  // namespace qvtest
