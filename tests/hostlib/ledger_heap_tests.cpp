// The ledger's books and guards: each thing that it claims to catch is done here on purpose, and must be caught.
#include <cstring>

#include "base/seh_guard.h"
#include "host/qvshr.h"
#include "tests/support/ledger_check.h"
#include "tests/support/threads.h"

namespace hosttest {
namespace {

using qvtest::Books;

QvshrLedgerError LastError() {
  QvshrLedgerError error{};
  QvshrLedgerLastError(&error);
  return error;
}

bool LiesInThisProgram(const void* address) {
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     static_cast<const wchar_t*>(address), &module);
  return module == GetModuleHandleW(nullptr);
}

// Touches one byte; false when that is an access violation.
bool CanRead(const void* address) {
  int32_t ignored = 0;
  return qv::CallGuarded([](void* at) -> int32_t { return *static_cast<volatile char*>(at); },
                         const_cast<void*>(address), &ignored);
}
bool CanWrite(void* address) {
  int32_t ignored = 0;
  const auto write = [](void* at) -> int32_t {
    *static_cast<volatile char*>(at) = 'x';
    return 0;
  };
  return qv::CallGuarded(write, address, &ignored);
}

char* MakeBlock(size_t bytes) { return static_cast<char*>(QvshrAlloc(bytes)); }

// ---- what is alive ----

class LedgerBooksTest : public testing::TestWithParam<bool> {
 protected:
  LedgerBooksTest() { QvshrLedgerReset(); }
  ~LedgerBooksTest() override { QvshrLedgerReset(); }

