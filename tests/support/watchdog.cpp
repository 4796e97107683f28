// A thread is stopped only while its registers are read: it may hold any lock, so nothing else is done meanwhile. Its
// stack is read while it runs on; a thread that hangs does not change it.
#include "tests/support/watchdog.h"

// After windows.h, whose types it needs.
#include <cstdio>
#include <tlhelp32.h>
#include <utility>

#include "tests/support/text.h"

namespace qvtest {

namespace {

constexpr size_t kMostFrames = 64;

std::string Hex(DWORD64 value) {
  char text[32];
  std::snprintf(text, sizeof(text), "0x%llx", static_cast<unsigned long long>(value));
  return text;
}

HMODULE ModuleAt(DWORD64 address) {
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     reinterpret_cast<const wchar_t*>(address), &module);
  return module;
}

std::string PlaceName(DWORD64 address) {
  const HMODULE module = ModuleAt(address);
  if (module == nullptr) return Hex(address);
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(module, path, MAX_PATH);
  std::wstring name = path;
  name.erase(0, name.find_last_of(L'\\') + 1);
  return ToUtf8(name) + "+" + Hex(address - reinterpret_cast<DWORD64>(module));
}

bool IsReadable(DWORD64 address) {
  MEMORY_BASIC_INFORMATION info{};
  return VirtualQuery(reinterpret_cast<void*>(address), &info, sizeof(info)) != 0 && info.State == MEM_COMMIT &&
         (info.Protect & (PAGE_NOACCESS | PAGE_GUARD)) == 0;
}

// Generated code says nothing about its callers, so the walk ends there.
bool Unwind(CONTEXT& context) {
  if (!IsReadable(context.Rsp)) return false;
  DWORD64 base = 0;
  RUNTIME_FUNCTION* const function = RtlLookupFunctionEntry(context.Rip, &base, nullptr);
  if (function == nullptr) {
    if (ModuleAt(context.Rip) == nullptr) return false;
    context.Rip = *reinterpret_cast<const DWORD64*>(context.Rsp);
    context.Rsp += sizeof(DWORD64);
  } else {
    void* handlerData = nullptr;
    DWORD64 frame = 0;
    RtlVirtualUnwind(UNW_FLAG_NHANDLER, base, context.Rip, function, &context, &handlerData, &frame, nullptr);
  }
  return context.Rip != 0;
}

std::string StackOf(DWORD id) {
  std::string text = "thread " + std::to_string(id) + ":\n";
  const HANDLE thread = OpenThread(THREAD_SUSPEND_RESUME | THREAD_GET_CONTEXT | THREAD_QUERY_INFORMATION, FALSE, id);
  alignas(16) CONTEXT context{};
  context.ContextFlags = CONTEXT_FULL;
  bool known = false;
  if (thread != nullptr && SuspendThread(thread) != static_cast<DWORD>(-1)) {
    known = GetThreadContext(thread, &context) != FALSE;
    ResumeThread(thread);
  }
  if (thread != nullptr) CloseHandle(thread);
  if (!known) return text + "  its registers cannot be read\n";
  size_t frames = 0;
  do {
    text += "  " + PlaceName(context.Rip) + "\n";
  } while (++frames < kMostFrames && Unwind(context));
  return text;
}

void Say(const std::string& text) {
  DWORD written = 0;
  WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
}

}  // namespace

std::string StacksOfOtherThreads() {
  std::string text;
  const HANDLE list = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
  THREADENTRY32 entry{};
  entry.dwSize = sizeof(entry);
  for (BOOL more = Thread32First(list, &entry); more; more = Thread32Next(list, &entry)) {
    if (entry.th32OwnerProcessID != GetCurrentProcessId() || entry.th32ThreadID == GetCurrentThreadId()) continue;
    text += StackOf(entry.th32ThreadID);
  }
  CloseHandle(list);
  return text;
}

Watchdog::Watchdog(const std::atomic<uint64_t>& progress, DWORD limitMs, std::function<std::string()> describe)
    : m_progress(progress),
      m_limitMs(limitMs),
      m_describe(std::move(describe)),
      m_stop(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      m_thread(CreateThread(nullptr, 0, Run, this, 0, nullptr)) {}

Watchdog::~Watchdog() {
  SetEvent(m_stop);
  WaitForSingleObject(m_thread, INFINITE);
  CloseHandle(m_thread);
  CloseHandle(m_stop);
}

DWORD WINAPI Watchdog::Run(void* self) {
  static_cast<Watchdog*>(self)->Watch();
  return 0;
}

void Watchdog::Watch() {
  uint64_t seen = m_progress;
  while (WaitForSingleObject(m_stop, m_limitMs) == WAIT_TIMEOUT) {
    const uint64_t now = m_progress;
    if (std::exchange(seen, now) != now) continue;
    Say("\nNothing has moved for " + std::to_string(m_limitMs) + " ms.\n");
    if (m_describe) Say(m_describe());
    Say(StacksOfOtherThreads());
    TerminateProcess(GetCurrentProcess(), kHungExitCode);
  }
}

}  // namespace qvtest
