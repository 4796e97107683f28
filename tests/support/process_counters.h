// What this process holds of the machine: memory of its own and handles, and whether that is flat.
#pragma once

#include <cstdint>

namespace qvtest {

struct ProcessCounters {
  uint64_t privateBytes = 0;
  uint32_t handles = 0;
};

// As the system counts them now. Where it does not keep one of the numbers, the nearest that it has.
[[nodiscard]] ProcessCounters CountProcess();

}  // namespace qvtest
