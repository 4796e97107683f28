// Random numbers that are the same on every machine and with every compiler: a seed replays a test.
#pragma once

#include <chrono>
#include <cstddef>
#include <iterator>

#include "tests/support/reliability.h"

namespace qvtest {

// A 64-bit number well mixed with another.
[[nodiscard]] constexpr uint64_t Mixed(uint64_t seed, uint64_t more) {
  uint64_t value = seed + 0x9E3779B97F4A7C15U * (more + 1);
  value = (value ^ (value >> 30U)) * 0xBF58476D1CE4E5B9U;
  value = (value ^ (value >> 27U)) * 0x94D049BB133111EBU;
  return value ^ (value >> 31U);
}

class Random {
 public:
  explicit Random(uint64_t seed) : m_seed(seed) {}

  uint64_t Next() { return Mixed(m_seed, m_count++); }
  // 0 to below - 1.
  uint32_t Below(size_t below) { return static_cast<uint32_t>(Next() % below); }
  bool OneIn(uint32_t many) { return Below(many) == 0; }
  template <class Range>
  const auto& OneOf(const Range& range) {
    return *(std::begin(range) + Below(std::size(range)));
  }

 private:
  uint64_t m_seed;
  uint64_t m_count = 0;
};

// QV_SEED, or else a new one in the long form of a test and always the same one in the short form.
[[nodiscard]] inline uint64_t SeedOfThisRun() {
  if (const auto given = ReadVariable(L"QV_SEED")) return std::stoull(*given);
  if (!IsNightly()) return 20011;
  return static_cast<uint64_t>(std::chrono::system_clock::now().time_since_epoch().count()) % 1000000000U;
}

}  // namespace qvtest
