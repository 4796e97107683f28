// Holds a file open so that nobody else may: usage: file_holder FILE READY-EVENT STOP-EVENT
#include <windows.h>

int wmain(int argc, wchar_t** argv) {
  if (argc != 4) return 2;
  const HANDLE file = CreateFileW(argv[1], GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, 0, nullptr);
  const HANDLE ready = OpenEventW(EVENT_MODIFY_STATE, FALSE, argv[2]);
  const HANDLE stop = OpenEventW(SYNCHRONIZE, FALSE, argv[3]);
  if (file == INVALID_HANDLE_VALUE || ready == nullptr || stop == nullptr) return 1;
  SetEvent(ready);
  WaitForSingleObject(stop, INFINITE);
  CloseHandle(file);
  return 0;
}
