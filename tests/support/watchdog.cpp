// A thread is stopped only while its registers are read: it may hold any lock, so nothing else is done meanwhile. Its
// stack is read while it runs on; a thread that hangs does not change it.
#include "tests/support/watchdog.h"

// After windows.h, whose types it needs.
#include <algorithm>
#include <cstdio>
#include <tlhelp32.h>

#include "tests/support/module_image.h"

namespace qvtest {
namespace {

constexpr size_t kMostFrames = 64;

std::string Hex(DWORD64 value) {
  char text[32];
  std::snprintf(text, sizeof(text), "0x%llx", static_cast<unsigned long long>(value));
  return text;
}

// The module that an address lies in.
ModuleImage ModuleOf(DWORD64 address) {
  MEMORY_BASIC_INFORMATION info{};
  const bool mapped =
      VirtualQuery(reinterpret_cast<void*>(address), &info, sizeof(info)) != 0 && info.State == MEM_COMMIT;
  return ModuleImage(mapped ? info.AllocationBase : nullptr);
}

DWORD64 BaseOf(const ModuleImage& image) { return reinterpret_cast<DWORD64>(image.At<char>(0)); }

// What the module calls itself; a program has no such name.
std::string NameOf(const ModuleImage& image) {
  const auto* const exports = image.Table<IMAGE_EXPORT_DIRECTORY>(IMAGE_DIRECTORY_ENTRY_EXPORT);
  return exports != nullptr && exports->Name != 0 ? image.At<char>(exports->Name) : "program";
}

// How the function at the address is unwound; null when it needs nothing.
RUNTIME_FUNCTION* FunctionAt(const ModuleImage& image, DWORD64 address) {
  const auto* const functions = image.Table<RUNTIME_FUNCTION>(IMAGE_DIRECTORY_ENTRY_EXCEPTION);
  const auto offset = static_cast<DWORD>(address - BaseOf(image));
  const size_t count = image.Directory(IMAGE_DIRECTORY_ENTRY_EXCEPTION).Size / sizeof(RUNTIME_FUNCTION);
  const auto* const end = functions + (functions != nullptr ? count : 0);
  const auto* const found = std::find_if(functions, end, [offset](const RUNTIME_FUNCTION& function) {
    return offset >= function.BeginAddress && offset < function.EndAddress;
  });
  return found != end ? const_cast<RUNTIME_FUNCTION*>(found) : nullptr;
}

std::string PlaceName(DWORD64 address) {
  const ModuleImage image = ModuleOf(address);
  return image ? NameOf(image) + "+" + Hex(address - BaseOf(image)) : Hex(address);
}

// Generated code says nothing about its callers, so the walk ends there.
bool Unwind(CONTEXT& context) {
  const ModuleImage image = ModuleOf(context.Rip);
  if (!image || !IsReadable(reinterpret_cast<void*>(context.Rsp))) return false;
  if (RUNTIME_FUNCTION* const function = FunctionAt(image, context.Rip)) {
    void* handlerData = nullptr;
    DWORD64 frame = 0;
    RtlVirtualUnwind(UNW_FLAG_NHANDLER, BaseOf(image), context.Rip, function, &context, &handlerData, &frame, nullptr);
  } else {
    context.Rip = *reinterpret_cast<const DWORD64*>(context.Rsp);
    context.Rsp += sizeof(DWORD64);
  }
  return context.Rip != 0;
}

std::string StackOf(DWORD id) {
  std::string text = "thread " + std::to_string(id) + ":\n";
  const qv::Handle thread(OpenThread(THREAD_SUSPEND_RESUME | THREAD_GET_CONTEXT | THREAD_QUERY_INFORMATION, FALSE, id));
  alignas(16) CONTEXT context{};
  context.ContextFlags = CONTEXT_FULL;
  bool known = false;
  if (thread && SuspendThread(thread.Get()) != static_cast<DWORD>(-1)) {
    known = GetThreadContext(thread.Get(), &context) != FALSE;
    ResumeThread(thread.Get());
  }
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
  const qv::Handle list(CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
  THREADENTRY32 entry{};
  entry.dwSize = sizeof(entry);
  for (BOOL more = Thread32First(list.Get(), &entry); more; more = Thread32Next(list.Get(), &entry)) {
    if (entry.th32OwnerProcessID != GetCurrentProcessId() || entry.th32ThreadID == GetCurrentThreadId()) continue;
    text += StackOf(entry.th32ThreadID);
  }
  return text;
}

Watchdog::Watchdog(const std::atomic<uint64_t>& progress, DWORD limitMs, std::function<std::string()> describe)
    : m_progress(progress), m_limitMs(limitMs), m_describe(std::move(describe)), m_thread([this] { Watch(); }) {}

Watchdog::~Watchdog() { m_stop.Set(); }

void Watchdog::Watch() {
  uint64_t seen = m_progress;
  while (!m_stop.Wait(m_limitMs)) {
    const uint64_t now = m_progress;
    if (std::exchange(seen, now) != now) continue;
    Say("\nNothing has moved for " + std::to_string(m_limitMs) + " ms.\n");
    if (m_describe) Say(m_describe());
    Say(StacksOfOtherThreads());
    TerminateProcess(GetCurrentProcess(), kHungExitCode);
  }
}

}  // namespace qvtest
