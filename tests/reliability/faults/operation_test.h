// One operation of the bridge from a fresh object and VM to its end, with something failing on its way.
#pragma once

#include <string>

#include "tests/bridge/operation_rows.h"
#include "tests/reliability/faults/tally.h"

namespace qvtest {

// Counts how an operation ended.
inline void Count(Tally& tally, const End& normal, const End& stated, const End& end) {
  ++(!(end == stated) ? tally.otherwise : normal.status == end.status ? tally.goOn : tally.fail);
}

class OperationTest : public BridgeTest {
 protected:
  // `setFault` runs when everything is prepared; what it returns lives until the operation is over.
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
      m_fired = Java().FaultFired() || Watch().FaultFired() || QvshrLedgerFired() != 0;
    }
    Watch().FailAt(0, 0, nullptr);
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

  // Of the last run: what was called, and whether the fault came to pass.
  Lines m_log;
  bool m_fired = false;
};

}  // namespace qvtest
