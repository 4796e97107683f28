// The environment block is built from this process's, sorted without case as Windows wants it.
// Output is read on a thread of its own, so that a full pipe never stops the child.
#include "tests/support/child_process.h"

#include <gtest/gtest.h>

#include "tests/support/start_process.h"
#include "tests/support/text.h"
#include "tests/support/threads.h"

namespace qvtest {
namespace {

struct LessWithoutCase {
  bool operator()(const std::wstring& left, const std::wstring& right) const {
    return CompareStringOrdinal(left.c_str(), -1, right.c_str(), -1, TRUE) == CSTR_LESS_THAN;
  }
};

std::wstring EnvironmentBlock(const std::map<std::wstring, std::optional<std::wstring>>& changes) {
  std::map<std::wstring, std::wstring, LessWithoutCase> variables;
  wchar_t* const block = GetEnvironmentStringsW();
  for (const wchar_t* entry = block; *entry != L'\0'; entry += std::wcslen(entry) + 1) {
    const std::wstring text = entry;
    const size_t equals = text.find(L'=', 1);  // "=C:=C:\x" names a drive's folder
    if (equals != std::wstring::npos) variables[text.substr(0, equals)] = text.substr(equals + 1);
  }
  FreeEnvironmentStringsW(block);
  for (const auto& [name, value] : changes) {
    variables.erase(name);
    if (value.has_value()) variables[name] = *value;
  }
  std::wstring out;
  for (const auto& [name, value] : variables) out += name + L"=" + value + L'\0';
  return out + L'\0';
}

// By the rules that the C runtime takes a command line apart with.
std::wstring Quoted(const std::wstring& argument) {
  if (!argument.empty() && argument.find_first_of(L" \t\"") == std::wstring::npos) return argument;
  std::wstring out = L"\"";
  size_t backslashes = 0;
  for (const wchar_t unit : argument) {
    if (unit == L'"') out.append(backslashes + 1, L'\\');
    backslashes = unit == L'\\' ? backslashes + 1 : 0;
    out += unit;
  }
  return out.append(backslashes, L'\\') + L"\"";
}

std::string ReadAll(HANDLE pipe) {
  std::string all;
  char buffer[4096];
  DWORD read = 0;
  while (ReadFile(pipe, buffer, sizeof(buffer), &read, nullptr) != FALSE && read != 0) all.append(buffer, read);
  return all;
}

}  // namespace

ChildResult RunChild(const std::wstring& program, const ChildOptions& options) {
  ChildResult result;
  SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
  HANDLE ends[2] = {};
  CreatePipe(&ends[0], &ends[1], &inheritable, 0);
  const qv::Handle readEnd(ends[0]);
  qv::Handle writeEnd(ends[1]);
  SetHandleInformation(readEnd.Get(), HANDLE_FLAG_INHERIT, 0);

  std::wstring commandLine = Quoted(program);
  for (const std::wstring& argument : options.arguments) commandLine += L" " + Quoted(argument);
  std::wstring environment = EnvironmentBlock(options.environment);
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdOutput = writeEnd.Get();
  startup.hStdError = writeEnd.Get();
  PROCESS_INFORMATION process{};
  result.started = StartProcess([&] {
    return CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, TRUE, CREATE_UNICODE_ENVIRONMENT,
                          environment.data(), options.workFolder.empty() ? nullptr : options.workFolder.c_str(),
                          &startup, &process);
  });
  EXPECT_TRUE(result.started) << "cannot start " << ToUtf8(program) << ": error " << GetLastError();
  writeEnd.Reset();
  if (!result.started) return result;
  const qv::Handle child(process.hProcess);
  const qv::Handle firstThread(process.hThread);
  const HostThread reader([&] { result.output = ReadAll(readEnd.Get()); });
  result.hung = WaitForSingleObject(child.Get(), options.limitMs) != WAIT_OBJECT_0;
  if (result.hung) TerminateProcess(child.Get(), 0xDEAD);
  WaitForSingleObject(child.Get(), INFINITE);
  reader.Join();
  GetExitCodeProcess(child.Get(), &result.exitCode);
  return result;
}

}  // namespace qvtest
