// Presses Ctrl+C for a program of consoles: starts it, passes its output on, sends the event to it after so many lines,
// and ends with its exit code. Usage: ctrl_c LINES PROGRAM ARGUMENT...
//
// A console of its own, without a window, keeps the event from who runs the tests: the program starts itself in one.
#include <windows.h>

#include <algorithm>
#include <cwchar>
#include <string>

namespace {

constexpr const wchar_t* kInConsole = L"QV_CTRL_C_CONSOLE";
constexpr int kFailed = 99;

// Starts a program with these arguments, which have no quotes in them; null when it does not start.
HANDLE Start(int count, wchar_t** arguments, DWORD flags, HANDLE output) {
  std::wstring line;
  for (int at = 0; at < count; ++at) line += std::wstring(at == 0 ? L"\"" : L" \"") + arguments[at] + L"\"";
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
  startup.hStdOutput = output;
  startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
  PROCESS_INFORMATION started{};
  if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, flags, nullptr, nullptr, &startup, &started)) {
    return nullptr;
  }
  CloseHandle(started.hThread);
  return started.hProcess;
}

int ExitCodeOf(HANDLE process) {
  DWORD code = kFailed;
  WaitForSingleObject(process, INFINITE);
  GetExitCodeProcess(process, &code);
  return static_cast<int>(code);
}

int RunAndInterrupt(long long lines, int count, wchar_t** program) {
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  HANDLE from = nullptr;
  HANDLE to = nullptr;
  if (!CreatePipe(&from, &to, &inherited, 0)) return kFailed;
  SetHandleInformation(from, HANDLE_FLAG_INHERIT, 0);
  const HANDLE process = Start(count, program, 0, to);
  CloseHandle(to);
  if (process == nullptr) return kFailed;
  // Not before: who ignores the event makes a program that it starts ignore it.
  SetConsoleCtrlHandler(nullptr, TRUE);
  char block[4096];
  DWORD got = 0;
  bool sent = false;
  while (ReadFile(from, block, sizeof block, &got, nullptr) && got > 0) {
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), block, got, &written, nullptr);
    lines -= std::count(block, block + got, '\n');
    if (sent || lines > 0) continue;
    sent = true;
    if (!GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0)) return kFailed;
  }
  return sent ? ExitCodeOf(process) : kFailed;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc < 3) return kFailed;
  if (GetEnvironmentVariableW(kInConsole, nullptr, 0) != 0) {
    return RunAndInterrupt(std::wcstoll(argv[1], nullptr, 10), argc - 2, argv + 2);
  }
  SetEnvironmentVariableW(kInConsole, L"1");
  const HANDLE process = Start(argc, argv, CREATE_NO_WINDOW, GetStdHandle(STD_OUTPUT_HANDLE));
  return process == nullptr ? kFailed : ExitCodeOf(process);
}
