#include "train/processes.h"

#include <windows.h>

#include <jni.h>

#include <mutex>
#include <sstream>

#include "train/files.h"

namespace train {
namespace {

// As the C runtime of the program takes it apart again.
std::wstring Quoted(const std::wstring& argument) {
  if (!argument.empty() && argument.find_first_of(L" \t\"") == std::wstring::npos) return argument;
  std::wstring quoted = L"\"";
  size_t backslashes = 0;
  for (const wchar_t unit : argument) {
    if (unit == L'"') quoted.append(backslashes + 1, L'\\');
    backslashes = unit == L'\\' ? backslashes + 1 : 0;
    quoted.push_back(unit);
  }
  return quoted.append(backslashes, L'\\') + L"\"";
}

std::wstring Variable(const wchar_t* name) {
  std::wstring value(32767, L'\0');
  value.resize(GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
  return value;
}

std::mutex g_lock;
HANDLE g_running = nullptr;
bool g_stopped = false;

// The program that is waited for, or null. One that comes too late is ended.
void SetRunning(HANDLE process) {
  const std::lock_guard guard(g_lock);
  g_running = process;
  if (process != nullptr && g_stopped) TerminateProcess(process, 1);
}

BOOL WINAPI OnControl(DWORD event) {
  {
    const std::lock_guard guard(g_lock);
    g_stopped = true;
    if (g_running != nullptr && WaitForSingleObject(g_running, 3000) != WAIT_OBJECT_0) TerminateProcess(g_running, 1);
  }
  // After the other events Windows ends the process when this comes back.
  if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) Sleep(INFINITE);
  return TRUE;
}

}  // namespace

void StopProgramsAtCtrlC() { SetConsoleCtrlHandler(&OnControl, TRUE); }

bool Stopped() {
  const std::lock_guard guard(g_lock);
  return g_stopped;
}

std::optional<unsigned long> RunProgram(const std::wstring& program, const std::vector<std::wstring>& arguments,
                                        const std::vector<std::wstring>& javaOptions, Output output) {
  constexpr const wchar_t* kVariable = L"JAVA_TOOL_OPTIONS";
  if (Stopped()) return {};
  std::wstring line = Quoted(program);
  for (const std::wstring& argument : arguments) line += L" " + Quoted(argument);
  const std::wstring before = Variable(kVariable);
  std::wstring options = before;
  for (const std::wstring& option : javaOptions) options += L" '" + option + L"'";
  if (!options.empty()) SetEnvironmentVariableW(kVariable, options.c_str());
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  SECURITY_ATTRIBUTES inheritable = {sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
  const HANDLE nowhere = CreateFileW(L"NUL", GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inheritable,
                                     OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (output == Output::Dropped) {
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = startup.hStdError = nowhere;
  }
  PROCESS_INFORMATION process{};
  const BOOL started =
      CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process);
  CloseHandle(nowhere);
  SetEnvironmentVariableW(kVariable, before.empty() ? nullptr : before.c_str());
  if (!started) return {};
  SetRunning(process.hProcess);
  WaitForSingleObject(process.hProcess, INFINITE);
  DWORD code = 1;
  GetExitCodeProcess(process.hProcess, &code);
  SetRunning(nullptr);
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  return Stopped() ? std::nullopt : std::optional<unsigned long>(code);
}

int CreateJvm(const std::wstring& home, const std::wstring& optionsFile) {
  SetDllDirectoryW((home + L"\\bin").c_str());
  HMODULE library = LoadLibraryW((home + L"\\bin\\server\\jvm.dll").c_str());
  if (library == nullptr) library = LoadLibraryW((home + L"\\bin\\client\\jvm.dll").c_str());
  const auto text = ReadFile(optionsFile);
  if (library == nullptr || !text) return 1;
  std::vector<std::string> lines;
  std::istringstream stream(*text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  std::vector<JavaVMOption> options;
  for (std::string& one : lines) options.push_back({one.data(), nullptr});
  using CreateFn = jint(JNICALL*)(JavaVM**, void**, void*);
  const auto create = reinterpret_cast<CreateFn>(reinterpret_cast<void*>(GetProcAddress(library, "JNI_CreateJavaVM")));
  JavaVMInitArgs arguments = {JNI_VERSION_1_2, static_cast<jint>(options.size()), options.data(), JNI_FALSE};
  JavaVM* vm = nullptr;
  void* env = nullptr;
  return create != nullptr && create(&vm, &env, &arguments) == JNI_OK ? 0 : 1;
}

}  // namespace train