  const qvtest::GuardPages m_guard{GetParam()};
};
INSTANTIATE_TEST_SUITE_P(Ledger, LedgerBooksTest, testing::Bool(),
                         [](const auto& row) { return std::string(row.param ? "Guarded" : "OnTheHeap"); });

TEST_P(LedgerBooksTest, BlocksStringsAndKeysAreCountedWhileTheyLive) {
  const QvshrLedgerState before = Books();
  const auto expectMore = [&](uint64_t blocks, uint64_t bytes, uint64_t made) {
    const QvshrLedgerState now = Books();
    EXPECT_EQ(now.liveBlocks, before.liveBlocks + blocks);
    EXPECT_EQ(now.liveBytes, before.liveBytes + bytes);
    EXPECT_EQ(now.totalAllocations, before.totalAllocations + made);
  };
  char* const first = MakeBlock(100);
  char* const second = MakeBlock(0);
  expectMore(2, 100, 2);
  QvshrFree(first);
  expectMore(1, 0, 2);
  QvshrFree(second);
  QvshrFree(nullptr);
  expectMore(0, 0, 2);

  const auto expectObjects = [&](uint64_t strings, uint64_t keys) {
    const QvshrLedgerState now = Books();
    EXPECT_EQ(now.liveStrings, before.liveStrings + strings);
    EXPECT_EQ(now.liveKeys, before.liveKeys + keys);
    EXPECT_EQ(now.totalStrings, before.totalStrings + 1);
    EXPECT_EQ(now.totalKeys, before.totalKeys + 1);
    EXPECT_GE(now.liveBlocks, before.liveBlocks + strings + keys);
  };
  IQvString* text = nullptr;
  IQvRegKey* key = nullptr;
  const DefaultConfigRecord table[] = {
      {kOpenKey, L"Root", nullptr, {}}, {kCloseKey, nullptr, nullptr, {}}, {kEndOfTable, nullptr, nullptr, {}}};
  ASSERT_EQ(QvshrCreateString(L"text", &text), 0);
  ASSERT_EQ(QvshrOpenDefaultTree(table, &key), 0);
  text->AddRef();
  expectObjects(1, 1);  // a reference is no string
  text->Release();
  expectObjects(1, 1);
  text->Release();
  key->Release();
  expectObjects(0, 0);
  EXPECT_EQ(Books().liveBlocks, before.liveBlocks);
  EXPECT_EQ(Books().errors, 0u);
}

TEST_P(LedgerBooksTest, ALeakIsListedWithItsSizeItsNumberAndWhoMadeIt) {
  const QvshrLedgerState before = Books();
  QvshrFree(MakeBlock(5));
  char* const leaked = MakeBlock(77);
  char* const other = MakeBlock(1234);
  std::vector<QvshrLedgerBlock> blocks(before.liveBlocks + 2);
  ASSERT_EQ(QvshrLedgerLiveBlocks(blocks.data(), blocks.size()), blocks.size());
  const QvshrLedgerBlock& found = blocks[before.liveBlocks];
  EXPECT_EQ(found.address, leaked);
  EXPECT_EQ(found.bytes, 77u);
  EXPECT_EQ(found.serial, before.totalAllocations + 2) << "the second allocation from here";
  EXPECT_TRUE(LiesInThisProgram(found.caller));
  EXPECT_EQ(blocks.back().address, other) << "they come in the order in which they were made";
  QvshrFree(leaked);
  QvshrFree(other);
}

TEST_P(LedgerBooksTest, AShortListHoldsTheOldestAndTellsHowManyThereAre) {
  const uint64_t before = Books().liveBlocks;
  std::vector<char*> made;
  for (int i = 0; i < 10; ++i) made.push_back(MakeBlock(16));
  std::vector<QvshrLedgerBlock> blocks(before + 3);
  EXPECT_EQ(QvshrLedgerLiveBlocks(blocks.data(), blocks.size()), before + 10);
  for (size_t i = 0; i < 3; ++i) EXPECT_EQ(blocks[before + i].address, made[i]) << i;
  EXPECT_EQ(QvshrLedgerLiveBlocks(nullptr, 0), before + 10);
  for (char* block : made) QvshrFree(block);
  EXPECT_EQ(QvshrLedgerLiveBlocks(nullptr, 100), before);
}

TEST_P(LedgerBooksTest, ThreadsLeaveBalancedBooks) {
  const QvshrLedgerState before = Books();
  qvtest::OnThreads(4, [](int) {
    for (size_t i = 0; i < 500; ++i) {
      char* const block = MakeBlock(i);
      IQvString* text = nullptr;
      QvshrCreateString(L"x", &text);
      QvshrFree(block);
      text->Release();
    }
  });
  const QvshrLedgerState now = Books();
  EXPECT_EQ(now.liveBlocks, before.liveBlocks);
  EXPECT_EQ(now.liveBytes, before.liveBytes);
  EXPECT_EQ(now.liveStrings, before.liveStrings);
  EXPECT_EQ(now.totalAllocations, before.totalAllocations + 4 * 500 * 2);
  EXPECT_EQ(now.errors, 0u);
}

// ---- what is wrong with a free ----

TEST_P(LedgerBooksTest, ABlockFreedTwiceIsReportedAndNothingIsFreed) {
  char* const block = MakeBlock(24);
  QvshrFree(block);
  const QvshrLedgerState before = Books();
  QvshrFree(block);
  const QvshrLedgerState now = Books();
  EXPECT_EQ(now.errors, 1u);
  EXPECT_EQ(now.liveBlocks, before.liveBlocks);
  EXPECT_EQ(LastError().kind, kQvshrDoubleFree);
  EXPECT_EQ(LastError().address, block);
  EXPECT_TRUE(LiesInThisProgram(LastError().caller));
  if (!GetParam()) {
    EXPECT_EQ(LastError().serial, before.totalAllocations);
  }
}

TEST_P(LedgerBooksTest, AnAddressThatIsNoBlockIsReportedAndNothingIsFreed) {
  alignas(16) char onTheStack[32] = {};
  static char inTheProgram[32] = {};
  char* const block = MakeBlock(64);
  void* const systems = HeapAlloc(GetProcessHeap(), 0, 32);
  const QvshrLedgerState before = Books();
  for (void* foreign :
       {static_cast<void*>(onTheStack), static_cast<void*>(inTheProgram), reinterpret_cast<void*>(uintptr_t{16})}) {
    QvshrLedgerClearErrors();
    QvshrFree(foreign);
    EXPECT_EQ(Books().errors, 1u) << foreign;
    EXPECT_EQ(LastError().kind, kQvshrForeignFree) << foreign;
    EXPECT_EQ(LastError().address, foreign);
    EXPECT_EQ(LastError().serial, 0u);
    EXPECT_TRUE(LiesInThisProgram(LastError().caller));
  }
  QvshrLedgerClearErrors();
  EXPECT_EQ(Books().errors, 0u);
  EXPECT_EQ(LastError().kind, kQvshrNoError);
  EXPECT_EQ(LastError().address, nullptr);
  // Memory of somebody else, perhaps where a block has been: an error under either name.
  QvshrFree(systems);

  EXPECT_EQ(Books().errors, 1u);
  // The middle of a block: nobody's start, whatever it is called.
  QvshrLedgerClearErrors();
  QvshrFree(block + 16);
  EXPECT_EQ(Books().errors, 1u);
  EXPECT_EQ(Books().liveBlocks, before.liveBlocks);
  EXPECT_EQ(Books().liveBytes, before.liveBytes);
  EXPECT_NE(HeapFree(GetProcessHeap(), 0, systems), FALSE);
  QvshrFree(block);
}

TEST_P(LedgerBooksTest, AWriteRightBehindABlockIsFoundAtItsFree) {
  for (const size_t bytes : {1u, 7u, 15u, 17u, 100u, 4090u}) {
    QvshrLedgerClearErrors();
    char* const block = MakeBlock(bytes);
    const uint64_t serial = Books().totalAllocations;
    block[bytes] = 0;  // up to the next multiple of 16 no page can guard
    QvshrFree(block);
    EXPECT_EQ(Books().errors, 1u) << bytes << " bytes";
    EXPECT_EQ(LastError().kind, kQvshrOverrun);
    EXPECT_EQ(LastError().address, block);
    EXPECT_EQ(LastError().serial, serial);
  }
}

TEST_P(LedgerBooksTest, AFreshBlockDoesNotLookInitialisedAndMayBeFilledToItsEnd) {
  for (size_t bytes = 0; bytes < 70; ++bytes) {
    char* const block = MakeBlock(bytes);
    EXPECT_EQ(std::string(block, bytes), std::string(bytes, '\xCD'));

    std::memset(block, 0x41, bytes);
    QvshrFree(block);
  }
  EXPECT_EQ(Books().errors, 0u);
  EXPECT_EQ(LastError().kind, kQvshrNoError);
}

// ---- guard pages ----

class GuardPagesTest : public testing::Test {
 protected:
  GuardPagesTest() { QvshrLedgerReset(); }

