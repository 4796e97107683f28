// A host program for tests that need a process of their own: it loads the qvshr.dll beside it, carries out what its
// arguments say and prints one line for each. The tests compare the lines.
#include <windows.h>

#include <cstdio>
#include <shellapi.h>

#include "tests/hostlib/host_build.h"
#include "tests/support/text.h"

namespace hosttest {
namespace {

// "a|b|c" in its parts; "<null>" stands for a null pointer.
struct Parts {
  explicit Parts(const std::wstring& text) {
    for (size_t at = 0;;) {
      const size_t bar = text.find(L'|', at);
      parts.push_back(text.substr(at, bar - at));
      if (bar == std::wstring::npos) break;
      at = bar + 1;
    }
  }
  [[nodiscard]] const wchar_t* At(size_t i) const {
    return i < parts.size() && parts[i] != L"<null>" ? parts[i].c_str() : nullptr;
  }
  [[nodiscard]] int32_t Number(size_t i) const { return static_cast<int32_t>(std::wcstol(At(i), nullptr, 10)); }

  std::vector<std::wstring> parts;
};

std::wstring Setting(const HostApi& host, const Parts& parts) {
  const int32_t capacity = parts.Number(3);
  std::wstring buffer(64, L'#');
  const int32_t written = host.GetSetting(parts.At(0), parts.At(1), parts.At(2), buffer.data(), capacity);
  const auto room = static_cast<size_t>(capacity > 0 ? capacity : 0);
  if (buffer.find_first_not_of(L'#', room) != std::wstring::npos) return L"written outside";
  if (room > 0 && buffer[static_cast<size_t>(written)] != L'\0') return L"not terminated";
  return std::to_wstring(written) + L":" + buffer.substr(0, static_cast<size_t>(written));
}

std::wstring Allocations(const HostApi& host, int32_t count) {
  std::wstring answers;
  for (int32_t i = 0; i < count; ++i) {
    void* const block = host.Alloc(16);
    answers += block != nullptr ? L'1' : L'0';
    host.Free(block);
  }
  return answers;
}

// The values of the key at parts[1] of the hive parts[0], then of each sub key from there: "a=1;b=2", or "<no key>".
std::wstring WalkKey(const HostApi& host, const Parts& parts) {
  const auto text = [&](const wchar_t* of) {
    Text made;
    host.CreateString(of, made.Out());
    return made;
  };
  Key key;
  const HKEY hive = parts.parts[0] == L"HKCU" ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE;
  if (host.OpenRegistryKey(hive, text(parts.At(1)).Get(), KEY_READ, key.Out()) != 0) return L"<no key>";
  for (size_t i = 2; i < parts.parts.size(); ++i) {
    Key below;
    if (key->OpenSubKey(text(parts.At(i)).Get(), KEY_READ, below.Out()) < 0) return L"<no key>";
    key = std::move(below);
  }
  std::wstring walked;
  for (int32_t i = 0;; ++i) {
    Text name;
    Text value;
    Text queried;
    if (key->EnumValue(i, name.Out(), value.Out()) < 0) return walked;
    if (key->QueryStringValue(name.Get(), queried.Out()) < 0) return L"a value that cannot be asked for";
    if (std::wstring_view(queried->GetText()) != value->GetText()) return L"a value that has two texts";
    walked += (i == 0 ? L"" : L";") + std::wstring(name->GetText()) + L"=" + value->GetText();
  }
}

std::wstring CarryOut(const HostApi& host, const std::wstring& command) {
  const size_t colon = command.find(L':');
  const std::wstring verb = command.substr(0, colon);
  const Parts parts(colon != std::wstring::npos ? command.substr(colon + 1) : L"");
  if (verb == L"setting") return Setting(host, parts);
  if (verb == L"web") return std::to_wstring(host.IsWebDeployment(0));
  if (verb == L"nodetach") return std::to_wstring(host.NoDetachQuery());
  if (verb == L"write") {
    const std::wstring file = ProgramFolder() + L"\\qvshr.ini";
    return WritePrivateProfileStringW(parts.At(0), parts.At(1), parts.At(2), file.c_str()) ? L"written"
                                                                                           : L"not written";
  }
  if (verb == L"walk") return WalkKey(host, parts);
  if (verb == L"sweep") {          // the same, with each allocation failing in turn: how many did, and the last answer
    constexpr WORD kFailAt = 105;  // of the ledger build alone
    const auto failAt = qv::FindProcedure<void (*)(uint64_t, int32_t)>(host.module, MAKEINTRESOURCEA(kFailAt));
    std::wstring answer;
    for (uint64_t n = 1; n < 100; ++n) {
      failAt(n, 0);
      answer = WalkKey(host, parts);
      if (answer == L"x=1") return std::to_wstring(n - 1) + L" failed, " + answer;
    }
    return answer;
  }
  if (verb == L"set") {
    const int32_t status = host.SetApplicationValue(parts.At(0), parts.At(1), parts.At(2));
    return status == 0 ? L"set" : status == QV_E_INVALIDARG ? L"invalid" : L"no memory";
  }
  if (verb == L"bad") {
    std::wstring lines;
    for (int32_t i = 0; host.GetBadSettingsLine(i) != 0; ++i) {
      lines += std::to_wstring(host.GetBadSettingsLine(i)) + L" ";
    }
    return lines;
  }
  if (verb == L"brought") return host.HasApplicationKey(parts.At(0)) == 1 ? L"yes" : L"no";
  if (verb == L"alloc") return Allocations(host, parts.Number(0));
  if (verb == L"leak") return host.Alloc(static_cast<size_t>(parts.Number(0))) != nullptr ? L"leaked" : L"no memory";
  if (verb == L"leakstring") {
    IQvString* string = nullptr;
    return host.CreateString(L"leaked", &string) == 0 ? L"leaked" : L"no memory";
  }
  if (verb == L"doublefree") {
    void* const block = host.Alloc(16);
    host.Free(block);
    host.Free(block);
    return L"freed twice";
  }
  if (verb == L"overrun") {
    static_cast<volatile char*>(host.Alloc(16))[16] = 'x';
    return L"written past the end";
  }
  if (verb == L"witness") {
    const HMODULE witness = LoadLibraryW((ProgramFolder() + L"\\hostlib_witness.dll").c_str());
    const auto watch = qv::FindProcedure<void (*)(const HostApi*)>(witness, "Watch");
    static const HostApi watched = host;
    if (watch == nullptr) return L"no witness";
    watch(&watched);
    return L"watching";
  }
  return L"unknown command";
}

// A crash ends the program at once with the exception's code: no debugger, no dialog.
LONG CALLBACK EndWithCode(EXCEPTION_POINTERS* exception) {
  TerminateProcess(GetCurrentProcess(), exception->ExceptionRecord->ExceptionCode);
  return EXCEPTION_EXECUTE_HANDLER;
}

}  // namespace
}  // namespace hosttest

int main() {
  SetUnhandledExceptionFilter(&hosttest::EndWithCode);
  int count = 0;
  wchar_t** const arguments = CommandLineToArgvW(GetCommandLineW(), &count);
  const HMODULE module = LoadLibraryW((hosttest::ProgramFolder() + L"\\qvshr.dll").c_str());
  if (module == nullptr) return 3;
  const hosttest::HostApi host(module);
  for (int i = 1; i < count; ++i) {
    std::printf("%s\n", qvtest::ToUtf8(hosttest::CarryOut(host, arguments[i])).c_str());
    std::fflush(stdout);
  }
  return 0;
}
