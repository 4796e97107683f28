// A host whose job is a few classes of clienttests.jar. Usage: trained_host EXITCODE [own|once|interrupt]
// "own": with options of its own, which stand in place of the file's. "once": where the file "done" is, the job fails;
// else it makes that. "interrupt": where it is, the job presses Ctrl+C in its console and waits.
//   trained_host console PROGRAM ARGUMENT...   runs a program in a console of its own, without a window
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "qvjvm/qvjvm.hpp"

namespace {

// False when it is there already.
bool MakeFile(const char* name) {
  const HANDLE file = CreateFileA(name, GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  CloseHandle(file);
  return true;
}

// The arguments have neither quotes nor blanks at their ends.
int RunInConsole(int count, char** program) {
  std::string line;
  for (int at = 0; at < count; ++at) line += std::string(at == 0 ? "\"" : " \"") + program[at] + "\"";
  STARTUPINFOA startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdOutput = startup.hStdError = GetStdHandle(STD_OUTPUT_HANDLE);
  PROCESS_INFORMATION started{};
  if (!CreateProcessA(nullptr, line.data(), nullptr, nullptr, TRUE, CREATE_NO_WINDOW, nullptr, nullptr, &startup,
                      &started)) {
    return 1;
  }
  DWORD code = 1;
  WaitForSingleObject(started.hProcess, INFINITE);
  GetExitCodeProcess(started.hProcess, &code);
  CloseHandle(started.hThread);
  CloseHandle(started.hProcess);
  return static_cast<int>(code);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return 1;
  if (argc > 2 && std::string_view(argv[1]) == "console") return RunInConsole(argc - 2, argv + 2);
  qvjvm::options options;
  options.compiled().class_path(L"clienttests.jar");
  const std::string_view way = argc > 2 ? argv[2] : "";
  if (way == "own") options.option("-Xms16m");
  if (way == "once" && !MakeFile("done")) return 9;
  if (way == "interrupt" && !MakeFile("done")) {
    GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0);
    SetConsoleCtrlHandler(nullptr, TRUE);  // as a host that takes its time to end
    Sleep(60000);
  }
  const auto java = qvjvm::jvm::try_start(options);
  if (!java || !java.value().try_find_class("client/Callbacks")) return 1;
  std::puts("the job is done");
  return std::atoi(argv[1]);
}