  const qvtest::GuardPages m_guard;
};

TEST_F(GuardPagesTest, BehindABlockLiesAnInaccessiblePage) {
  for (const size_t bytes : {16u, 64u, 4096u, 8192u, 100000u}) {
    char* const block = MakeBlock(bytes);
    const size_t rounded = (bytes + 15) / 16 * 16;
    EXPECT_TRUE(CanWrite(block + bytes - 1)) << bytes << " bytes";
    EXPECT_FALSE(CanRead(block + rounded)) << bytes << " bytes";
    EXPECT_FALSE(CanWrite(block + rounded)) << bytes << " bytes";
    QvshrFree(block);
  }
  EXPECT_EQ(Books().errors, 0u);
}

TEST_F(GuardPagesTest, SwitchingThemSaysHowItWasBefore) {
  EXPECT_EQ(QvshrLedgerSetGuard(0), 1);
  EXPECT_EQ(QvshrLedgerSetGuard(0), 0);
  EXPECT_EQ(QvshrLedgerSetGuard(1), 0);
  EXPECT_EQ(QvshrLedgerSetGuard(7), 1);
  EXPECT_EQ(QvshrLedgerSetGuard(1), 1);
}

TEST_F(GuardPagesTest, AFreedBlockIsInaccessibleForEver) {
  char* const block = MakeBlock(64);
  EXPECT_TRUE(CanRead(block));
  QvshrFree(block);
  EXPECT_FALSE(CanRead(block));
  for (int i = 0; i < 200; ++i) {
    char* const later = MakeBlock(64);
    EXPECT_NE(later, block);
    QvshrFree(later);
  }
  EXPECT_FALSE(CanWrite(block));
}

TEST_F(GuardPagesTest, AStringsTextEndsAtTheGuard) {
  IQvString* text = nullptr;
  ASSERT_EQ(QvshrCreateString(L"1234567", &text), 0);
  const wchar_t* const units = text->GetText();
  EXPECT_TRUE(CanRead(units + 7)) << "the terminator";
  EXPECT_FALSE(CanRead(units + 7 + 8)) << "at most seven units lie between it and the page";
  text->Release();
  EXPECT_FALSE(CanRead(units)) << "a text does not outlive its object";
}

TEST_F(GuardPagesTest, BlocksOfBothKindsLiveSideBySideAndAWriteInFrontOfOneIsFoundAtItsFree) {
  char* const guarded = MakeBlock(64);
  QvshrLedgerSetGuard(0);
  char* const heap = MakeBlock(64);
  EXPECT_TRUE(CanRead(heap + 64));
  QvshrLedgerSetGuard(1);
  QvshrFree(heap);
  QvshrLedgerSetGuard(0);
  EXPECT_FALSE(CanRead(guarded + 64));
  QvshrFree(guarded);
  EXPECT_FALSE(CanRead(guarded));
  EXPECT_EQ(Books().errors, 0u);
  QvshrLedgerSetGuard(1);
  char* const block = MakeBlock(64);
  ASSERT_TRUE(CanWrite(block - 1));
  QvshrFree(block);
  EXPECT_EQ(Books().errors, 1u);
  EXPECT_EQ(LastError().kind, kQvshrOverrun);
}

TEST_F(GuardPagesTest, ThousandsOfBlocksLiveAtOnceAndHundredThousandsInAll) {
  std::vector<char*> blocks;
  for (int i = 0; i < 5000; ++i) blocks.push_back(MakeBlock(16));
  for (char* block : blocks) ASSERT_NE(block, nullptr);
  for (char* block : blocks) QvshrFree(block);
  for (int i = 0; i < 100000; ++i) {
    char* const block = MakeBlock(16);
    ASSERT_NE(block, nullptr) << i;
    QvshrFree(block);
  }
  EXPECT_EQ(Books().errors, 0u);
}

}  // namespace
}  // namespace hosttest
