#include "tests/support/random.h"

#include <chrono>
#include <string>

#include "tests/support/environment.h"
#include "tests/support/reliability.h"

namespace qvtest {

uint64_t SeedOfThisRun() {
  if (const auto given = ReadVariable(L"QV_SEED")) return std::stoull(*given);
  if (!IsNightly()) return 20011;
  return static_cast<uint64_t>(std::chrono::system_clock::now().time_since_epoch().count()) % 1000000000U;
}

}  // namespace qvtest
