// A DLL of nothing, loaded under other names: as the service's own module, as a jvm.dll, as the host's runtime library.
#include <windows.h>

#include <cstdint>

// Names the log after the variable QV_UNIT_WEB_LOG; without it the buffer stays as it is.
extern "C" __declspec(dllexport) int32_t QV_RTGetJvmWebConfig(wchar_t* logPath, wchar_t* second) {
  if (GetEnvironmentVariableW(L"QV_UNIT_WEB_LOG", logPath, 261) == 0) logPath[0] = L'\0';
  second[1023] = L'x';  // the second buffer is 1024 units long
  return 0;
}
