// A fake of the host's runtime library: names a log file when asked, and notes what the buffers held on entry.
// QVRTH_LOG_PATH is the path that it names; without it the buffer stays as it was.
#include <windows.h>

#include <algorithm>

namespace {
int g_calls = 0;
bool g_buffersWereZero = true;
}  // namespace

extern "C" {

#if !defined(QVRTH_WITHOUT_HOOK)
__declspec(dllexport) int QV_RTGetJvmWebConfig(wchar_t* logPath, wchar_t* second) {
  ++g_calls;
  g_buffersWereZero = g_buffersWereZero && std::all_of(logPath, logPath + 261, [](wchar_t u) { return u == 0; }) &&
                      std::all_of(second, second + 1024, [](wchar_t u) { return u == 0; });
  GetEnvironmentVariableW(L"QVRTH_LOG_PATH", logPath, 261);
  std::fill(second, second + 1024, L'x');
  return -1;  // nobody looks
}
#endif

__declspec(dllexport) int FakeQvrthCalls() { return g_calls; }
__declspec(dllexport) int FakeQvrthBuffersWereZero() { return g_buffersWereZero ? 1 : 0; }
}
