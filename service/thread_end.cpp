// The fibre-local slot holds the id of the thread it was set on: a callback that runs on another thread (the system
// runs them all on the caller when a slot is freed) must not detach that one. A thread-local flag tells the
// notification which threads have entries, whatever became of their fibres and their marks.
#include "service/thread_end.h"

#include <windows.h>

#include "base/thread_slot.h"
#include "base/trace.h"

namespace qv {

namespace {

DWORD g_slot = FLS_OUT_OF_INDEXES;
ThreadFlag g_hasEntries;
void (*g_onEnd)() noexcept = nullptr;

// NOLINTNEXTLINE(performance-no-int-to-ptr): the system keeps a pointer-sized value, never followed
void* MarkOf(DWORD threadId) noexcept { return reinterpret_cast<void*>(static_cast<ULONG_PTR>(threadId)); }

void EndThread() noexcept {
  g_hasEntries.Set(false);
  g_onEnd();
}

// On a thread that has become fibres it may be only one of them that ends.
void CALLBACK OnFibreEnd(void* mark) noexcept {
  if (mark == MarkOf(GetCurrentThreadId()) && IsThreadAFiber() == FALSE) EndThread();
}

// A fibre's mark would go with the fibre, which may be deleted long before the thread ends, or run on another one.
bool HasCallback() noexcept { return g_slot != FLS_OUT_OF_INDEXES && IsThreadAFiber() == FALSE; }

}  // namespace

bool PrepareThreadEnd(void (*onEnd)() noexcept) noexcept {
  g_onEnd = onEnd;
  if (g_slot == FLS_OUT_OF_INDEXES) g_slot = FlsAlloc(OnFibreEnd);
  if (g_slot == FLS_OUT_OF_INDEXES) {
    Trace({L"no slot of fibre-local storage is left; threads are detached under the loader lock when they end"});
  }
  return g_hasEntries.Prepare();
}

bool MarkThreadForEnd() noexcept {
  if (!g_hasEntries.Set(true)) return false;
  return !HasCallback() || FlsSetValue(g_slot, MarkOf(GetCurrentThreadId())) != FALSE;
}

void OnThreadNotification() noexcept {
  if (!g_hasEntries.IsSet()) return;
  if (HasCallback()) FlsSetValue(g_slot, nullptr);
  EndThread();
}

void ForgetThreadEnd() noexcept {
  if (g_slot != FLS_OUT_OF_INDEXES) FlsFree(g_slot);
  g_slot = FLS_OUT_OF_INDEXES;
  g_hasEntries.Forget();
}

}  // namespace qv
