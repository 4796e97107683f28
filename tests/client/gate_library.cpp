// A service whose start waits; see the header.
#include "tests/client/gate_library.h"

#include <windows.h>

#include "qvjvm/qvjvm.h"

namespace {

const HANDLE g_came = CreateEventW(nullptr, TRUE, FALSE, nullptr);
const HANDLE g_open = CreateEventW(nullptr, TRUE, FALSE, nullptr);
void (*g_inDetach)() = nullptr;

}  // namespace

extern "C" {

int32_t QV_CreateJavaVM(IQV_JavaVM** vm, const wchar_t* classPath) noexcept {
  SetEvent(g_came);
  WaitForSingleObject(g_open, INFINITE);
  const HMODULE service = GetModuleHandleW(L"qvjvm.dll");
  const auto create =
      reinterpret_cast<QV_CreateJavaVMFn>(reinterpret_cast<void*>(GetProcAddress(service, "QV_CreateJavaVM")));
  return create(vm, classPath);
}

__declspec(dllexport) void WaitForStart() { WaitForSingleObject(g_came, INFINITE); }
__declspec(dllexport) void OpenGate() { SetEvent(g_open); }
__declspec(dllexport) void CallInDetach(void (*function)()) { g_inDetach = function; }

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID processEnds) {
  if (reason == DLL_PROCESS_DETACH && processEnds != nullptr && g_inDetach != nullptr) g_inDetach();
  return TRUE;
}
}
