#include "tests/support/reliability.h"

#include <gtest/gtest.h>

#include "tests/support/environment.h"

namespace qvtest {

bool IsNightly() { return ReadVariable(L"QV_NIGHTLY") == L"1"; }

uint64_t TimesOfThisRun(const wchar_t* variable, uint64_t nightly, uint64_t ordinary) {
  if (const auto set = ReadVariable(variable)) return std::stoull(*set);
  return IsNightly() ? nightly : ordinary;
}

void RecordRow(std::string_view table, std::string_view key, const std::vector<Cell>& cells) {
  std::string row;
  for (const Cell& cell : cells) row += (&cell == &cells.front() ? "" : "\t") + cell.text;
  testing::Test::RecordProperty(std::string(table) + " " + std::string(key), row);
}

}  // namespace qvtest
