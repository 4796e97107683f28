// Every operation of the bridge with every JNI call and every allocation that it makes failing in turn: the stated
// result, nothing lost, nothing freed twice, and exactly the references that the operation leaves on purpose.
// A call that no row speaks of fails the test, and so does a row that no call fits.
#include <algorithm>
#include <cstdlib>

#include "service/capture_mark.h"
#include "tests/bridge/operation_rows.h"
#include "tests/reliability/faults/outside_calls.h"
#include "tests/reliability/faults/tally.h"
#include "tests/support/import_hook.h"

namespace qvtest {
namespace {

// The functions that cannot fail, and why.
const std::map<std::string, std::string> kSteady = {
    {"DeleteLocalRef", "it has no result"},
    {"DeleteGlobalRef", "it has no result"},
    {"ReleaseStringChars", "it has no result"},
    {"ReleaseByteArrayElements", "it has no result"},
    {"ExceptionOccurred", "every answer is an answer"},
    {"ExceptionCheck", "every answer is an answer"},
    {"ExceptionDescribe", "it has no result"},
    {"ExceptionClear", "it has no result"},
    {"GetStringLength", "every string has a length"},
    {"GetStringRegion", "it is asked for what is there"},
    {"GetStaticIntField", "the field was found"},
    {"GetStaticShortField", "the field was found"},
};

class Sweep : public OperationTest {};

// What was called after the n-th call of the function.
Lines After(const Lines& log, const std::string& function, int n) {
  const auto found = std::find_if(
      log.begin(), log.end(), [&](const std::string& line) { return line.starts_with(function + "(") && --n == 0; });
  return found != log.end() ? Lines(found + 1, log.end()) : Lines{"it was not called"};
}

TEST_F(Sweep, UndisturbedEachOperationMakesTheCallsOfItsRowAndEndsSo) {
  for (const Operation& operation : Operations()) {
    SCOPED_TRACE(operation.name);
    EXPECT_EQ(Run(operation), operation.end);
    EXPECT_TRUE(m_log == operation.log || operation.log.empty()) << testing::PrintToString(m_log);
    for (const std::string& line : m_log) {
      EXPECT_FALSE(line.ends_with(" !pending")) << line << " is illegal while an exception is pending";
    }
  }
}

TEST_F(Sweep, EveryJniCallFailsInTurn) {
  std::map<std::string, Tally> tallies;
  for (const Operation& operation : Operations()) {
    SCOPED_TRACE(operation.name);
    Run(operation);
    // The calls of the undisturbed run that can fail, with how often each function was called.
    std::map<std::string, int> calls;
    for (const std::string& line : m_log) {
      if (line.find('(') != std::string::npos) ++calls[line.substr(0, line.find('('))];
    }
    size_t rowsUsed = 0;
    for (const auto& [function, count] : calls) {
      Tally& tally = tallies[function];
      tally.operations.insert(operation.name);
      for (const Fault fault : {Fault::Null, Fault::Throw}) {
        if (!(fault == Fault::Null ? CanGiveNull(function) : CanThrow(function))) continue;
        for (int n = 1; n <= count; ++n) {
          SCOPED_TRACE(testing::Message()
                       << function << " number " << n << (fault == Fault::Null ? " gives null" : " throws"));
          const auto row = std::find_if(operation.faults.begin(), operation.faults.end(),
                                        [&, &name = function](const FaultRow& known) {
                                          return known.function == name && known.n == n && known.fault == fault;
                                        });
          if (row == operation.faults.end()) {
            ADD_FAILURE() << "no row says how this ends";
            continue;
          }
          ++rowsUsed;
          const End end = Run(operation, [&, &name = function] {
            Java().FailAt(name, n, fault);
            return 0;
          });
          EXPECT_EQ(end, row->end);
          EXPECT_TRUE(m_fired);
          EXPECT_EQ(After(m_log, function, n), row->then.value_or(After(m_log, function, n)));
          tally.faults.insert(fault == Fault::Null ? "null" : "exception");
          Count(tally, operation.end, row->end, end);
        }
      }
    }
    EXPECT_EQ(rowsUsed, operation.faults.size()) << "a row fits no call";
  }
  for (const std::string& function : OutsideCalls("jni")) {
    Tally& tally = tallies[function];
    EXPECT_FALSE(tally.operations.empty()) << function << " is called by the service, and by no operation here";
    const auto steady = kSteady.find(function);
    EXPECT_EQ(tally.faults.empty(), steady != kSteady.end()) << function;
    if (steady != kSteady.end()) tally.steady = steady->second;
    tally.Record("7 " + function, "`" + function + "`", "JNI");
  }
}

// One row for all typed calls: they have one algorithm.
std::string GroupOf(const Operation& operation) {
  const bool typed = operation.name.starts_with("Call") || operation.name.starts_with("GetStatic");
  if (!typed) return operation.name;
  const size_t space = operation.name.find(' ');
  return "the 23 typed calls and field reads" + (space == std::string::npos ? "" : operation.name.substr(space));
}

TEST_F(Sweep, EveryAllocationFailsInTurn) {
  struct Group {
    size_t operations = 0;
    size_t allocations = 0;
    Tally tally;
  };
  std::map<std::string, Group> groups;
  for (const Operation& operation : Operations()) {
    SCOPED_TRACE(operation.name);
    Group& group = groups[GroupOf(operation)];
    ++group.operations;
    group.allocations += operation.withoutMemory.size();
    for (const QvshrLedgerMode mode : {kQvshrFailOnce, kQvshrFailFromHere}) {
      for (size_t n = 1; n <= operation.withoutMemory.size() + 1; ++n) {
        SCOPED_TRACE(testing::Message() << "allocation " << n << " fails, " << NameOf(mode));
        const bool fails = n <= operation.withoutMemory.size();
        const WithoutMemory row = fails ? operation.withoutMemory[n - 1] : WithoutMemory{operation.end, operation.end};
        const End& expected = mode == kQvshrFailOnce ? row.once : row.fromThere;
        const End end = Run(operation, [&] { return std::make_unique<FailAllocation>(n, mode); });
        EXPECT_EQ(end, expected);
        EXPECT_EQ(m_log, row.log.value_or(m_log));
        EXPECT_EQ(m_fired, fails) << "as many rows as the operation makes allocations";
        if (fails) Count(group.tally, operation.end, expected, end);
      }
    }
  }
  size_t without = 0;
  for (const auto& [name, group] : groups) {
    if (group.allocations == 0) without += group.operations;
    if (group.allocations == 0) continue;
    RecordRow("allocations", "2 " + name, {name, group.allocations, group.tally.Runs(), group.tally.Outcome()});
  }
  RecordRow("allocations", "3", {std::to_string(without) + " other rows of operations", 0, 0, "-"});
}

// ---- the C library's conversion of a class name ----

TEST_F(Sweep, AClassNameThatCannotBeConverted) {
  int conversions = 0;
  int failConversion = 0;
  const FunctionHook<decltype(&std::mbstowcs)> hook("mbstowcs", [&](wchar_t* wide, const char* text, size_t units) {
    return ++conversions == failConversion ? static_cast<size_t>(-1) : hook.Real(wide, text, units);
  });
  const auto find = [](const char* name) {
    for (const Operation& operation : Operations()) {
      if (operation.name == name) return operation;
    }
    ADD_FAILURE() << "no operation " << name;
    return Operation{};
  };
  const RecordView whole = Record(L"Unable to find java a/B class. Check CLASSPATH.", 0);
  const RecordView nameless = Record(L"Unable to find java  class. Check CLASSPATH.", 0);
  Tally tally{.faults = {"cannot be converted"}};
  // In a joined JVM the name is measured, then converted for the loader; a third time for the text of the failure.
  struct Row {
    bool created;
    int n;
    int conversions;
    RecordView record;
  };
  for (const Row& row : {Row{false, 1, 2, whole}, Row{false, 2, 3, whole}, Row{true, 1, 1, nameless}}) {
    SCOPED_TRACE(testing::Message() << (row.created ? "created" : "joined") << ", conversion " << row.n);
    const Operation operation =
        find(row.created ? "FindClass, known" : "FindClass, unknown in a joined JVM with a loader");
    const End end = Run(operation, [&] {
      if (row.created) Java().FailAt("FindClass", 1, Fault::Null);
      conversions = 0;
      failConversion = row.n;
      return 0;
    });
    failConversion = 0;
    const End stated{E_FAIL, row.record, 0};
    EXPECT_EQ(end, stated);
    EXPECT_EQ(conversions, row.conversions);
    Count(tally, operation.end, stated, end);
    tally.operations.insert(operation.name);
  }
  tally.Record("2 mbstowcs", "`mbstowcs`", "C library");
}

// ---- the mark of a thread that is inside a capture ----

TEST_F(Sweep, ACaptureThatCannotBeMarkedHasNoTextAndDoesNotCaptureItself) {
  // A slot outside of a thread's first block needs memory for its first value, and there is none.
  const FunctionHook<decltype(&TlsSetValue)> hook("TlsSetValue", [&](DWORD slot, void* value) -> BOOL {
    if (value != &qv::g_capturing) return hook.Real(slot, value);
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return FALSE;
  });
  for (const bool known : {true, false}) {
    SCOPED_TRACE(known ? "Throwable can be found" : "Throwable cannot be found");
    if (!known) Java().classes.erase("java/lang/Throwable");
    LeavePending();
    EXPECT_EQ(Object().CaptureException(Object().RecordSlot(), &Jni()), 1);
    EXPECT_EQ(ObjectRecord(), Record(kUnknown, 0));
    EXPECT_EQ(Jni().Pending(), nullptr);
    EXPECT_EQ(LocalsLeft(), 1) << "the exception";
    Renew();
  }
}

}  // namespace
}  // namespace qvtest
