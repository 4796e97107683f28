#include "tests/reliability/threads/host_thread.h"

#include <algorithm>

#include "tests/real/running_vm.h"
#include "tests/support/ledger_check.h"
#include "tests/support/process_counters.h"

namespace qvtest {

namespace {

constexpr int64_t kMoreHandles = 40;

}  // namespace

Remains CountRemains(IQV_JavaVM* vm) {
  Remains remains;
  ForgetRecord(vm);  // which is a block
  remains.javaThreads = ThreadsInJava(vm);
  remains.blocks = static_cast<int64_t>(Books().liveBlocks);
  remains.heapErrors = static_cast<int64_t>(Books().errors);
  remains.handles = INT64_MAX;
  for (int i = 0; i < 5; ++i, Sleep(20)) remains.handles = std::min<int64_t>(remains.handles, CountProcess().handles);
  return remains;
}

bool IsFlat(const Remains& before, const Remains& after) {
  return after.handles <= before.handles + kMoreHandles && after.javaThreads == before.javaThreads &&
         after.blocks == before.blocks;
}

void ExpectFlat(const Remains& before, const Remains& after) {
  EXPECT_LE(after.handles, before.handles + kMoreHandles);
  EXPECT_EQ(after.javaThreads, before.javaThreads);
  EXPECT_EQ(after.blocks, before.blocks);
  EXPECT_EQ(after.heapErrors, 0);
}

}  // namespace qvtest
