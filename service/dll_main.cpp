// The library's entry routine.
#include <windows.h>

#include "service/process_events.h"
#include "service/thread_end.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
  switch (reason) {
    case DLL_PROCESS_ATTACH:
      qv::OnModuleLoaded(module);
      break;
    case DLL_THREAD_DETACH:
      qv::OnThreadNotification();
      break;
    case DLL_PROCESS_DETACH:
      qv::OnModuleUnloading();
      break;
    default:
      break;
  }
  return TRUE;
}
