// Asks the system's loader; the answer stays true once it is true.
#include "base/process_end.h"

#include <windows.h>

#include "base/procedure.h"

namespace qv {

bool ProcessIsEnding() noexcept {
  using Query = BOOLEAN(NTAPI*)();
  static const Query query = FindProcedure<Query>(GetModuleHandleW(L"ntdll.dll"), "RtlDllShutdownInProgress");
  return query != nullptr && query() != FALSE;
}

}  // namespace qv
