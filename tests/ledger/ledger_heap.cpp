// The memory of the ledger build: every block has a record outside of it, so that no overrun reaches the books.
// g_lock guards the records, the arenas and the counters of this file; it is a leaf, nothing is called under it that
// could come back. The record of a freed heap block stays until its address is used again; a freed guarded block needs
// none, because its address lies in an arena and is never used twice.
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <unordered_map>
#include <utility>
#include <vector>

#include "base/handle.h"
#include "tests/ledger/ledger.h"
#include "tests/ledger/ledger_lock.h"

namespace qvshr {
namespace {

constexpr size_t kPage = 4096;
constexpr size_t kArenaBytes = size_t{256} << 20;
constexpr size_t kMaxArenas = 512;
constexpr size_t kRedZone = 16;
// Of a larger block the rest stays untouched, so that it costs no page.
constexpr size_t kMostFilled = size_t{16} << 20;
constexpr int kFresh = 0xCD;           // what a new block holds: not initialised, and it shows
constexpr int kFreed = 0xDD;           // what a freed heap block holds
constexpr unsigned char kEdge = 0xA5;  // around a block

struct Record {
  std::byte* address;
  size_t bytes;
  uint64_t serial;
  const void* caller;
  std::byte* base;  // first page of a guarded block, null for a heap block
  bool live;
};

struct Arena {
  std::byte* base;
  size_t bytes;
};

SRWLOCK g_lock = SRWLOCK_INIT;
// By address. Never destroyed: blocks are freed until the process is gone.
std::unordered_map<const void*, Record>& g_records = *new std::unordered_map<const void*, Record>();
Arena g_arenas[kMaxArenas];
size_t g_arenaCount = 0;
std::byte* g_arenaNext = nullptr;
std::byte* g_arenaEnd = nullptr;
bool g_guard = false;
QvshrLedgerState g_state;  // without the objects
QvshrLedgerError g_lastError;

std::atomic<uint64_t> g_liveObjects[2];
std::atomic<uint64_t> g_totalObjects[2];

constexpr size_t RoundUp(size_t value, size_t step) noexcept { return (value + step - 1) / step * step; }

// Reserved pages that nothing used before; they are committed by the caller.
std::byte* TakePages(size_t bytes) noexcept {
  if (g_arenaNext == nullptr || static_cast<size_t>(g_arenaEnd - g_arenaNext) < bytes) {
    if (g_arenaCount == kMaxArenas) return nullptr;
    const size_t size = std::max(kArenaBytes, bytes);
    std::byte* const base = static_cast<std::byte*>(VirtualAlloc(nullptr, size, MEM_RESERVE, PAGE_NOACCESS));
    if (base == nullptr) return nullptr;
    g_arenas[g_arenaCount++] = {base, size};
    g_arenaNext = base;
    g_arenaEnd = base + size;
  }
  std::byte* const pages = g_arenaNext;
  g_arenaNext += bytes;
  return pages;
}

bool LiesInArena(const void* address) noexcept {
  const auto* const at = static_cast<const std::byte*>(address);
  return std::any_of(g_arenas, g_arenas + g_arenaCount,
                     [at](const Arena& arena) { return at >= arena.base && at < arena.base + arena.bytes; });
}

size_t PagesBytes(size_t blockBytes) noexcept { return std::max(kPage, RoundUp(blockBytes, kPage)); }

// Fills in address and base of the record.
bool TryMakeGuarded(Record& record) noexcept {
  const size_t pages = PagesBytes(record.bytes);
  record.base = TakePages(pages + kPage);  // the last page is never committed
  if (record.base == nullptr || VirtualAlloc(record.base, pages, MEM_COMMIT, PAGE_READWRITE) == nullptr) return false;
  record.address = record.base + pages - RoundUp(record.bytes, 16);
  std::byte* const end = record.address + record.bytes;
  std::memset(record.base, kEdge, static_cast<size_t>(record.address - record.base));
  std::memset(end, kEdge, static_cast<size_t>(record.base + pages - end));
  std::memset(record.address, kFresh, std::min(record.bytes, kMostFilled));
  return true;
}

bool TryMakeOnHeap(Record& record) noexcept {
  record.base = nullptr;
  record.address = static_cast<std::byte*>(HeapAlloc(GetProcessHeap(), 0, record.bytes + kRedZone));
  if (record.address == nullptr) return false;
  std::memset(record.address, kFresh, std::min(record.bytes, kMostFilled));
  std::memset(record.address + record.bytes, kEdge, kRedZone);
  return true;
}

bool EdgesAreWhole(const Record& record) noexcept {
  const auto isEdge = [](std::byte b) { return b == std::byte{kEdge}; };
  const std::byte* const end = record.address + record.bytes;
  if (record.base == nullptr) return std::all_of(end, end + kRedZone, isEdge);
  return std::all_of(record.base, record.address, isEdge) &&
         std::all_of(end, static_cast<const std::byte*>(record.base + PagesBytes(record.bytes)), isEdge);
}

void NoteError(QvshrLedgerErrorKind kind, const void* address, const void* caller, uint64_t serial) noexcept {
  ++g_state.errors;
  g_lastError = {kind, address, caller, serial};
}

bool TryMakeBlock(Record& record) noexcept {
  if (CallFails(kEveryAllocation) || record.bytes > kMaxBlockBytes) return false;
  return g_guard ? TryMakeGuarded(record) : TryMakeOnHeap(record);
}

void GiveMemoryBack(const Record& record) noexcept {
  if (record.base != nullptr) {
    VirtualFree(record.base, PagesBytes(record.bytes), MEM_DECOMMIT);
    g_records.erase(record.address);
  } else {
    std::memset(record.address, kFreed, record.bytes);
    HeapFree(GetProcessHeap(), 0, record.address);
  }
}

// ---- environment and report ----

constexpr DWORD kReportPathUnits = 1024;
wchar_t g_reportPath[kReportPathUnits];

}  // namespace

void* AllocateBlock(size_t bytes, const void* caller) noexcept {
  const LedgerLock lock(g_lock);
  Record record = {nullptr, bytes, 0, caller, nullptr, true};
  // Without the lock the books may be half changed: the block goes without them.
  if (!lock.Held()) return TryMakeOnHeap(record) ? record.address : nullptr;
  if (!TryMakeBlock(record)) {
    ++g_state.failedAllocations;
    return nullptr;
  }
  record.serial = ++g_state.totalAllocations;
  ++g_state.liveBlocks;
  g_state.liveBytes += bytes;
  g_records[record.address] = record;
  return record.address;
}

void FreeBlock(void* block, const void* caller) noexcept {
  if (block == nullptr) return;
  const LedgerLock lock(g_lock);
  if (!lock.Held()) return;
  const auto found = g_records.find(block);
  if (found == g_records.end()) {
    NoteError(LiesInArena(block) ? kQvshrDoubleFree : kQvshrForeignFree, block, caller, 0);
    return;
  }
  Record& record = found->second;
  if (!record.live) {
    NoteError(kQvshrDoubleFree, block, caller, record.serial);
    return;
  }
  if (!EdgesAreWhole(record)) NoteError(kQvshrOverrun, block, caller, record.serial);
  record.live = false;
  --g_state.liveBlocks;
  g_state.liveBytes -= record.bytes;
  // A thread that was killed at process end may have held a lock of the heap.
  if (!ProcessIsEnding()) GiveMemoryBack(record);
}

void NoteObjectBorn(ObjectKind kind) noexcept {
  ++g_liveObjects[static_cast<size_t>(kind)];
  ++g_totalObjects[static_cast<size_t>(kind)];
}

void NoteObjectGone(ObjectKind kind) noexcept { --g_liveObjects[static_cast<size_t>(kind)]; }

void BackendAttach() noexcept {
  wchar_t guard[2] = {};
  GetEnvironmentVariableW(L"QVSHR_LEDGER_GUARD", guard, 2);
  g_guard = guard[0] == L'1';
  const DWORD length = GetEnvironmentVariableW(L"QVSHR_LEDGER_REPORT", g_reportPath, kReportPathUnits);
  if (length >= kReportPathUnits) g_reportPath[0] = L'\0';
}

void BackendDetach() noexcept {
  if (g_reportPath[0] == L'\0') return;
  const LedgerLock lock(g_lock);
  char line[512];
  const int length = std::snprintf(
      line, sizeof(line),
      "{\"pid\": %lu, \"liveBlocks\": %llu, \"liveBytes\": %llu, \"liveStrings\": %llu, \"liveKeys\": %llu, "
      "\"totalAllocations\": %llu, \"failedAllocations\": %llu, \"errors\": %llu, \"torn\": %d}\n",
      GetCurrentProcessId(), g_state.liveBlocks, g_state.liveBytes, g_liveObjects[0].load(), g_liveObjects[1].load(),
      g_state.totalAllocations, g_state.failedAllocations, g_state.errors, lock.Held() ? 0 : 1);
  const qv::Handle file(CreateFileW(g_reportPath, GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS, 0, nullptr));
  DWORD written = 0;
  if (file) WriteFile(file.Get(), line, static_cast<DWORD>(length), &written, nullptr);
}

}  // namespace qvshr

