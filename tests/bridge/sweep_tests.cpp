// Every operation of the bridge with every JNI call and every allocation that it makes failing in turn: the stated
// result, nothing lost, nothing freed twice, and exactly the references that the operation leaves on purpose.
// A call that no row speaks of fails the test, and so does a row that no call fits.
#include <algorithm>
#include <map>
#include <memory>
#include <string>

#include "tests/bridge/operation_rows.h"

namespace qvtest {

namespace {

class Sweep : public BridgeTest {
 protected:
  // On a fresh object and VM. `fault` is set when everything is prepared and taken back when the operation is over.
  template <class SetFault>
  End Run(const Operation& operation, SetFault&& setFault) {
    SetCreated(operation.created);
    operation.prepare(Java(), Api(), Watch());
    const ReferenceCounts before = Java().Counts();
    Log();
    End end{};
    {
      [[maybe_unused]] const auto fault = setFault();
      end.status = operation.call(Api(), Jni());
      m_fired = Java().FaultFired() || QvshrLedgerFired() != 0;
    }
    const ReferenceCounts after = Java().Counts();
    end.record = ObjectRecord();
    end.locals = after.localsMade - after.localsDeleted - before.localsMade + before.localsDeleted;
    end.globals = after.globalsMade - after.globalsDeleted - before.globalsMade + before.globalsDeleted;
    m_log = Log();
    Renew();
    return end;
  }
  End Run(const Operation& operation) {
    return Run(operation, [] { return 0; });
  }

  Lines m_log;
  bool m_fired = false;
};

TEST_F(Sweep, EachOperationLeavesTheReferencesOfItsRow) {
  for (const Operation& operation : Operations()) {
    SCOPED_TRACE(operation.name);
    EXPECT_EQ(Run(operation), operation.end);
    for (const std::string& line : m_log) {
      EXPECT_FALSE(line.ends_with(" !pending")) << line << " is illegal while an exception is pending";
    }
  }
}

TEST_F(Sweep, EveryJniCallFailsInTurn) {
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
      for (const Fault fault : {Fault::Null, Fault::Throw}) {
        if (!(fault == Fault::Null ? CanGiveNull(function) : CanThrow(function))) continue;
        for (int n = 1; n <= count; ++n) {
          SCOPED_TRACE(testing::Message()
                       << function << " number " << n << (fault == Fault::Null ? " gives null" : " throws"));
          const auto row = std::find_if(operation.faults.begin(), operation.faults.end(), [&](const FaultRow& known) {
            return known.function == function && known.n == n && known.fault == fault;
          });
          if (row == operation.faults.end()) {
            ADD_FAILURE() << "no row says how this ends";
            continue;
          }
          ++rowsUsed;
          EXPECT_EQ(Run(operation,
                        [&] {
                          Java().FailAt(function, n, fault);
                          return 0;
                        }),
                    row->end);
          EXPECT_TRUE(m_fired);
        }
      }
    }
    EXPECT_EQ(rowsUsed, operation.faults.size()) << "a row fits no call";
  }
}

TEST_F(Sweep, EveryAllocationFailsInTurn) {
  for (const Operation& operation : Operations()) {
    SCOPED_TRACE(operation.name);
    for (const QvshrLedgerMode mode : {kQvshrFailOnce, kQvshrFailFromHere}) {
      for (size_t n = 1; n <= operation.withoutMemory.size() + 1; ++n) {
        SCOPED_TRACE(testing::Message() << "allocation " << n << " fails, " << NameOf(mode));
        const bool fails = n <= operation.withoutMemory.size();
        End expected = operation.end;
        if (fails) {
          const WithoutMemory& row = operation.withoutMemory[n - 1];
          expected = mode == kQvshrFailOnce ? row.once : row.fromThere;
        }
        EXPECT_EQ(Run(operation, [&] { return std::make_unique<FailAllocation>(n, mode); }), expected);
        EXPECT_EQ(m_fired, fails) << "as many rows as the operation makes allocations";
      }
    }
  }
}

}  // namespace

}  // namespace qvtest
