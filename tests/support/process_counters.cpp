// Some emulators of Windows answer 0 for private memory and for the count of handles; they keep the page file's share,
// and how many handles the process's table has room for. They also have a list of all handles of all processes, but
// asking for it ends their server when another process starts or ends just then.
#include "tests/support/process_counters.h"

#include <windows.h>
// After windows.h, whose types they need.
#include <psapi.h>
#include <vector>
#include <winternl.h>

#include "base/procedure.h"

namespace qvtest {
namespace {

constexpr NTSTATUS kTooSmall = static_cast<NTSTATUS>(0xC0000004);

// 0 when it cannot be had.
ULONG RoomForHandles() {
  using Query = NTSTATUS(NTAPI*)(ULONG, void*, ULONG, ULONG*);
  static const auto query = qv::FindProcedure<Query>(GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation");
  std::vector<ULONG_PTR> buffer(1U << 14);
  NTSTATUS status = kTooSmall;
  while ((status = query(SystemProcessInformation, buffer.data(), static_cast<ULONG>(buffer.size() * sizeof(ULONG_PTR)),
                         nullptr)) == kTooSmall) {
    buffer.resize(buffer.size() * 2);
  }
  if (status < 0) return 0;
  const auto* at = reinterpret_cast<const char*>(buffer.data());
  for (;;) {
    const auto* const process = reinterpret_cast<const SYSTEM_PROCESS_INFORMATION*>(at);
    if (reinterpret_cast<ULONG_PTR>(process->UniqueProcessId) == GetCurrentProcessId()) return process->HandleCount;
    if (process->NextEntryOffset == 0) return 0;
    at += process->NextEntryOffset;
  }
}

// The values of handles are the multiples of 4, and each is in its place of the table.
uint32_t CountInTheTable() {
  const ULONG room = RoomForHandles();
  uint32_t handles = 0;
  for (ULONG_PTR value = 4; value <= ULONG_PTR{room} * 4; value += 4) {
    DWORD flags = 0;
    if (GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags)) ++handles;
  }
  return handles;
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
  if (!GetProcessHandleCount(GetCurrentProcess(), &handles) || handles == 0) handles = CountInTheTable();
  counters.handles = handles;
  return counters;
}

}  // namespace qvtest
