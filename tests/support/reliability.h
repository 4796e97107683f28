// For the tests whose measurements docs/reliability.md shows: how strong this run is, and the rows that they record.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string_view>
#include <type_traits>
#include <vector>

#include "tests/support/environment.h"

namespace qvtest {

// Whether this is the long form of a test (QV_NIGHTLY is 1), with the counts that the page states.
[[nodiscard]] inline bool IsNightly() { return ReadVariable(L"QV_NIGHTLY") == L"1"; }

// How often this run does a thing: what that environment variable says, or else the number of this form.
[[nodiscard]] inline uint64_t TimesOfThisRun(const wchar_t* variable, uint64_t nightly, uint64_t ordinary) {
  if (const auto set = ReadVariable(variable)) return std::stoull(*set);
  return IsNightly() ? nightly : ordinary;
}

// UTF-8, or a number.
struct Cell {
  template <class Value>
  Cell(const Value& value) {  // NOLINT: a row is written as its values
    if constexpr (std::is_arithmetic_v<Value>) {
      text = std::to_string(value);
    } else {
      text = value;
    }
  }

  std::string text;
};

// Records a row of a table of the page as a property of the running test, which GoogleTest writes to its XML report.
// The page's template (tests/reliability.md.in) names the columns. The page sorts rows by key, numbers in it as
// numbers.
inline void RecordRow(std::string_view table, std::string_view key, const std::vector<Cell>& cells) {
  std::string row;
  for (const Cell& cell : cells) row += (&cell == &cells.front() ? "" : "\t") + cell.text;
  testing::Test::RecordProperty(std::string(table) + " " + std::string(key), row);
}

}  // namespace qvtest
