// A DLL of nothing, loaded under other names: as the service's own module, as a jvm.dll, as the host's runtime library.
#include <windows.h>

#include <algorithm>

// Names the log after the variable QV_UNIT_WEB_LOG; without it the buffer stays as it is. Asked once, with empty
// buffers.
extern "C" __declspec(dllexport) int QV_RTGetJvmWebConfig(wchar_t* logPath, wchar_t* second) {
  static int calls = 0;
  const auto isZero = [](wchar_t unit) { return unit == L'\0'; };
  if (++calls > 1 || !std::all_of(logPath, logPath + 261, isZero) || !std::all_of(second, second + 1024, isZero)) {
    lstrcpyW(logPath, L"asked again, or with buffers in use");
    return 0;
  }
  GetEnvironmentVariableW(L"QV_UNIT_WEB_LOG", logPath, 261);
  std::fill(second, second + 1024, L'x');
  return -1;  // nobody looks
}
