// A library whose entry routine keeps the system's loader lock until it is told to go on: for tests of what can happen
// meanwhile. It loads when it was told in time, and fails to load otherwise. The events' names end in the process id.
#include "tests/reliability/threads/loader_lock.h"

#include <windows.h>

#include <cwchar>

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
  if (reason != DLL_PROCESS_ATTACH) return TRUE;
  wchar_t held[64];
  wchar_t go[64];
  swprintf(held, 64, qvtest::kLoaderLockHeld, GetCurrentProcessId());
  swprintf(go, 64, qvtest::kLoaderLockGo, GetCurrentProcessId());
  const HANDLE heldEvent = OpenEventW(EVENT_MODIFY_STATE, FALSE, held);
  const HANDLE goEvent = OpenEventW(SYNCHRONIZE, FALSE, go);
  SetEvent(heldEvent);
  const DWORD waited = WaitForSingleObject(goEvent, qvtest::kLoaderLockLimitMs);
  CloseHandle(heldEvent);
  CloseHandle(goEvent);
  return waited == WAIT_OBJECT_0;
}
