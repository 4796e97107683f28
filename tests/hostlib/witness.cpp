// Asks the host library while the process ends, from an entry routine: every other thread is gone then, and nothing may
// wait. Prints one line.
#include <cstdio>
#include <cstring>

#include "tests/hostlib/host_build.h"

namespace {

const hosttest::HostApi* g_host = nullptr;

}  // namespace

extern "C" __declspec(dllexport) void Watch(const hosttest::HostApi* host) { g_host = host; }

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID processEnds) {
  if (reason != DLL_PROCESS_DETACH || processEnds == nullptr || g_host == nullptr) return TRUE;
  IQvString* text = nullptr;
  const int32_t made = g_host->CreateString(L"made at the end", &text);
  void* const block = g_host->Alloc(100);
  char line[128];
  std::snprintf(line, sizeof(line), "at the end: no detach %d, string %d, block %d\n",
                static_cast<int>(g_host->NoDetachQuery()), made == 0 && text != nullptr, block != nullptr);
  g_host->Free(block);
  if (text != nullptr) text->Release();
  DWORD written = 0;
  WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), line, static_cast<DWORD>(std::strlen(line)), &written, nullptr);
  return TRUE;
}
