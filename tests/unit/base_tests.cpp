// What everything else stands on: bounded copies, text under construction, lists, the guard, flags of threads.
#include <jni.h>

#include <array>
#include <stdexcept>

#include "base/bounded_text.h"
#include "base/procedure.h"
#include "base/process_end.h"
#include "base/seh_guard.h"
#include "base/thread_slot.h"
#include "host/host_list.h"
#include "host/host_text.h"
#include "tests/support/threads.h"
#include "tests/unit/unit_fixture.h"

namespace qvtest {
namespace {

// ---- bounded copies ----

TEST(BoundedTextTest, ACopyIsAlwaysTerminatedAndSaysWhetherItWasCut) {
  const struct {
    size_t capacity;
    const wchar_t* text;
    const wchar_t* want;
    bool whole;
  } rows[] = {{4, L"abc", L"abc", true}, {4, L"abcd", L"abc", false}, {4, L"", L"", true},
              {1, L"", L"", true},       {1, L"a", L"", false},       {4, L"ab", L"ab", true}};
  for (const auto& row : rows) {
    std::array<wchar_t, 6> buffer;
    buffer.fill(L'#');
    EXPECT_EQ(qv::CopyBounded(std::span(buffer.data(), row.capacity), row.text), row.whole) << ToUtf8(row.text);
    EXPECT_STREQ(buffer.data(), row.want);
    for (size_t i = row.capacity; i < buffer.size(); ++i) EXPECT_EQ(buffer[i], L'#') << "written past the end";
  }
  wchar_t unit = L'#';
  EXPECT_FALSE(qv::CopyBounded(std::span(&unit, 0), L""));
  EXPECT_EQ(unit, L'#') << "nothing is written where nothing fits";
}

// ---- memory ----

class HostMemoryTest : public LedgerTest {};

TEST_F(HostMemoryTest, AnArrayWhoseBytesOverflowIsNotAskedForAndAStringThatCannotBeMadeIsAnEmptyReference) {
  EXPECT_EQ(qv::AllocHostArray<wchar_t>(SIZE_MAX / 2 + 1), nullptr);
  EXPECT_EQ(qv::AllocHostArray<JavaVMOption>(SIZE_MAX / 16 + 1), nullptr);
  EXPECT_EQ(QvshrLedgerCalls(kQvshrCallAlloc), 0u);
  const FailCall fault(kQvshrCallCreateString, 1);
  EXPECT_FALSE(qv::MakeString(L"x"));
  EXPECT_EQ(qv::TextOf(static_cast<IQvString*>(nullptr)), L"");
}

// ---- text under construction ----

class HostTextTest : public LedgerTest {};

TEST_F(HostTextTest, PiecesAreAppendedUnitForUnitAndAnEmptyTextNeedsNoMemory) {
  const LedgerCheck ledger;
  qv::HostText text;
  text.Append(L"").Append({});
  EXPECT_TRUE(text.Ok());
  EXPECT_TRUE(text.Empty());
  EXPECT_STREQ(text.Text(), L"");
  EXPECT_EQ(text.DetachBlock(), nullptr);
  EXPECT_EQ(ledger.Allocations(), 0u);
  EXPECT_TRUE(text.Append({L"a", L"", L"\xD83D"}).Append(L"\xDE00").Append({L"b", L"c"}).Ok());
  EXPECT_EQ(text.View(), L"a\xD83D\xDE00" + std::wstring(L"bc"));
  EXPECT_EQ(text.Length(), 5u);
  EXPECT_EQ(text.Text()[5], L'\0');
  EXPECT_STREQ(text.DetachBlock().get(), (L"a\xD83D\xDE00" + std::wstring(L"bc")).c_str());
  EXPECT_TRUE(text.Empty()) << "a block is handed out once";
  EXPECT_EQ(text.DetachBlock(), nullptr);
}

TEST_F(HostTextTest, ATextOfManyPiecesGrowsInFewSteps) {
  const LedgerCheck ledger;
  std::wstring want;
  qv::HostText text;
  for (int i = 0; i < 20000; ++i) {
    const std::wstring piece = std::to_wstring(i);
    text.Append(piece);
    want += piece;
  }
  EXPECT_TRUE(text.View() == want);
  EXPECT_LE(ledger.Allocations(), 12u);
}

TEST_F(HostTextTest, EverySizeAroundABlockIsTerminatedInsideIt) {
  for (size_t units = 60; units < 70; ++units) {
    const std::wstring piece(units, L'x');
    qv::HostText text{piece};
    EXPECT_EQ(text.View(), piece);
    EXPECT_EQ(std::wcslen(text.Text()), units);
  }
}

TEST_F(HostTextTest, AFailureIsRememberedAndKeepsWhatCameBefore) {
  qv::HostText text{L"before"};
  const std::wstring large(1000, L'x');
  {
    const FailAllocation fault(1, kQvshrFailOnce);
    EXPECT_FALSE(text.Append(large).Ok());
  }
  EXPECT_FALSE(text.Append(L"after").Ok());
  EXPECT_EQ(text.View(), L"before");
  EXPECT_FALSE(text.ToString());
  EXPECT_EQ(text.DetachBlock(), nullptr);
}

TEST_F(HostTextTest, ATextThatNoLengthCanHoldFailsWithoutAskingForMemory) {
  const LedgerCheck ledger;
  const wchar_t unit = L'x';
  qv::HostText text;
  // Never read: the size alone decides.
  EXPECT_FALSE(text.Append(std::wstring_view(&unit, 0x40000000)).Ok());
  EXPECT_EQ(ledger.Allocations(), 0u);
}

TEST_F(HostTextTest, WhatIsMovedFromIsEmptyAndUsable) {
  qv::HostText first{L"text"};
  qv::HostText second = std::move(first);
  EXPECT_EQ(second.View(), L"text");
  EXPECT_TRUE(first.Empty());
  EXPECT_EQ(first.Append(L"again").View(), L"again");
  qv::HostText failed = qv::HostText::Failed();
  second = std::move(failed);
  EXPECT_FALSE(second.Ok());
  EXPECT_TRUE(failed.Ok());
}

// ---- lists ----

class HostListTest : public LedgerTest {
 protected:
  static std::vector<int> Items(const qv::HostList<int>& list) {
    std::vector<int> items;
    const qv::HostList<int>::Node* previous = nullptr;
    for (const auto* node = list.Head(); node != nullptr; previous = node, node = node->next) {
      items.push_back(*node->item);
      EXPECT_EQ(node->previous, previous);
    }
    return items;
  }
  qv::HostList<int>::Node* Find(int item) const {
    return m_list.FindFirst([item](int candidate) { return candidate == item; });
  }

