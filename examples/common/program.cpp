// Start, output, paths and exit codes of the example programs.
#include "common/program.h"

#include <windows.h>

namespace example {
namespace {

/// Writes text as the console shows it, and as UTF-8 when the output goes into a file or a pipe.
void Print(DWORD stream, const std::wstring& text) {
  const HANDLE handle = GetStdHandle(stream);
  DWORD mode = 0;
  DWORD written = 0;
  if (GetConsoleMode(handle, &mode)) {
    WriteConsoleW(handle, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    return;
  }
  const int units = static_cast<int>(text.size());
  std::string bytes(
      static_cast<size_t>(WideCharToMultiByte(CP_UTF8, 0, text.data(), units, nullptr, 0, nullptr, nullptr)), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), units, bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr);
  WriteFile(handle, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

}  // namespace

qvjvm::jvm StartJava() {
  const std::wstring folder = OwnFolder();
  auto java = qvjvm::jvm::try_start(nullptr, (folder + L"\\qvjvm.dll").c_str());
  if (!java) {
    throw Failure{kNoService, java.reason().message() +
                                  L". A Java runtime is looked for in JAVA_HOME, in the registry " + L"and in " +
                                  folder + L"\\JRE."};
  }
  return std::move(java).value();
}

int TellFailure(const wchar_t* name, const Failure& failure) {
  Print(STD_ERROR_HANDLE, std::wstring(name) + L": " + failure.text + L"\n");
  return failure.exitCode;
}

void PrintLine(const std::wstring& name, const std::wstring& value) {
  Print(STD_OUTPUT_HANDLE, name + L": " + value + L"\n");
}

std::wstring FullPath(const wchar_t* path) {
  std::wstring full(GetFullPathNameW(path, 0, nullptr, nullptr), L'\0');
  full.resize(GetFullPathNameW(path, static_cast<DWORD>(full.size()), full.data(), nullptr));
  if (full.empty()) throw Failure{kFileFailed, std::wstring(L"not a path: ") + path};
  return full;
}

std::wstring FolderOf(const std::wstring& path) { return path.substr(0, path.find_last_of(L'\\')); }

std::wstring OwnFolder() {
  static const char kInThisModule = 0;
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     reinterpret_cast<const wchar_t*>(&kInThisModule), &module);
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD units = GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
    if (units < path.size()) return FolderOf(path.substr(0, units));
    path.resize(path.size() * 2);
  }
}

}  // namespace example
