// The operations of the bridge as a table: what each calls undisturbed, how it ends then, when each of its JNI calls
// fails, and without memory, and how many references it leaves on the thread. And a test that runs one of them.
#pragma once

#include "tests/bridge/bridge_test.h"

namespace qvtest {

// How an operation ends. The references are those that it has made and not deleted, with what it hands out.
struct End {
  int32_t status = 0;
  RecordView record{};
  int locals = 0;
  int globals = 0;
  bool pending = false;  // an exception

  friend bool operator==(const End&, const End&) = default;
  friend std::ostream& operator<<(std::ostream& out, const End& end) {
    return out << "status " << std::hex << end.status << std::dec << ", " << end.record << ", " << end.locals
               << " local and " << end.globals << " global references more" << (end.pending ? ", pending" : "");
  }
};

struct FaultRow {
  const char* function;
  int n;
  Fault fault;
  End end;
  std::optional<Lines> then{};  // what is called after it
};
using FaultRows = std::vector<FaultRow>;

struct WithoutMemory {
  End once;       // that one alone
  End fromThere;  // and every one after it
  std::optional<Lines> log{};
};

struct Operation {
  std::string name;
  bool joined = false;  // whether the JVM is somebody else's
  End end{};
  Lines log{};  // of the undisturbed run
  FaultRows faults{};
  std::function<void(FakeVm&, IQV_JavaVM&, SlotTable&)> prepare{};
  std::function<int32_t(IQV_JavaVM&, FakeJni&)> call{};
  // When an allocation fails, the first, the second, ... Empty: it makes none.
  std::vector<WithoutMemory> withoutMemory{};
};

std::vector<Operation> Operations();

// One operation from a fresh object and VM to its end, with something failing on its way.
class OperationTest : public BridgeTest {
 protected:
  // `setFault` runs when everything is prepared; what it returns lives until the operation is over.
  template <class SetFault>
  End Run(const Operation& operation, SetFault&& setFault) {
    SetCreated(!operation.joined);
    Watch();
    if (operation.prepare) operation.prepare(Java(), Api(), Watch());
    const ReferenceCounts before = Java().Counts();
    Log();
    End end{};
    {
      [[maybe_unused]] const auto fault = setFault();
      end.status = operation.call(Api(), Jni());
      m_fired = Java().FaultFired() || Watch().FaultFired() || QvshrLedgerFired() != 0;
    }
    Watch().FailAt(0, 0, nullptr);
    const ReferenceCounts after = Java().Counts();
    end.record = ObjectRecord();
    end.pending = Jni().Pending() != nullptr;
    end.locals = after.localsMade - after.localsDeleted - before.localsMade + before.localsDeleted;
    end.globals = after.globalsMade - after.globalsDeleted - before.globalsMade + before.globalsDeleted;
    m_log = Log();
    Renew();
    return end;
  }
  End Run(const Operation& operation) {
    return Run(operation, [] { return 0; });
  }

  // Of the last run: what was called, and whether the fault came to pass.
  Lines m_log;
  bool m_fired = false;
};

}  // namespace qvtest
