// A library of the host's that is linked to the service with a delay: its first call loads it.
#include "tests/reliability/unload/other_libraries.h"

#ifndef _MSC_VER
#include <windows.h>

#include <delayimp.h>

// Later GNU linkers put the addresses of delayed imports where they can only be read, and the helper that finds them
// writes them all the same.
FARPROC WINAPI BeforeAnImport(unsigned event, DelayLoadInfo* import) {
  DWORD before = 0;
  if (event == dliStartProcessing) VirtualProtect(import->ppfn, sizeof(*import->ppfn), PAGE_READWRITE, &before);
  return nullptr;
}
PfnDliHook __pfnDliNotifyHook2 = &BeforeAnImport;
#endif

extern "C" __declspec(dllexport) int32_t OtherCreate(IQV_JavaVM** vm) { return QV_CreateJavaVM(vm, nullptr); }

extern "C" __declspec(dllexport) void OtherTouch() { QV_SetJavaVMDebugMode(1); }
