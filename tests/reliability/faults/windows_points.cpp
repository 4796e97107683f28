// The Windows functions. What fails answers as the function's documentation says, with a last error that fits.
#include <cstring>
#include <utility>

#include "tests/reliability/faults/fault_point.h"
#include "tests/support/text.h"

namespace qvtest {

namespace {

constexpr auto kNoPurpose = [](auto...) { return std::string(); };

std::wstring g_hostPath;

// The last part of a path, for a purpose.
std::string LastPart(const wchar_t* path) {
  const std::wstring_view whole = path != nullptr ? path : L"<null>";
  return ToUtf8(whole.substr(whole.find_last_of(L'\\') + 1));
}

std::string ModuleName(HMODULE module) {
  if (module == nullptr) return "host program";
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(module, path, MAX_PATH);
  return LastPart(path);
}

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
  Point point;
  point.call = name;
  point.fault = fault;
  point.kind = PointKind::Found;
  point.calls = &calls;
  return point;
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

#define QV_WINDOWS(Name) PointKind::Windows, #Name, static_cast<decltype(&::Name)>(nullptr)
#define QV_STEADY(Name, why)                                                            \
  Steady(MakePoint(                                                                     \
             QV_WINDOWS(Name), "", [](auto... a) { return ::Name(a...); }, kNoPurpose), \
         why)

std::vector<Point> WindowsPoints() {
  static constexpr char kLock[] = "it has no result";
  static constexpr char kOwn[] = "computes on the service's own memory";
  static constexpr char kQuestion[] = "every answer is an answer";
  std::vector<Point> points = {
      // -- modules and their functions --
      MakePoint(
          QV_WINDOWS(LoadLibraryA), "not found",
          [](const char*) -> HMODULE {
            SetLastError(ERROR_MOD_NOT_FOUND);
            return nullptr;
          },
          [](const char* name) { return std::string(name); }),
      MakePoint(
          QV_WINDOWS(LoadLibraryW), "not found",
          [](const wchar_t*) -> HMODULE {
            SetLastError(ERROR_MOD_NOT_FOUND);
            return nullptr;
          },
          [](const wchar_t* name) { return ToUtf8(name); }),
      MakePoint(
          QV_WINDOWS(FreeLibrary), "done, but FALSE is answered",
          [](HMODULE module) -> BOOL {
            FreeLibrary(module);
            SetLastError(ERROR_INVALID_HANDLE);
            return FALSE;
          },
          [](HMODULE module) { return ModuleName(module); }),
      MakePoint(
          QV_WINDOWS(GetProcAddress), "not found",
          [](HMODULE, const char*) -> FARPROC {
            SetLastError(ERROR_PROC_NOT_FOUND);
            return nullptr;
          },
          [](HMODULE, const char* name) { return std::string(name); }, &AnswerProcAddress),
      MakePoint(
          QV_WINDOWS(GetModuleHandleW), "not loaded",
          [](const wchar_t*) -> HMODULE {
            SetLastError(ERROR_MOD_NOT_FOUND);
            return nullptr;
          },
          [](const wchar_t* name) { return ToUtf8(name); }),
      MakePoint(
          QV_WINDOWS(GetModuleHandleExW), "FALSE",
          [](DWORD, const wchar_t*, HMODULE* module) -> BOOL {
            *module = nullptr;
            SetLastError(ERROR_MOD_NOT_FOUND);
            return FALSE;
          },
          [](DWORD flags, const wchar_t*, HMODULE*) {
            return std::string((flags & GET_MODULE_HANDLE_EX_FLAG_PIN) != 0 ? "to stay loaded" : "the runtime");
          },
          &AnswerModuleHandle),
      MakePoint(
          QV_WINDOWS(GetModuleFileNameW), "0",
          [](HMODULE, wchar_t*, DWORD) -> DWORD {
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return 0;
          },
          [](HMODULE module, wchar_t*, DWORD) { return ModuleName(module); }, &AnswerModulePath),
      // -- environment, folders, files --
      MakePoint(
          QV_WINDOWS(GetEnvironmentVariableW), "not found",
          [](const wchar_t*, wchar_t*, DWORD) -> DWORD {
            SetLastError(ERROR_ENVVAR_NOT_FOUND);
            return 0;
          },
          [](const wchar_t* name, wchar_t*, DWORD) { return ToUtf8(name); }),
      MakePoint(
          QV_WINDOWS(SetEnvironmentVariableW), "FALSE",
          [](const wchar_t*, const wchar_t*) -> BOOL {
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return FALSE;
          },
          [](const wchar_t* name, const wchar_t*) { return ToUtf8(name); }),
      MakePoint(
          QV_WINDOWS(GetDllDirectoryW), "0",
          [](DWORD, wchar_t*) -> DWORD {
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return 0;
          },
          kNoPurpose),
      MakePoint(
          QV_WINDOWS(SetDllDirectoryW), "FALSE",
          [](const wchar_t*) -> BOOL {
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return FALSE;
          },
          [](const wchar_t* folder) { return LastPart(folder) == "hostdlls" ? std::string("back") : "the runtime's"; }),
      MakePoint(
          QV_WINDOWS(GetFileAttributesW), "access denied",
          [](const wchar_t*) -> DWORD {
            SetLastError(ERROR_ACCESS_DENIED);
            return INVALID_FILE_ATTRIBUTES;
          },
          [](const wchar_t* path) { return LastPart(path); }),
      MakePoint(
          QV_WINDOWS(SetThreadErrorMode), "FALSE",
          [](DWORD, DWORD*) -> BOOL {
            SetLastError(ERROR_INVALID_PARAMETER);
            return FALSE;
          },
          [](DWORD, DWORD* before) { return std::string(before != nullptr ? "set" : "back"); }),
      // -- threads and their slots --
      MakePoint(
          QV_WINDOWS(TlsAlloc), "no slot left",
          []() -> DWORD {
            SetLastError(ERROR_NO_MORE_ITEMS);
            return TLS_OUT_OF_INDEXES;
          },
          kNoPurpose),
      MakePoint(
          QV_WINDOWS(TlsFree), "done, but FALSE is answered",
          [](DWORD slot) -> BOOL {
            TlsFree(slot);
            SetLastError(ERROR_INVALID_PARAMETER);
            return FALSE;
          },
          kNoPurpose),
      MakePoint(
          QV_WINDOWS(TlsGetValue), "null",
          [](DWORD) -> void* {
            SetLastError(ERROR_INVALID_PARAMETER);
            return nullptr;
          },
          kNoPurpose),
      MakePoint(
          QV_WINDOWS(TlsSetValue), "no memory",
          [](DWORD slot, void* value) -> BOOL {
            if (value == nullptr) TlsSetValue(slot, nullptr);  // which needs none
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return FALSE;
          },
          [](DWORD, void* value) { return std::string(value != nullptr ? "remember" : "forget"); }),
      MakePoint(
          QV_WINDOWS(FlsAlloc), "no slot left",
          [](PFLS_CALLBACK_FUNCTION) -> DWORD {
            SetLastError(ERROR_NO_MORE_ITEMS);
            return FLS_OUT_OF_INDEXES;
          },
          kNoPurpose),
      MakePoint(
          QV_WINDOWS(FlsFree), "done, but FALSE is answered",
          [](DWORD slot) -> BOOL {
            FlsFree(slot);
            SetLastError(ERROR_INVALID_PARAMETER);
            return FALSE;
          },
          kNoPurpose),
      MakePoint(
          QV_WINDOWS(FlsSetValue), "no memory",
          [](DWORD, void*) -> BOOL {
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return FALSE;
          },
          [](DWORD, void* value) { return std::string(value != nullptr ? "mark" : "unmark"); }),
      // -- texts --
      MakePoint(
          QV_WINDOWS(LoadStringW), "0",
          [](HINSTANCE, UINT, wchar_t*, int) -> int {
            SetLastError(ERROR_RESOURCE_NAME_NOT_FOUND);
            return 0;
          },
          [](HINSTANCE, UINT id, wchar_t*, int) { return std::to_string(id); }),
      MakePoint(
          PointKind::Windows, "wsprintfW",
          static_cast<int (*)(wchar_t*, const wchar_t*, const wchar_t*, const wchar_t*, const wchar_t*)>(nullptr), "0",
          [](wchar_t*, const wchar_t*, const wchar_t*, const wchar_t*, const wchar_t*) -> int {
            SetLastError(ERROR_INVALID_PARAMETER);
            return 0;
          },
          kNoPurpose),
      MakePoint(
          QV_WINDOWS(MessageBoxW), "no memory",
          [](HWND, const wchar_t*, const wchar_t*, UINT) -> int {
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return 0;
          },
          kNoPurpose, &CountBox),
      MakePoint(
          QV_WINDOWS(MultiByteToWideChar), "0",
          [](UINT, DWORD, const char*, int, wchar_t*, int) -> int {
            SetLastError(ERROR_INVALID_PARAMETER);
            return 0;
          },
          kNoPurpose),
      MakePoint(
          QV_WINDOWS(OpenFileMappingW), "access denied",
          [](DWORD, BOOL, const wchar_t*) -> HANDLE {
            SetLastError(ERROR_ACCESS_DENIED);
            return nullptr;
          },
          kNoPurpose),
      MakePoint(
          QV_WINDOWS(CloseHandle), "done, but FALSE is answered",
          [](HANDLE handle) -> BOOL {
            CloseHandle(handle);
            SetLastError(ERROR_INVALID_HANDLE);
            return FALSE;
          },
          kNoPurpose),
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
  };
  Point handler;
  handler.call = "__C_specific_handler";
  points.push_back(Steady(std::move(handler), "the system calls it when the JVM's creation raises"));
  return points;
}

#undef QV_WINDOWS
#undef QV_STEADY

}  // namespace qvtest
