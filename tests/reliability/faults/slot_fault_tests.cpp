// The operations reach each other through the object's own table, where a host may have put functions of its own: each
// of those calls fails in turn, the first, the second and the last. The ends were worked out from what every operation
// does with a failing one, step by step.
#include <algorithm>

#include "tests/bridge/operation_rows.h"
#include "tests/reliability/faults/tally.h"

namespace qvtest {
namespace {

constexpr int kLast = -1;
constexpr int kAny = 0;

// ---- failing operations: what the host finds in its out-value, and the status ----

int32_t g_status = E_FAIL;  // or any other failure
template <class Value>
int32_t FailsWith(void*, Value* out) {
  *out = {};
  return g_status;
}
int32_t Fails(void*) { return g_status; }
int32_t CapturesNothing(void*) { return 1; }  // something was pending, and there was no memory for a record
qv_jnienv NoEnvironment(void*) { return nullptr; }

struct SlotFault {
  const char* what;
  void* function;
};
const std::map<size_t, SlotFault>& SlotFaultTable() {
  const auto null = SlotFault{"E_FAIL", reinterpret_cast<void*>(&FailsWith<void*>)};
  static const std::map<size_t, SlotFault> faults = {
      {7, null},
      {8, {"E_FAIL", reinterpret_cast<void*>(&Fails)}},
      {12, null},
      {13, null},
      {14, null},
      {15, {"E_FAIL", reinterpret_cast<void*>(&FailsWith<int32_t>)}},
      {16, {"E_FAIL", reinterpret_cast<void*>(&FailsWith<wchar_t>)}},
      {17, null},
      {18, null},
      {32, null},
      {33, null},
      {39, null},
      {55, null},
      {59, {"1 without a record", reinterpret_cast<void*>(&CapturesNothing)}},
      {60, {"null", reinterpret_cast<void*>(&NoEnvironment)}},
  };
  return faults;
}
constexpr size_t kExceptionClear = 58;  // it has no result

// ---- the ends ----

struct SlotRow {
  std::string operation;  // "*" in front: the end of its name
  size_t slot;
  int n;  // kAny, kLast, or which call
  End end;
  bool isLast = false;  // nothing is called after it
};
using SlotRows = std::vector<SlotRow>;

const RecordView kInternalRecord = Record(kInternal, -1001);
const RecordView kEnvironmentRecord = Record(kNoEnvironment, 0);
RecordView Unknown(int32_t code) { return Record(kUnknown, code); }
const RecordView kNotFound = Record(L"Unable to find java a/B class. Check CLASSPATH.", 0);

// A capture whose exception is one local more than `before`: the class, then the text come on top of it.
void AddCapture(SlotRows& rows, const std::string& operation, int32_t status, int32_t code, int before,
                bool copied = true) {
  const End noText = {status, Unknown(code), before + 3};
  rows.push_back({operation, 12, kAny, {status, Unknown(code), before + 1}});
  rows.push_back({operation, 15, kAny, noText});
  // A text that does not fit is cut by another function.
  if (copied) rows.push_back({operation, 16, kAny, noText});
}

SlotRows MakeRows() {
  const auto fails = [](int locals, int globals = 0) { return End{E_FAIL, kNoRecord, locals, globals}; };
  const End internal = {E_FAIL, kInternalRecord, 0};
  SlotRows rows;
  for (const char* name : {"DeleteLocalRef", "DeleteLocalRef2", "DeleteLocalRef3", "DeleteGlobalRef", "NewGlobalRef",
                           "NewString", "GetStringLength", "GetStringChars", "GetStringValue",
                           "GetStringValue of a long text", "NewObject", "NewDefaultObject", "GetJNIEnv"}) {
    rows.push_back({name, 60, kAny, fails(0)});
  }
  rows.push_back({"GetStringChars", 15, kAny, fails(0), true});

  // What finds no environment says so; a call that cannot be attempted is an internal error.
  for (const char* name :
       {"FindClass, known", "FindClass, unknown in a created JVM", "FindClass, unknown in a joined JVM with a loader",
        "FindClass, loaded in a joined JVM by a new loader"}) {
    rows.push_back({name, 60, 1, {E_FAIL, kEnvironmentRecord, 0}});
  }
  for (const char* name :
       {"typed", "* of a missing member", "* without a name", "NewStringArray", "SetObjectArrayElement",
        "SetObjectArrayElement out of bounds", "NewByteArray", "GetByteArrayData", "SetByteArrayData"}) {
    rows.push_back({name, 60, 1, internal});
  }

  // A typed call with nothing pending, and one whose exception is captured.
  rows.push_back({"typed", 59, kAny, fails(0)});
  for (const char* name : {"* of a missing member", "SetObjectArrayElement out of bounds"}) {
    AddCapture(rows, name, E_FAIL, -1001, 0);
    rows.push_back({name, 59, kAny, {E_FAIL, kNoRecord, 0, 0, true}});
    rows.push_back({name, 60, 2, {E_FAIL, Unknown(-1001), 1}});
    rows.push_back({name, 60, kLast, {E_FAIL, Unknown(-1001), 3}});
  }
  for (const char* name : {"CaptureException", "CaptureException of a long text"}) {
    AddCapture(rows, name, 1, 0, 0, std::string(name) == "CaptureException");
    rows.push_back({name, 60, 1, {1, Unknown(0), 1}});
    rows.push_back({name, 60, kAny, {1, Unknown(0), 3}});
  }

  const std::string created = "FindClass, unknown in a created JVM";
  AddCapture(rows, created, E_FAIL, 0, 0);
  rows.push_back({created, 59, kAny, {E_FAIL, kNotFound, 0, 0, true}});
  rows.push_back({created, 60, 2, {E_FAIL, Unknown(0), 1}});
  rows.push_back({created, 60, kLast, {E_FAIL, Unknown(0), 3}});

  const std::string known = "FindClass, unknown in a joined JVM with a loader";
  const RecordView classNotFound = Record(L"java.lang.ClassNotFoundException: a.B", -1001);
  AddCapture(rows, known, E_FAIL, -1001, 1);
  rows.push_back({known, 14, kAny, {E_FAIL, kNotFound, 0}});
  rows.push_back({known, 33, kAny, {E_FAIL, kNotFound, 1}});
  // What the typed call did not capture is captured for the look-up itself.
  rows.push_back({known, 59, kAny, {E_FAIL, Record(classNotFound.text, 0), 4}});
  rows.push_back({known, 8, kAny, {E_FAIL, classNotFound, 5}});
  rows.push_back({known, 60, 2, {E_FAIL, kNotFound, 0}});
  rows.push_back({known, 60, kLast, {E_FAIL, classNotFound, 5}});

  const std::string loaded = "FindClass, loaded in a joined JVM by a new loader";
  const End clean = {S_OK, kNoRecord, 5, 1};
  const End oneMore = {S_OK, kNoRecord, 6, 1};
  const End noLoader = {E_FAIL, kInternalRecord, 4, 0};
  rows.push_back({loaded, 55, kAny, {E_FAIL, kNotFound, 3, 0}});
  rows.push_back({loaded, 14, 1, clean});  // the path's place stays empty
  rows.push_back({loaded, 14, 2, {E_FAIL, kNotFound, 3, 1}});
  rows.push_back({loaded, 18, 1, clean});
  rows.push_back({loaded, 18, 2, noLoader});
  rows.push_back({loaded, 32, kAny, clean});
  rows.push_back({loaded, 13, kAny, noLoader});
  rows.push_back({loaded, 33, kAny, {E_FAIL, kNotFound, 4, 1}});
  rows.push_back({loaded, 59, kAny, clean});  // what was handed out counts
  rows.push_back({loaded, 8, kAny, oneMore});
  rows.push_back({loaded, 60, 2, clean});
  rows.push_back({loaded, 60, kLast, oneMore});

  rows.push_back({"NewStringArray", 12, kAny, fails(0), true});
  rows.push_back({"NewStringArray", 14, kAny, fails(1), true});
  rows.push_back({"NewStringArray", 8, kAny, {S_OK, kNoRecord, 3}});
  rows.push_back({"NewStringArray", 60, 2, {E_FAIL, kEnvironmentRecord, 0}});
  rows.push_back({"NewStringArray", 60, kLast, {S_OK, kNoRecord, 3}});
  rows.push_back({"SetObjectArrayElement", 59, kAny, fails(0)});
  rows.push_back({"NewByteArray", 59, kAny, fails(1)});
  for (const char* name : {"GetByteArrayData", "SetByteArrayData"}) {
    rows.push_back({name, 7, kAny, fails(0), true});
    rows.push_back({name, 59, kAny, fails(0)});
  }
  for (const char* name : {"GetClassPath", "GetJavaVersion"}) {
    rows.push_back({name, 12, kAny, fails(0), true});
    rows.push_back({name, 14, kAny, fails(1), true});
    rows.push_back({name, 39, kAny, fails(2), true});
    rows.push_back({name, 59, kAny, fails(3)});
    rows.push_back({name, 17, kAny, fails(3), true});
    rows.push_back({name, 60, 1, {E_FAIL, kEnvironmentRecord, 0}});
    rows.push_back({name, 60, 2, fails(1)});
    rows.push_back({name, 60, kLast, fails(3)});
  }
  return rows;
}

bool IsTyped(const std::string& name) {
  return (name.starts_with("Call") || name.starts_with("GetStatic")) && name.find(' ') == std::string::npos;
}

bool Fits(const SlotRow& row, const std::string& operation, size_t slot, int n, int count) {
  const bool name = row.operation == operation || (row.operation == "typed" && IsTyped(operation)) ||
                    (row.operation[0] == '*' && operation.ends_with(row.operation.substr(1)));
  return name && row.slot == slot && (row.n == kAny || row.n == n || (row.n == kLast && n == count));
}

class SlotFaults : public OperationTest {
 protected:
  using OperationTest::Run;
  // The n-th call that the operation itself makes to the slot fails.
  End Run(const Operation& operation, size_t slot, int n) {
    return Run(operation, [&] {
      // The host's own call comes first.
      Watch().FailAt(slot, n + (slot == m_outer ? 1 : 0), SlotFaultTable().at(slot).function);
      return 0;
    });
  }