  std::array<int, 4> m_items = {1, 2, 3, 4};
  qv::HostList<int> m_list;
};

TEST_F(HostListTest, ItemsAreAppendedAtTheTailAndRemovedAnywhere) {
  {
    const FailAllocation fault(1, kQvshrFailOnce);
    EXPECT_FALSE(m_list.Append(&m_items[1]));
    EXPECT_EQ(Items(m_list), std::vector<int>{}) << "without memory it stays as it is";
  }
  for (int& item : m_items) EXPECT_TRUE(m_list.Append(&item));
  EXPECT_EQ(Items(m_list), (std::vector<int>{1, 2, 3, 4}));
  EXPECT_EQ(m_list.Remove(Find(2)), &m_items[1]);
  EXPECT_EQ(Items(m_list), (std::vector<int>{1, 3, 4}));
  EXPECT_EQ(m_list.Remove(Find(1)), &m_items[0]);
  EXPECT_EQ(m_list.Remove(Find(4)), &m_items[3]);
  EXPECT_TRUE(m_list.Append(&m_items[1]));
  EXPECT_EQ(Items(m_list), (std::vector<int>{3, 2}));
  EXPECT_EQ(Find(4), nullptr);
  EXPECT_NE(m_list.Remove(Find(3)), nullptr);
  EXPECT_NE(m_list.Remove(Find(2)), nullptr);
  EXPECT_EQ(m_list.Head(), nullptr);
}

// ---- the guard ----

using Work = int32_t (*)(void* context);

TEST(GuardTest, ACallThatReturnsGivesItsValueAndWhateverOneRaisesIsCaughtAndLeavesTheValue) {
  const Work returns = [](void* context) -> int32_t { return *static_cast<int32_t*>(context); };
  const Work raising[] = {[](void*) -> int32_t {
                            volatile int* volatile nowhere = nullptr;
                            return *nowhere;
                          },
                          [](void*) -> int32_t {
                            RaiseException(0xE1234567, 0, 0, nullptr);
                            return 1;
                          },
                          [](void*) -> int32_t { throw std::runtime_error("thrown"); },
                          [](void*) -> int32_t {
                            RaiseException(EXCEPTION_INT_DIVIDE_BY_ZERO, 0, 0, nullptr);
                            return 2;
                          }};
  int32_t given = 42;
  for (const Work& raise : raising) {
    int32_t value = -1;
    EXPECT_FALSE(qv::CallGuarded(raise, nullptr, &value)) << &raise - raising;
    EXPECT_EQ(value, -1) << &raise - raising;
    EXPECT_TRUE(qv::CallGuarded(returns, &given, &value)) << "after a caught exception";
    EXPECT_EQ(value, 42);
  }
}

#ifdef QV_TRAPS_UNDEFINED
TEST(SanitizeTest, UndefinedBehaviourEndsAtATrap) {
  const auto overflow = [](void* at) -> int32_t {
    volatile int32_t most = *static_cast<int32_t*>(at);
    return most + 1;
  };
  const auto shift = [](void* at) -> int32_t {
    volatile int32_t width = *static_cast<int32_t*>(at);
    return 1 << width;
  };
  int32_t largest = INT32_MAX;
  int32_t value = 0;
  EXPECT_FALSE(qv::CallGuarded(overflow, &largest, &value)) << "a signed overflow went on";
  EXPECT_FALSE(qv::CallGuarded(shift, &largest, &value)) << "a shift by too much went on";
}
#endif

// ---- the rest ----

void* ReadOnAnotherThread(const qv::ThreadSlot& slot) {
  void* value = &value;
  OnThread([&] { value = slot.Get(); });
  return value;
}

TEST(ThreadSlotTest, EachThreadHasItsOwnValueWhateverTheNumberOfTheSlot) {
  std::vector<qv::ThreadSlot> slots(100);  // the system keeps the first 64 elsewhere than the others
  for (qv::ThreadSlot& slot : slots) {
    EXPECT_EQ(slot.Get(), nullptr) << "before it has a number";
    ASSERT_TRUE(slot.Prepare());
    EXPECT_EQ(slot.Get(), nullptr);
    slot.Set(&slot);
  }
  for (qv::ThreadSlot& slot : slots) EXPECT_EQ(slot.Get(), &slot) << "slot " << &slot - slots.data();
  EXPECT_EQ(ReadOnAnotherThread(slots.front()), nullptr);
  EXPECT_EQ(ReadOnAnotherThread(slots.back()), nullptr);
  for (qv::ThreadSlot& slot : slots) {
    slot.Set(nullptr);
    EXPECT_EQ(slot.Get(), nullptr);
    slot.Forget();
    slot.Set(&slot);
    EXPECT_EQ(slot.Get(), nullptr) << "it keeps nothing without a number";
  }
}

TEST(ThreadFlagTest, EachThreadHasItsOwnFromItsSlotOn) {
  qv::ThreadFlag flag;
  const auto setsAndKeeps = [&] {
    flag.Set(true);
    return flag.IsSet();
  };
  EXPECT_FALSE(setsAndKeeps()) << "before there is a slot for it";
  ASSERT_TRUE(flag.Prepare());
  ASSERT_TRUE(flag.Prepare()) << "the second time";
  EXPECT_FALSE(flag.IsSet());
  EXPECT_TRUE(setsAndKeeps());
  OnThread([&] { EXPECT_FALSE(flag.IsSet()); });
  flag.Set(false);
  EXPECT_FALSE(flag.IsSet());
  flag.Forget();
  EXPECT_FALSE(setsAndKeeps());
}

TEST(ProcedureTest, AFunctionIsFoundByNameAndNothingElseIs) {
  HMODULE const kernel = GetModuleHandleW(L"kernel32.dll");
  const auto pid = qv::FindProcedure<DWORD(WINAPI*)()>(kernel, "GetCurrentProcessId");
  ASSERT_NE(pid, nullptr);
  EXPECT_EQ(pid(), GetCurrentProcessId());
  EXPECT_EQ(qv::FindProcedure<void (*)()>(kernel, "NoSuchFunction"), nullptr);
  EXPECT_EQ(qv::FindProcedure<void (*)()>(nullptr, "GetCurrentProcessId"), nullptr);
}

TEST(ProcessEndTest, ARunningProcessIsNotEnding) { EXPECT_FALSE(qv::ProcessIsEnding()); }

}  // namespace
}  // namespace qvtest
