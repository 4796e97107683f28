// Some emulators of Windows answer 0 for private memory and for the count of handles; they keep the page file's share
// and the list of all handles.
#include "tests/support/process_counters.h"

#include <windows.h>
// After windows.h, whose types they need.
#include <algorithm>
#include <psapi.h>
#include <vector>
#include <winternl.h>

#include "base/procedure.h"

namespace qvtest {

namespace {

constexpr ULONG kExtendedHandles = 64;  // SystemExtendedHandleInformation
constexpr NTSTATUS kTooSmall = static_cast<NTSTATUS>(0xC0000004);

struct HandleEntry {
  void* object;
  ULONG_PTR process;
  ULONG_PTR handle;
  ULONG access;
  USHORT backTrace;
  USHORT type;
  ULONG attributes;
  ULONG reserved;
};

struct HandleList {
  ULONG_PTR count;
  ULONG_PTR reserved;
  HandleEntry entries[1];
};

uint32_t CountInTheListOfAllHandles() {
  using Query = NTSTATUS(NTAPI*)(ULONG, void*, ULONG, ULONG*);
  static const auto query = qv::FindProcedure<Query>(GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation");
  std::vector<ULONG_PTR> buffer(1U << 14);
  NTSTATUS status = kTooSmall;
  while ((status = query(kExtendedHandles, buffer.data(), static_cast<ULONG>(buffer.size() * sizeof(ULONG_PTR)),
                         nullptr)) == kTooSmall) {
    buffer.resize(buffer.size() * 2);
  }
  if (status < 0) return 0;
  const auto* const list = reinterpret_cast<const HandleList*>(buffer.data());
  return static_cast<uint32_t>(std::count_if(list->entries, list->entries + list->count, [](const HandleEntry& entry) {
    return entry.process == GetCurrentProcessId();
  }));
}

}  // namespace

ProcessCounters CountProcess() {
  ProcessCounters counters;
  PROCESS_MEMORY_COUNTERS_EX memory{};
  memory.cb = sizeof(memory);
  if (GetProcessMemoryInfo(GetCurrentProcess(), reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&memory), sizeof(memory))) {
    counters.privateBytes = memory.PrivateUsage != 0 ? memory.PrivateUsage : memory.PagefileUsage;
  }
  DWORD handles = 0;
  if (!GetProcessHandleCount(GetCurrentProcess(), &handles) || handles == 0) handles = CountInTheListOfAllHandles();
  counters.handles = handles;
  return counters;
}

}  // namespace qvtest
