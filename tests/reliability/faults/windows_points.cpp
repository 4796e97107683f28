// The Windows functions. What fails answers as the function's documentation says, with a last error that fits.
#include <cstring>

#include "tests/reliability/faults/fault_point.h"

namespace qvtest {
namespace {

std::wstring g_hostPath;

std::string ModuleName(HMODULE module) {
  if (module == nullptr) return "host program";
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(module, path, MAX_PATH);
  return LastPart(path);
}
constexpr auto kModuleName = [](HMODULE module, auto...) { return ModuleName(module); };

// ---- what a call does that goes well, where the real function must not be called ----

DWORD WINAPI AnswerModulePath(HMODULE module, wchar_t* buffer, DWORD capacity) {
  if (module != nullptr || g_hostPath.empty()) return GetModuleFileNameW(module, buffer, capacity);
  return static_cast<DWORD>(g_hostPath.copy(buffer, capacity - 1));
}

// ---- functions that the service finds by name: a stand-in that counts is what it finds ----

using ShutdownQuery = BOOLEAN();
using WebConfig = int32_t(wchar_t*, wchar_t*);

constexpr auto kNotEnding = []() -> BOOLEAN { return FALSE; };
constexpr auto kNamesNothing = [](wchar_t*, wchar_t*) -> int32_t { return -1; };
using ShutdownHook = HookOf<decltype(kNotEnding), decltype(kNoPurpose), BOOLEAN>;
using WebConfigHook = HookOf<decltype(kNamesNothing), decltype(kNoPurpose), int32_t, wchar_t*, wchar_t*>;

FARPROC WINAPI AnswerProcAddress(HMODULE module, const char* name) {
  const FARPROC found = GetProcAddress(module, name);
  if (found == nullptr) return nullptr;
  void* const function = reinterpret_cast<void*>(found);
  if (std::strcmp(name, "RtlDllShutdownInProgress") == 0) {
    ShutdownHook::original = reinterpret_cast<ShutdownQuery*>(function);
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&ShutdownHook::Call));
  }
  if (std::strcmp(name, "QV_RTGetJvmWebConfig") == 0) {
    WebConfigHook::original = reinterpret_cast<WebConfig*>(function);
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&WebConfigHook::Call));
  }
  return found;
}

Point FoundPoint(const char* name, const char* fault, PointCalls& calls) {
  return {.call = name, .fault = fault, .kind = PointKind::Found, .calls = &calls};
}

std::atomic<int> g_boxes{0};
int WINAPI CountBox(HWND, const wchar_t*, const wchar_t*, UINT) {
  ++g_boxes;
  return IDOK;
}

// The service asks to stay loaded for ever; it would, but the next run needs a fresh one.
BOOL WINAPI AnswerModuleHandle(DWORD flags, const wchar_t* address, HMODULE* module) {
  if ((flags & GET_MODULE_HANDLE_EX_FLAG_PIN) == 0) return GetModuleHandleExW(flags, address, module);
  return GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                            address, module);
}

void WINAPI DropLine(const wchar_t*) {}

}  // namespace

void SetHostPath(const std::wstring& path) { g_hostPath = path; }
int TakeBoxes() { return g_boxes.exchange(0); }

#define QV_WINDOWS(Name) PointKind::Windows, 0, #Name, static_cast<decltype(&::Name)>(nullptr)
#define QV_STEADY(Name, why) Steady(MakePoint(QV_WINDOWS(Name), "", [](auto... a) { return ::Name(a...); }), why)

