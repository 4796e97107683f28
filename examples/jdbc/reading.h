// The rows that the database example writes and expects back, one column for each type that a Java method can give.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace example {

struct Reading {
  int32_t id = 0;
  bool flag = false;
  int8_t tiny = 0;
  wchar_t letter = L'?';
  int16_t small = 0;
  int64_t large = 0;
  float real32 = 0;
  double real64 = 0;
  std::wstring note{};
  std::wstring amount{};  // a java.math.BigDecimal
  std::vector<uint8_t> raw{};

  bool operator==(const Reading&) const = default;
};

/// The first two rows hold the extremes of every type, the others something of their own.
Reading ReadingOf(int32_t row);

/// All columns of a row, for the user.
std::wstring Describe(const Reading& reading);

}  // namespace example
