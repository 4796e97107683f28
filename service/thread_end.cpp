// The slot holds the id of the thread it was set on: a callback that runs on another thread (the system runs them all
// on the caller when a slot is freed) must not detach that one.
#include "service/thread_end.h"

#include <windows.h>

#include "base/process_end.h"
#include "service/thread_registry.h"

namespace qv {

namespace {

DWORD g_slot = FLS_OUT_OF_INDEXES;

// NOLINTNEXTLINE(performance-no-int-to-ptr): the system keeps a pointer-sized value, never followed
void* MarkOf(DWORD threadId) noexcept { return reinterpret_cast<void*>(static_cast<ULONG_PTR>(threadId)); }

void DetachEndingThread() noexcept {
  if (!ProcessIsEnding() && g_pThreadRegistry != nullptr) g_pThreadRegistry->OnThreadDetach();
}

void CALLBACK OnFibreEnd(void* mark) noexcept {
  if (mark == MarkOf(GetCurrentThreadId())) DetachEndingThread();
}

}  // namespace

bool PrepareThreadEnd() noexcept {
  if (g_slot == FLS_OUT_OF_INDEXES) g_slot = FlsAlloc(OnFibreEnd);
  return g_slot != FLS_OUT_OF_INDEXES;
}

bool MarkThreadForEnd() noexcept { return FlsSetValue(g_slot, MarkOf(GetCurrentThreadId())) != FALSE; }

void OnThreadNotification() noexcept {
  if (g_slot == FLS_OUT_OF_INDEXES || FlsGetValue(g_slot) == nullptr) return;
  FlsSetValue(g_slot, nullptr);
  DetachEndingThread();
}

void ForgetThreadEnd() noexcept {
  if (g_slot == FLS_OUT_OF_INDEXES) return;
  FlsFree(g_slot);
  g_slot = FLS_OUT_OF_INDEXES;
}

}  // namespace qv