std::vector<Point> WindowsPoints() {
  static constexpr char kLock[] = "it has no result";
  static constexpr char kOwn[] = "computes on the service's own memory";
  static constexpr char kQuestion[] = "every answer is an answer";
  constexpr auto kPinOrRuntime = [](DWORD flags, auto...) {
    return std::string((flags & GET_MODULE_HANDLE_EX_FLAG_PIN) != 0 ? "to stay loaded" : "the runtime");
  };
  constexpr auto kSetOrBack = [](DWORD, DWORD* before) { return std::string(before != nullptr ? "set" : "back"); };
  constexpr auto kRememberOrForget = [](DWORD, void* value) {
    return std::string(value != nullptr ? "remember" : "forget");
  };
  constexpr auto kMarkOrUnmark = [](DWORD, void* value) { return std::string(value != nullptr ? "mark" : "unmark"); };
  constexpr auto kId = [](HINSTANCE, UINT id, auto...) { return std::to_string(id); };
  std::vector<Point> points = {
      // -- modules and their functions --
      MakePoint(QV_WINDOWS(LoadLibraryA), "not found", Refuse<ERROR_MOD_NOT_FOUND, nullptr>{}, kFirst),
      MakePoint(QV_WINDOWS(LoadLibraryExW), "not found", Refuse<ERROR_MOD_NOT_FOUND, nullptr>{}, kFirstLastPart),
      MakePoint(QV_WINDOWS(LoadLibraryW), "not found", Refuse<ERROR_MOD_NOT_FOUND, nullptr>{}, kFirst),
      MakePoint(QV_WINDOWS(FreeLibrary), "done, but FALSE is answered", DoneBut<FreeLibrary, ERROR_INVALID_HANDLE>{},
                kModuleName),
      MakePoint(
          QV_WINDOWS(GetProcAddress), "not found", Refuse<ERROR_PROC_NOT_FOUND, nullptr>{},
          [](HMODULE, const char* name) { return std::string(name); }, &AnswerProcAddress),
      MakePoint(QV_WINDOWS(GetModuleHandleW), "not loaded", Refuse<ERROR_MOD_NOT_FOUND, nullptr>{}, kFirst),
      MakePoint(
          QV_WINDOWS(GetModuleHandleExW), "FALSE",
          [](DWORD, const wchar_t*, HMODULE* module) {
            *module = nullptr;
            return Refuse<ERROR_MOD_NOT_FOUND, FALSE>{}();
          },
          kPinOrRuntime, &AnswerModuleHandle),
      MakePoint(QV_WINDOWS(GetModuleFileNameW), "0", Refuse<ERROR_NOT_ENOUGH_MEMORY, 0U>{}, kModuleName,
                &AnswerModulePath),
      // -- environment, folders, files --
      MakePoint(QV_WINDOWS(GetEnvironmentVariableW), "not found", Refuse<ERROR_ENVVAR_NOT_FOUND, 0U>{}, kFirst),
      MakePoint(QV_WINDOWS(SetEnvironmentVariableW), "FALSE", Refuse<ERROR_NOT_ENOUGH_MEMORY, FALSE>{}, kFirst),
      MakePoint(QV_WINDOWS(GetFileAttributesW), "access denied", Refuse<ERROR_ACCESS_DENIED, INVALID_FILE_ATTRIBUTES>{},
                kFirstLastPart),
      MakePoint(QV_WINDOWS(SetThreadErrorMode), "FALSE", Refuse<ERROR_INVALID_PARAMETER, FALSE>{}, kSetOrBack),
      // -- threads and their slots --
      MakePoint(QV_WINDOWS(TlsAlloc), "no slot left", Refuse<ERROR_NO_MORE_ITEMS, TLS_OUT_OF_INDEXES>{}),
      MakePoint(QV_WINDOWS(TlsFree), "done, but FALSE is answered", DoneBut<TlsFree, ERROR_INVALID_PARAMETER>{}),
      MakePoint(QV_WINDOWS(TlsGetValue), "null", Refuse<ERROR_INVALID_PARAMETER, nullptr>{}),
      MakePoint(
          QV_WINDOWS(TlsSetValue), "no memory",
          [](DWORD slot, void* value) {
            if (value == nullptr) TlsSetValue(slot, nullptr);  // which needs none
            return Refuse<ERROR_NOT_ENOUGH_MEMORY, FALSE>{}();
          },
          kRememberOrForget),
      MakePoint(QV_WINDOWS(FlsAlloc), "no slot left", Refuse<ERROR_NO_MORE_ITEMS, FLS_OUT_OF_INDEXES>{}),
      MakePoint(QV_WINDOWS(FlsFree), "done, but FALSE is answered", DoneBut<FlsFree, ERROR_INVALID_PARAMETER>{}),
      MakePoint(QV_WINDOWS(FlsSetValue), "no memory", Refuse<ERROR_NOT_ENOUGH_MEMORY, FALSE>{}, kMarkOrUnmark),
      // -- texts --
      MakePoint(QV_WINDOWS(LoadStringW), "0", Refuse<ERROR_RESOURCE_NAME_NOT_FOUND, 0>{}, kId),
      MakePoint(PointKind::Windows, 0, "wsprintfW",
                static_cast<int (*)(wchar_t*, const wchar_t*, const wchar_t*, const wchar_t*, const wchar_t*)>(nullptr),
                "0", Refuse<ERROR_INVALID_PARAMETER, 0>{}),
      MakePoint(QV_WINDOWS(MessageBoxW), "no memory", Refuse<ERROR_NOT_ENOUGH_MEMORY, 0>{}, kNoPurpose, &CountBox),
      MakePoint(QV_WINDOWS(MultiByteToWideChar), "0", Refuse<ERROR_INVALID_PARAMETER, 0>{}),
      MakePoint(QV_WINDOWS(OpenFileMappingW), "access denied", Refuse<ERROR_ACCESS_DENIED, nullptr>{}),
      MakePoint(QV_WINDOWS(CloseHandle), "done, but FALSE is answered", DoneBut<CloseHandle, ERROR_INVALID_HANDLE>{}),
      Steady(MakePoint(
                 QV_WINDOWS(OutputDebugStringW), "", [](const wchar_t*) {}, kNoPurpose, &DropLine),
             kLock),
      FoundPoint("QV_RTGetJvmWebConfig", "names no file", WebConfigHook::calls),
      Steady(FoundPoint("RtlDllShutdownInProgress", "", ShutdownHook::calls), kQuestion),
      // -- what cannot fail --
      QV_STEADY(EnterCriticalSection, kLock),
      QV_STEADY(LeaveCriticalSection, kLock),
      QV_STEADY(InitializeCriticalSection, kLock),
      QV_STEADY(DeleteCriticalSection, kLock),
      QV_STEADY(AcquireSRWLockExclusive, kLock),
      QV_STEADY(ReleaseSRWLockExclusive, kLock),
      QV_STEADY(GetCurrentThreadId, kQuestion),
      QV_STEADY(IsThreadAFiber, kQuestion),
      QV_STEADY(GetLastError, kQuestion),
      QV_STEADY(SetLastError, kLock),
      QV_STEADY(IsDebuggerPresent, kQuestion),
      QV_STEADY(CharLowerW, kOwn),
      QV_STEADY(lstrcpynW, kOwn),
      Steady({.call = "__C_specific_handler"}, "the system calls it when the JVM's creation raises"),
  };
  return points;
}

#undef QV_WINDOWS
#undef QV_STEADY

}  // namespace qvtest
