// A library of the host's that has the service for its own life: loads it when it is loaded, frees it when it is freed.
#include <windows.h>

#include "base/procedure.h"
#include "tests/reliability/unload/other_libraries.h"

namespace {

HMODULE g_service = nullptr;

void LoadServiceBeside(HMODULE self) {
  wchar_t path[MAX_PATH] = {};
  DWORD length = GetModuleFileNameW(self, path, MAX_PATH);
  while (length != 0 && path[length - 1] != L'\\') path[--length] = L'\0';
  constexpr wchar_t kName[] = L"qvjvm.dll";
  for (size_t i = 0; i < std::size(kName); ++i) path[length + i] = kName[i];
  g_service = LoadLibraryExW(path, nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
}

}  // namespace

extern "C" __declspec(dllexport) int32_t OtherCreate(IQV_JavaVM** vm) {
  const auto create = qv::FindProcedure<QV_CreateJavaVMFn>(g_service, "QV_CreateJavaVM");
  return create != nullptr ? create(vm, nullptr) : QV_E_FAIL;
}

extern "C" BOOL WINAPI DllMain(HINSTANCE self, DWORD reason, LPVOID processEnds) {
  if (reason == DLL_PROCESS_ATTACH) LoadServiceBeside(self);
  if (reason == DLL_PROCESS_DETACH && processEnds == nullptr && g_service != nullptr) FreeLibrary(g_service);
  return TRUE;
}
