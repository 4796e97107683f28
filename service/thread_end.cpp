// The fibre-local slot holds the id of the thread it was set on: a callback that runs on another thread (the system
// runs them all on the caller when a slot is freed) must not detach that one. A thread-local flag tells the
// notification which threads have entries, whatever became of their fibres and their marks.
#include "service/thread_end.h"

#include <windows.h>

#include "base/process_end.h"
#include "base/thread_slot.h"
#include "service/thread_registry.h"

namespace qv {

namespace {

DWORD g_slot = FLS_OUT_OF_INDEXES;
ThreadFlag g_hasEntries;

// NOLINTNEXTLINE(performance-no-int-to-ptr): the system keeps a pointer-sized value, never followed
void* MarkOf(DWORD threadId) noexcept { return reinterpret_cast<void*>(static_cast<ULONG_PTR>(threadId)); }

void DetachEndingThread() noexcept {
  g_hasEntries.Set(false);
  if (!ProcessIsEnding() && g_pThreadRegistry != nullptr) g_pThreadRegistry->OnThreadDetach();
}

// On a thread that has become fibres it may be only one of them that ends.
void CALLBACK OnFibreEnd(void* mark) noexcept {
  if (mark == MarkOf(GetCurrentThreadId()) && IsThreadAFiber() == FALSE) DetachEndingThread();
}

}  // namespace

bool PrepareThreadEnd() noexcept {
  if (g_slot == FLS_OUT_OF_INDEXES) g_slot = FlsAlloc(OnFibreEnd);
  return g_slot != FLS_OUT_OF_INDEXES && g_hasEntries.Prepare();
}

bool MarkThreadForEnd() noexcept {
  if (!g_hasEntries.Set(true)) return false;
  // A fibre's mark would go with the fibre, which may be deleted long before the thread ends, or run on another one.
  return IsThreadAFiber() != FALSE || FlsSetValue(g_slot, MarkOf(GetCurrentThreadId())) != FALSE;
}

void OnThreadNotification() noexcept {
  if (!g_hasEntries.IsSet()) return;
  if (IsThreadAFiber() == FALSE) FlsSetValue(g_slot, nullptr);
  DetachEndingThread();
}

void ForgetThreadEnd() noexcept {
  if (g_slot == FLS_OUT_OF_INDEXES) return;
  FlsFree(g_slot);
  g_slot = FLS_OUT_OF_INDEXES;
  g_hasEntries.Forget();
}

}  // namespace qv
