// The memory of the ledger build: every block has a record outside of it, so that no overrun reaches the books.
// g_lock guards the table, the arenas and the counters of this file; it is a leaf, nothing is called under it that
// could come back. Records of freed heap blocks stay until their address is used again; a freed guarded block needs
// none, because its address lies in an arena and is never used twice.
#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <utility>

#include "hostlib/backend.h"
#include "tests/ledger/ledger.h"
#include "tests/ledger/ledger_lock.h"

namespace qvshr {
namespace {

constexpr size_t kPage = 4096;
constexpr size_t kArenaBytes = size_t{256} << 20;
constexpr size_t kMaxArenas = 512;
constexpr size_t kRedZone = 16;
constexpr size_t kMostFilled = size_t{16}
                               << 20;  // of a larger block the rest stays untouched, so that it costs no page
constexpr size_t kFirstTable = 4096;
constexpr int kFresh = 0xCD;           // what a new block holds: not initialised, and it shows
constexpr int kFreed = 0xDD;           // what a freed heap block holds
constexpr unsigned char kEdge = 0xA5;  // around a block

enum class RecordState : uint8_t { Empty, Live, Freed, Removed };

struct Record {
  std::byte* address;
  size_t bytes;
  uint64_t serial;
  const void* caller;
  std::byte* base;  // first page of a guarded block, null for a heap block
  RecordState state;
};

struct Arena {
  std::byte* base;
  size_t bytes;
};

SRWLOCK g_lock = SRWLOCK_INIT;
Record* g_table = nullptr;
size_t g_tableSize = 0;  // a power of two
size_t g_tableUsed = 0;  // slots that are not Empty
Arena g_arenas[kMaxArenas];
size_t g_arenaCount = 0;
std::byte* g_arenaNext = nullptr;
std::byte* g_arenaEnd = nullptr;
bool g_guard = false;
uint64_t g_failAt = 0;
uint64_t g_failSeen = 0;
uint64_t g_fired = 0;
bool g_failFrom = false;
QvshrLedgerState g_state;  // without the objects
QvshrLedgerError g_lastError;

std::atomic<uint64_t> g_liveObjects[2];
std::atomic<uint64_t> g_totalObjects[2];

constexpr size_t RoundUp(size_t value, size_t step) noexcept { return (value + step - 1) / step * step; }

size_t HashOf(const void* address) noexcept {
  const uint64_t mixed = (reinterpret_cast<uintptr_t>(address) >> 4) * 0x9E3779B97F4A7C15u;
  return static_cast<size_t>(mixed >> 20) & (g_tableSize - 1);
}

Record* Find(const void* address) noexcept {
  if (g_tableSize == 0) return nullptr;
  for (size_t slot = HashOf(address);; slot = (slot + 1) & (g_tableSize - 1)) {
    Record& record = g_table[slot];
    if (record.state == RecordState::Empty) return nullptr;
    if (record.state != RecordState::Removed && record.address == address) return &record;
  }
}

// Where a record for this address goes: its old one, or a free slot. The table has an empty slot.
Record& Place(const void* address) noexcept {
  if (Record* const known = Find(address)) return *known;
  size_t slot = HashOf(address);
  while (g_table[slot].state == RecordState::Live || g_table[slot].state == RecordState::Freed) {
    slot = (slot + 1) & (g_tableSize - 1);
  }
  if (g_table[slot].state == RecordState::Empty) ++g_tableUsed;
  return g_table[slot];
}

bool TryMakeRoomForOne() noexcept {
  if (g_tableSize != 0 && g_tableUsed < g_tableSize / 4 * 3) return true;
  size_t kept = 0;
  for (size_t i = 0; i < g_tableSize; ++i)
    kept += g_table[i].state == RecordState::Live || g_table[i].state == RecordState::Freed;
  size_t size = kFirstTable;
  while (size / 2 <= kept) size *= 2;
  Record* const table =
      static_cast<Record*>(VirtualAlloc(nullptr, size * sizeof(Record), MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
  if (table == nullptr) return false;
  Record* const old = g_table;
  const size_t oldSize = g_tableSize;
  g_table = table;
  g_tableSize = size;
  g_tableUsed = 0;
  for (size_t i = 0; i < oldSize; ++i) {
    if (old[i].state == RecordState::Live || old[i].state == RecordState::Freed) Place(old[i].address) = old[i];
  }
  if (old != nullptr) VirtualFree(old, 0, MEM_RELEASE);
  return true;
}

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

bool AllocationIsToFail() noexcept {
  if (g_failAt == 0) return false;
  ++g_failSeen;
  const bool fails = g_failFrom ? g_failSeen >= g_failAt : g_failSeen == g_failAt;
  if (fails) ++g_fired;
  return fails;
}

bool TryMakeBlock(Record& record) noexcept {
  if (AllocationIsToFail() || record.bytes > kMaxBlockBytes || !TryMakeRoomForOne()) return false;
  return g_guard ? TryMakeGuarded(record) : TryMakeOnHeap(record);
}

void GiveMemoryBack(Record& record) noexcept {
  if (record.base != nullptr) {
    VirtualFree(record.base, PagesBytes(record.bytes), MEM_DECOMMIT);
    record.state = RecordState::Removed;
  } else {
    std::memset(record.address, kFreed, std::min(record.bytes, kMostFilled));
    HeapFree(GetProcessHeap(), 0, record.address);
  }
}

// ---- environment and report
// -------------------------------------------------------------------------------------------

constexpr DWORD kReportPathUnits = 1024;
wchar_t g_reportPath[kReportPathUnits];

uint64_t NumberFromEnvironment(const wchar_t* name) noexcept {
  wchar_t text[24];
  const DWORD length = GetEnvironmentVariableW(name, text, 24);
  uint64_t number = 0;
  for (DWORD i = 0; length < 24 && i < length && text[i] >= L'0' && text[i] <= L'9'; ++i) {
    number = number * 10 + static_cast<uint64_t>(text[i] - L'0');
  }
  return number;
}

// A line of text without the C library, which may be shut down already.
class Line {
 public:
  Line& Add(const char* text) noexcept {
    while (*text != '\0' && m_length < sizeof(m_text)) m_text[m_length++] = *text++;
    return *this;
  }
  Line& Add(uint64_t number) noexcept {
    char digits[21];
    size_t at = sizeof(digits) - 1;
    digits[at] = '\0';
    do {
      digits[--at] = static_cast<char>('0' + number % 10);
      number /= 10;
    } while (number != 0);
    return Add(&digits[at]);
  }
  Line& Field(const char* name, uint64_t number) noexcept {
    return Add(m_length == 0 ? "{\"" : ", \"").Add(name).Add("\": ").Add(number);
  }
  void WriteTo(const wchar_t* path) const noexcept {
    const HANDLE file = CreateFileW(path, GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return;
    DWORD written = 0;
    WriteFile(file, m_text, static_cast<DWORD>(m_length), &written, nullptr);
    CloseHandle(file);
  }

 private:
  char m_text[1024];
  size_t m_length = 0;
};

}  // namespace

void* AllocateBlock(size_t bytes, const void* caller) noexcept {
  const LedgerLock lock(g_lock);
  Record record = {nullptr, bytes, 0, caller, nullptr, RecordState::Live};
  if (!TryMakeBlock(record)) {
    ++g_state.failedAllocations;
    return nullptr;
  }
  record.serial = ++g_state.totalAllocations;
  ++g_state.liveBlocks;
  g_state.liveBytes += bytes;
  Place(record.address) = record;
  return record.address;
}

void FreeBlock(void* block, const void* caller) noexcept {
  if (block == nullptr) return;
  const LedgerLock lock(g_lock);
  Record* const record = Find(block);
  if (record == nullptr) {
    NoteError(LiesInArena(block) ? kQvshrDoubleFree : kQvshrForeignFree, block, caller, 0);
    return;
  }
  if (record->state == RecordState::Freed) {
    NoteError(kQvshrDoubleFree, block, caller, record->serial);
    return;
  }
  if (!EdgesAreWhole(*record)) NoteError(kQvshrOverrun, block, caller, record->serial);
  record->state = RecordState::Freed;
  --g_state.liveBlocks;
  g_state.liveBytes -= record->bytes;
  // A thread that was killed at process end may have held a lock of the heap.
  if (!ProcessIsEnding()) GiveMemoryBack(*record);
}

void NoteObjectBorn(ObjectKind kind) noexcept {
  ++g_liveObjects[static_cast<size_t>(kind)];
  ++g_totalObjects[static_cast<size_t>(kind)];
}

void NoteObjectGone(ObjectKind kind) noexcept { --g_liveObjects[static_cast<size_t>(kind)]; }

void BackendAttach() noexcept {
  g_guard = NumberFromEnvironment(L"QVSHR_LEDGER_GUARD") != 0;
  g_failAt = NumberFromEnvironment(L"QVSHR_LEDGER_FAIL_AT");
  wchar_t mode[8] = {};
  const DWORD modeLength = GetEnvironmentVariableW(L"QVSHR_LEDGER_FAIL_MODE", mode, 8);
  g_failFrom = modeLength == 4 && CompareStringOrdinal(mode, 4, L"from", 4, TRUE) == CSTR_EQUAL;
  const DWORD length = GetEnvironmentVariableW(L"QVSHR_LEDGER_REPORT", g_reportPath, kReportPathUnits);
  if (length >= kReportPathUnits) g_reportPath[0] = L'\0';
}

void BackendDetach() noexcept {
  if (g_reportPath[0] == L'\0') return;
  const LedgerLock lock(g_lock);
  Line line;
  line.Field("pid", GetCurrentProcessId()).Field("liveBlocks", g_state.liveBlocks);
  line.Field("liveBytes", g_state.liveBytes).Field("liveStrings", g_liveObjects[0]).Field("liveKeys", g_liveObjects[1]);
  line.Field("totalAllocations", g_state.totalAllocations).Field("failedAllocations", g_state.failedAllocations);
  line.Field("errors", g_state.errors).Field("torn", lock.Held() ? 0 : 1).Add("}\n");
  line.WriteTo(g_reportPath);
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
  const auto older = [](const QvshrLedgerBlock& a, const QvshrLedgerBlock& b) { return a.serial < b.serial; };
  uint64_t written = 0;
  for (size_t i = 0; i < g_tableSize; ++i) {
    const Record& record = g_table[i];
    if (record.state != RecordState::Live || blocks == nullptr || capacity == 0) continue;
    const QvshrLedgerBlock block = {record.address, record.bytes, record.serial, record.caller};
    // A heap with the youngest on top, so that the oldest ones are those that stay.
    if (written == capacity) {
      if (!older(block, blocks[0])) continue;
      std::pop_heap(blocks, blocks + written, older);
      blocks[written - 1] = block;
    } else {
      blocks[written++] = block;
    }
    std::push_heap(blocks, blocks + written, older);
  }
  if (blocks != nullptr) std::sort_heap(blocks, blocks + written, older);
  return g_state.liveBlocks;
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

extern "C" void QvshrLedgerFailAt(uint64_t n, int32_t mode) noexcept {
  const LedgerLock lock(g_lock);
  g_failAt = n;
  g_failFrom = mode == kQvshrFailFromHere;
  g_failSeen = 0;
  g_fired = 0;
}

extern "C" uint64_t QvshrLedgerFired() noexcept {
  const LedgerLock lock(g_lock);
  return g_fired;
}

extern "C" void QvshrLedgerReset() noexcept {
  QvshrLedgerFailAt(0, kQvshrFailOnce);
  QvshrLedgerClearErrors();
  ResetScripts();
}