  // How often the operation calls each slot of its own table.
  std::map<size_t, int> CallsOf(const Operation& operation) {
    m_outer = 0;
    EXPECT_EQ(Run(operation), operation.end);
    std::map<size_t, int> calls;
    for (const std::string& line : m_log) {
      if (!line.starts_with("slot ")) continue;
      const size_t slot = std::stoul(line.substr(5));
      if (m_outer == 0) {
        m_outer = slot;
      } else {
        ++calls[slot];
      }
    }
    return calls;
  }

  size_t m_outer = 0;
};

TEST_F(SlotFaults, EachOperationOfTheObjectsOwnTableFailsInTurn) {
  const SlotRows rows = MakeRows();
  std::set<const SlotRow*> used;
  std::map<size_t, Tally> tallies;
  for (const Operation& operation : Operations()) {
    SCOPED_TRACE(operation.name);
    for (const auto& [slot, count] : CallsOf(operation)) {
      Tally& tally = tallies[slot];
      tally.operations.insert(operation.name);
      if (slot == kExceptionClear) continue;
      ASSERT_TRUE(SlotFaultTable().contains(slot)) << SlotLine(slot) << " is called, and nothing says how it fails";
      for (const int n : std::set<int>{1, std::min(2, count), count}) {
        SCOPED_TRACE(SlotLine(slot) + " fails, call " + std::to_string(n) + " of " + std::to_string(count));
        const auto row = std::find_if(rows.begin(), rows.end(), [&, of = slot, all = count](const SlotRow& known) {
          return Fits(known, operation.name, of, n, all);
        });
        if (row == rows.end()) {
          ADD_FAILURE() << "no row says how this ends";
          continue;
        }
        used.insert(&*row);
        for (const int32_t status : {E_INVALIDARG, E_FAIL}) {
          g_status = status;
          End stated = row->end;
          if (slot == 17) stated.status = status;  // which is handed on
          const End end = Run(operation, slot, n);
          EXPECT_EQ(end, stated);
          EXPECT_TRUE(m_fired);
          if (row->isLast) {
            EXPECT_EQ(m_log.back(), SlotLine(slot));
          }
          EXPECT_EQ(Run(operation), operation.end) << "the next one, with nothing failing";
          if (status == E_FAIL) Count(tally, operation.end, row->end, end);
        }
      }
    }
  }
  for (const SlotRow& row : rows) {
    EXPECT_TRUE(used.contains(&row)) << "a row fits no call: " << row.operation << ", " << SlotLine(row.slot) << ", "
                                     << row.n;
  }
  for (auto& [slot, tally] : tallies) {
    if (slot == kExceptionClear) {
      tally.steady = "it has no result";
    } else {
      tally.faults = {SlotFaultTable().at(slot).what};
    }
    tally.Record("8 " + std::to_string(slot), "slot " + std::to_string(slot) + " `" + SlotName(slot) + "`",
                 "own table");
  }
}

}  // namespace
}  // namespace qvtest
