// A thread is stopped only while its registers are read: it may hold any lock, so nothing else is done meanwhile. Its
// stack is read while it runs on; a thread that hangs does not change it.
#include "tests/support/watchdog.h"

// After windows.h, whose types it needs.
#include <cstdio>
#include <tlhelp32.h>
#include <utility>

namespace qvtest {

namespace {

constexpr size_t kMostFrames = 64;

std::string Hex(DWORD64 value) {
  char text[32];
  std::snprintf(text, sizeof(text), "0x%llx", static_cast<unsigned long long>(value));
  return text;
}

bool IsReadable(const void* address) {
  MEMORY_BASIC_INFORMATION info{};
  return VirtualQuery(address, &info, sizeof(info)) != 0 && info.State == MEM_COMMIT &&
         (info.Protect & (PAGE_NOACCESS | PAGE_GUARD)) == 0;
}

// A module as it lies in memory; the loader is not asked, because its lock may be what everybody waits for.
class Image {
 public:
  explicit Image(DWORD64 address) {
    MEMORY_BASIC_INFORMATION info{};
    if (VirtualQuery(reinterpret_cast<void*>(address), &info, sizeof(info)) == 0 || info.State != MEM_COMMIT) return;
    const auto* const base = static_cast<const char*>(info.AllocationBase);
    if (!IsReadable(base)) return;
    const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    if (dos->e_magic != IMAGE_DOS_SIGNATURE || dos->e_lfanew < 0 || dos->e_lfanew > 0x1000) return;
    const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + dos->e_lfanew);
    if (!IsReadable(headers) || headers->Signature != IMAGE_NT_SIGNATURE) return;
    m_base = base;
    m_headers = headers;
  }

  explicit operator bool() const { return m_base != nullptr; }
  [[nodiscard]] DWORD64 Base() const { return reinterpret_cast<DWORD64>(m_base); }
  // What the module calls itself; a program has no such name.
  [[nodiscard]] std::string Name() const {
    const auto* const exports = At<IMAGE_EXPORT_DIRECTORY>(IMAGE_DIRECTORY_ENTRY_EXPORT);
    return exports != nullptr && exports->Name != 0 ? std::string(m_base + exports->Name) : std::string("program");
  }
  // How the function at the address is unwound; null when it needs nothing.
  [[nodiscard]] RUNTIME_FUNCTION* Function(DWORD64 address) const {
    const auto* const functions = At<RUNTIME_FUNCTION>(IMAGE_DIRECTORY_ENTRY_EXCEPTION);
    if (functions == nullptr) return nullptr;
    const auto offset = static_cast<DWORD>(address - Base());
    const DWORD count = m_headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXCEPTION].Size /
                        static_cast<DWORD>(sizeof(RUNTIME_FUNCTION));
    for (const auto* function = functions; function != functions + count; ++function) {
      if (offset >= function->BeginAddress && offset < function->EndAddress) {
        return const_cast<RUNTIME_FUNCTION*>(function);
      }
    }
    return nullptr;
  }

 private:
  template <class Table>
  [[nodiscard]] const Table* At(int directory) const {
    const DWORD offset = m_headers->OptionalHeader.DataDirectory[directory].VirtualAddress;
    return offset != 0 ? reinterpret_cast<const Table*>(m_base + offset) : nullptr;
  }

  const char* m_base = nullptr;
  const IMAGE_NT_HEADERS64* m_headers = nullptr;
};

std::string PlaceName(DWORD64 address) {
  const Image image(address);
  return image ? image.Name() + "+" + Hex(address - image.Base()) : Hex(address);
}

// Generated code says nothing about its callers, so the walk ends there.
bool Unwind(CONTEXT& context) {
  const Image image(context.Rip);
  if (!image || !IsReadable(reinterpret_cast<void*>(context.Rsp))) return false;
  if (RUNTIME_FUNCTION* const function = image.Function(context.Rip)) {
    void* handlerData = nullptr;
    DWORD64 frame = 0;
    RtlVirtualUnwind(UNW_FLAG_NHANDLER, image.Base(), context.Rip, function, &context, &handlerData, &frame, nullptr);
  } else {
    context.Rip = *reinterpret_cast<const DWORD64*>(context.Rsp);
    context.Rsp += sizeof(DWORD64);
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
