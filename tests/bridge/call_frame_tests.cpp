// What the typed calls, the field reads and the array operations share: the environment first, then the record of
// before, and at the end a look for an exception. And what the operations share that do none of it.
#include <algorithm>

#include "tests/bridge/operation_rows.h"

namespace qvtest {
namespace {

constexpr size_t kNewStringArray = 43;  // looks for no exception: its look-up has dropped it

class CallFrame : public OperationTest {
 protected:
  static size_t SlotOf(const Operation& row) { return row.log.empty() ? 0 : std::stoul(row.log.front().substr(5)); }
  // Each of slots 20 to 47 as it succeeds, on a fresh object and VM.
  void ForEach(const std::function<void(const Operation& row, size_t slot)>& test) {
    size_t expected = 20;
    for (const Operation& row : Operations()) {
      const size_t slot = SlotOf(row);
      if (slot < 20 || slot > 47 || row.end.status != S_OK) continue;
      SCOPED_TRACE(row.name);
      EXPECT_EQ(slot, expected++);
      SetCreated(true);
      if (row.prepare) row.prepare(Java(), Api(), Watch());
      Watch();
      Log();
      test(row, slot);
      Renew();
    }
    EXPECT_EQ(expected, 48u);
  }
  // The calls of the undisturbed row, the slot and its environment apart.
  static Lines Begin(const Operation& row) { return {row.log.begin(), row.log.begin() + 2}; }
  static Lines Rest(const Operation& row) { return {row.log.begin() + 2, row.log.end()}; }
};

TEST_F(CallFrame, WithoutAnEnvironmentItIsAnInternalException) {
  for (const bool record : {false, true}) {
    ForEach([&](const Operation& row, size_t) {
      TakeEnvironmentAway();
      if (record) GiveObjectRecord(L"from before");
      EXPECT_EQ(row.call(Api(), Jni()), E_FAIL);
      const Lines cleared = {"slot 58 ExceptionClear"};
      EXPECT_EQ(Log(), Begin(row) + (record ? cleared : Lines{})) << "the old record goes through slot 58 all the same";
      EXPECT_EQ(ObjectRecord(), Record(kInternal, -1001));
    });
  }
}

TEST_F(CallFrame, AnExceptionFromBeforeIsClearedWhenThereIsARecord) {
  ForEach([&](const Operation& row, size_t) {
    GiveObjectRecord(L"from before", 7);
    LeavePending();
    EXPECT_EQ(row.call(Api(), Jni()), S_OK);
    const Lines cleared = {"slot 58 ExceptionClear", "ExceptionClear()"};
    EXPECT_EQ(Log(), Begin(row) + cleared + Rest(row));
    EXPECT_EQ(ObjectRecord(), kNoRecord);
  });
}

TEST_F(CallFrame, AnExceptionFromBeforeIsReportedWhenThereIsNoRecord) {
  ForEach([&](const Operation& row, size_t slot) {
    LeavePending(L"java.lang.Error: from before");
    const int32_t status = row.call(Api(), Jni());
    const Lines log = Log();
    if (slot == kNewStringArray) {
      EXPECT_EQ(status, S_OK);
      EXPECT_EQ(log, row.log);
      EXPECT_EQ(ObjectRecord(), kNoRecord);
      return;
    }
    EXPECT_EQ(status, E_FAIL);
    Lines illegal = row.log;  // up to the look for an exception every call into Java is made
    for (std::string& line : illegal) line += line.starts_with("slot ") ? "" : " !pending";
    const size_t calls =
        static_cast<size_t>(std::find(row.log.begin(), row.log.end(), kNothingPending[0]) - row.log.begin());
    EXPECT_EQ(Lines(log.begin(), log.begin() + static_cast<ptrdiff_t>(calls)),
              Lines(illegal.begin(), illegal.begin() + static_cast<ptrdiff_t>(calls)));
    EXPECT_EQ(ObjectRecord(), Record(L"java.lang.Error: from before", -1001));
  });
}

TEST_F(CallFrame, ReferencesStringsAndConstructionLeaveTheRecordOfBefore) {
  const RecordView before = Record(L"from before", 7);
  for (const Operation& row : Operations()) {
    const size_t slot = SlotOf(row);
    if (slot < 7 || (slot > 19 && slot != 48) || slot == 12) continue;
    SCOPED_TRACE(row.name);
    for (const FaultRow& fault : row.faults + FaultRows{{"", 1, Fault::None, row.end}}) {
      End expected = fault.end;
      expected.record = before;
      const End end = Run(row, [&] {
        GiveObjectRecord(L"from before", 7);
        Java().FailAt(fault.function, fault.n, fault.fault);
        return 0;
      });
      EXPECT_EQ(end, expected) << fault.function;
    }
    if (slot <= 11) {
      const End end = Run(row, [&] {
        LeavePending();
        return 0;
      });
      EXPECT_EQ(end, (End{S_OK, kNoRecord, row.end.locals, row.end.globals, true})) << "an exception from before stays";
      EXPECT_EQ(m_log, row.log);
    }
    if (slot == 7) continue;
    const End end = Run(row, [&] {
      GiveObjectRecord(L"from before", 7);
      TakeEnvironmentAway();
      return 0;
    });
    EXPECT_EQ(end, (End{E_FAIL, before})) << "without an environment";
    EXPECT_EQ(m_log, Entered(slot));
  }
}

TEST_F(CallFrame, Slot59GetsTheObjectsOwnRecordAndItsAnswerDecides) {
  ForEach([&](const Operation& row, size_t slot) {
    if (slot == kNewStringArray) return;
    int32_t answer = 1;
    bool makeRecord = true;
    Watch().Replace<59>([&](void*, ErrorRecord** record, qv_jnienv env) {
      EXPECT_EQ(record, Object().RecordSlot());
      EXPECT_EQ(env, &Jni());
      if (makeRecord) *record = qv::NewErrorRecord(L"from slot 59", 5);
      return answer;
    });
    EXPECT_EQ(row.call(Api(), Jni()), E_FAIL);
    EXPECT_EQ(ObjectRecord(), Record(L"from slot 59", -1001));
    makeRecord = false;
    EXPECT_EQ(row.call(Api(), Jni()), E_FAIL) << "1 without a record";
    EXPECT_EQ(ObjectRecord(), kNoRecord);
    for (const int32_t other : {0, 2, -1}) {
      answer = other;
      EXPECT_EQ(row.call(Api(), Jni()), S_OK) << other;
    }
  });
}

}  // namespace
}  // namespace qvtest
