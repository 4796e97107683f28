// Asks the system's loader; the answer stays true once it is true.
// No guarded static of the language: its guard may be the first use of the compiler's thread library, which takes a
// thread-local slot of the system's and ends the process when there is none left.
#include "base/process_end.h"

#include <windows.h>

#include <atomic>

#include "base/procedure.h"

namespace qv {

namespace {

using Query = BOOLEAN(NTAPI*)();

constinit std::atomic<Query> g_query{nullptr};
constinit std::atomic<bool> g_lookedUp{false};

}  // namespace

bool ProcessIsEnding() noexcept {
  if (!g_lookedUp.load(std::memory_order_acquire)) {  // two threads at once find the same
    g_query = FindProcedure<Query>(GetModuleHandleW(L"ntdll.dll"), "RtlDllShutdownInProgress");
    g_lookedUp.store(true, std::memory_order_release);
  }
  const Query query = g_query;
  return query != nullptr && query() != FALSE;
}

}  // namespace qv
