// What is left is listed with its size and the place that made it, as module and offset.
// support_tests.cpp has the positive controls: a leak and a double free that must be reported.
// Blocks that were made before are none of its business, but their number must not fall either.
#include "tests/support/ledger_check.h"

#include <windows.h>

#include <cstdio>
#include <utility>
#include <vector>

#include "tests/support/text.h"

namespace qvtest {
namespace {

std::string PlaceName(const void* address) {
  HMODULE module = nullptr;
  wchar_t path[MAX_PATH] = {};
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     static_cast<const wchar_t*>(address), &module);
  if (module != nullptr) GetModuleFileNameW(module, path, MAX_PATH);
  std::wstring name = path;
  name.erase(0, name.find_last_of(L'\\') + 1);
  char offset[32];
  std::snprintf(
      offset, sizeof(offset), "+0x%llx",
      static_cast<unsigned long long>(reinterpret_cast<uintptr_t>(address) - reinterpret_cast<uintptr_t>(module)));
  return ToUtf8(name) + offset;
}

std::string ListBlocksAfter(uint64_t serial) {
  std::vector<QvshrLedgerBlock> blocks(QvshrLedgerLiveBlocks(nullptr, 0) + 64);
  const uint64_t live = QvshrLedgerLiveBlocks(blocks.data(), blocks.size());
  blocks.resize(std::min<uint64_t>(live, blocks.size()));
  std::string list;
  for (const QvshrLedgerBlock& block : blocks) {
    if (block.serial <= serial) continue;
    list += "  allocation " + std::to_string(block.serial - serial) + ": " + std::to_string(block.bytes) +
            " bytes, made at " + PlaceName(block.caller) + "\n";
  }
  return list;
}

const char* NameOfError(int32_t kind) {
  switch (kind) {
    case kQvshrDoubleFree:
      return "freed twice";
    case kQvshrForeignFree:
      return "freed, but never made";
    case kQvshrOverrun:
      return "written over at an edge";
    default:
      return "no error";
  }
}

}  // namespace

QvshrLedgerState Books() {
  QvshrLedgerState state{};
  QvshrLedgerSnapshot(&state);
  return state;
}

LedgerCheck::LedgerCheck() : m_before(Books()) {}

LedgerCheck::~LedgerCheck() { Verify(); }

void LedgerCheck::ExpectLeft(uint64_t blocks, std::string reason) {
  m_expectedLeft = blocks;
  m_reason = std::move(reason);
}

uint64_t LedgerCheck::Allocations() const { return Books().totalAllocations - m_before.totalAllocations; }

void LedgerCheck::Verify() {
  if (std::exchange(m_done, true)) return;
  const QvshrLedgerState now = Books();
  EXPECT_EQ(now.liveBlocks, m_before.liveBlocks + m_expectedLeft)
      << "blocks left behind" << (m_reason.empty() ? "" : " (expected: " + m_reason + ")") << ":\n"
      << ListBlocksAfter(m_before.totalAllocations);
  EXPECT_EQ(now.liveStrings, m_before.liveStrings) << "string objects left behind or released too often";
  EXPECT_EQ(now.liveKeys, m_before.liveKeys) << "key objects left behind or released too often";
  if (now.errors == m_before.errors) return;
  QvshrLedgerError error{};
  QvshrLedgerLastError(&error);
  ADD_FAILURE() << now.errors - m_before.errors << " error(s) of the heap; the latest: a block (allocation "
                << error.serial << " of the process) was " << NameOfError(error.kind) << ", at "
                << PlaceName(error.caller);
}

}  // namespace qvtest
