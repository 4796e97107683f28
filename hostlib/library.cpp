// The entry routine and the memory functions. Everything that needs the loader is looked up while the library is being
// attached, so that no later call, above all one of a thread that is ending, has to ask it.
#include "hostlib/library.h"

#include <windows.h>

#include "host/qvshr.h"
#include "hostlib/backend.h"
#include "hostlib/key_layer.h"

namespace qvshr {
namespace {

using ShutdownQuery = BOOLEAN(NTAPI*)();
ShutdownQuery g_shutdownQuery = nullptr;  // written during attach only

void FindShutdownQuery() noexcept {
  const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
  const FARPROC found = ntdll != nullptr ? GetProcAddress(ntdll, "RtlDllShutdownInProgress") : nullptr;
  g_shutdownQuery = reinterpret_cast<ShutdownQuery>(reinterpret_cast<void*>(found));
}

}  // namespace

bool ProcessIsEnding() noexcept { return g_shutdownQuery != nullptr && g_shutdownQuery() != FALSE; }

}  // namespace qvshr

using namespace qvshr;

extern "C" void* QvshrAlloc(size_t bytes) noexcept {
  return CallFails(kQvshrCallAlloc) ? nullptr : AllocateBlock(bytes, QVSHR_CALLER);
}

extern "C" void QvshrFree(void* block) noexcept {
  CallFails(kQvshrCallFree);
  FreeBlock(block, QVSHR_CALLER);
}

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID processEnds) {
  if (reason == DLL_PROCESS_ATTACH) {
    FindShutdownQuery();
    FindSettings();
    BackendAttach();
  } else if (reason == DLL_PROCESS_DETACH) {
    if (processEnds == nullptr) ForgetApplicationKeys();
    BackendDetach();
  }
  return TRUE;
}
