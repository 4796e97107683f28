// Every row of the table of operations: what it calls undisturbed, and how it ends when a call or an allocation fails.
#include "tests/bridge/operation_rows.h"

namespace qvtest {

namespace {

using OperationRows = OperationTest;

TEST_F(OperationRows, UndisturbedEachMakesTheseCallsAndEndsSo) {
  for (const Operation& operation : Operations()) {
    SCOPED_TRACE(operation.name);
    EXPECT_EQ(Run(operation), operation.end);
    if (!operation.log.empty()) {
      EXPECT_EQ(m_log, operation.log);
    }
  }
}

TEST_F(OperationRows, WhenACallFailsEachEndsSo) {
  for (const Operation& operation : Operations()) {
    for (const FaultRow& row : operation.faults) {
      SCOPED_TRACE(testing::Message() << operation.name << ", " << row.function << " number " << row.n
                                      << (row.fault == Fault::Null ? " gives null" : " throws"));
      const End end = Run(operation, [&] {
        Java().FailAt(row.function, row.n, row.fault);
        return 0;
      });
      EXPECT_EQ(end, row.end);
      EXPECT_TRUE(m_fired);
    }
  }
}

TEST_F(OperationRows, WithoutMemoryEachEndsSo) {
  for (const Operation& operation : Operations()) {
    for (size_t n = 1; n <= operation.withoutMemory.size(); ++n) {
      for (const QvshrLedgerMode mode : {kQvshrFailOnce, kQvshrFailFromHere}) {
        SCOPED_TRACE(testing::Message() << operation.name << ", allocation " << n << " fails, " << NameOf(mode));
        const WithoutMemory& row = operation.withoutMemory[n - 1];
        const End end = Run(operation, [&] { return std::make_unique<FailAllocation>(n, mode); });
        EXPECT_EQ(end, mode == kQvshrFailOnce ? row.once : row.fromThere);
        EXPECT_TRUE(m_fired);
      }
    }
  }
}

}  // namespace

}  // namespace qvtest
