// For the tests whose measurements docs/reliability.md shows: how strong this run is, and the rows that they record.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace qvtest {

// Whether this is the long form of a test (QV_NIGHTLY is 1), with the counts that the page states.
[[nodiscard]] bool IsNightly();

// How often this run does a thing: what that environment variable says, or else the number of this form.
[[nodiscard]] uint64_t TimesOfThisRun(const wchar_t* variable, uint64_t nightly, uint64_t ordinary);

struct Cell {
  Cell(std::string_view title, std::string_view value) : column(title), text(value) {}
  template <class Number>
  requires std::is_arithmetic_v<Number> Cell(std::string_view title, Number value)
      : column(title), text(std::to_string(value)) {}

  std::string column;
  std::string text;  // UTF-8
};

// Adds a row to a table of the page: to the file <table>.jsonl in the folder that QV_RECORDS names; without that
// variable it does nothing. Rows of one key replace each other, the last one stays; the page sorts them by key, numbers
// in it as numbers. All rows of a table have the same columns, in the order given. From any thread and any process.
void RecordRow(std::string_view table, std::string_view key, std::initializer_list<Cell> cells);

}  // namespace qvtest