using namespace qvshr;

extern "C" void QvshrLedgerSnapshot(QvshrLedgerState* state) noexcept {
  if (state == nullptr) return;
  const LedgerLock lock(g_lock);
  *state = g_state;
  state->liveStrings = g_liveObjects[static_cast<size_t>(ObjectKind::Text)];
  state->liveKeys = g_liveObjects[static_cast<size_t>(ObjectKind::Key)];
  state->totalStrings = g_totalObjects[static_cast<size_t>(ObjectKind::Text)];
  state->totalKeys = g_totalObjects[static_cast<size_t>(ObjectKind::Key)];
}

extern "C" uint64_t QvshrLedgerLiveBlocks(QvshrLedgerBlock* blocks, uint64_t capacity) noexcept {
  const LedgerLock lock(g_lock);
  std::vector<QvshrLedgerBlock> live;
  for (const auto& [address, record] : g_records) {
    if (record.live) live.push_back({address, record.bytes, record.serial, record.caller});
  }
  std::sort(live.begin(), live.end(), [](const auto& a, const auto& b) { return a.serial < b.serial; });
  if (blocks != nullptr) std::copy_n(live.begin(), std::min<uint64_t>(capacity, live.size()), blocks);
  return live.size();
}

extern "C" void QvshrLedgerLastError(QvshrLedgerError* error) noexcept {
  if (error == nullptr) return;
  const LedgerLock lock(g_lock);
  *error = g_lastError;
}

extern "C" void QvshrLedgerClearErrors() noexcept {
  const LedgerLock lock(g_lock);
  g_state.errors = 0;
  g_lastError = {};
}

extern "C" int32_t QvshrLedgerSetGuard(int32_t on) noexcept {
  const LedgerLock lock(g_lock);
  return std::exchange(g_guard, on != 0) ? 1 : 0;
}

extern "C" void QvshrLedgerReset() noexcept {
  QvshrLedgerClearErrors();
  ResetScripts();
}
