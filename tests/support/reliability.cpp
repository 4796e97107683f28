#include "tests/support/reliability.h"

#include <windows.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/support/environment.h"
#include "tests/support/text.h"

namespace qvtest {

bool IsNightly() { return ReadVariable(L"QV_NIGHTLY") == L"1"; }

uint64_t TimesOfThisRun(const wchar_t* variable, uint64_t nightly, uint64_t ordinary) {
  if (const auto set = ReadVariable(variable)) return std::stoull(*set);
  return IsNightly() ? nightly : ordinary;
}

void RecordRow(std::string_view table, std::string_view key, std::initializer_list<Cell> cells) {
  const auto folder = ReadVariable(L"QV_RECORDS");
  if (!folder) return;
  nlohmann::ordered_json columns = nlohmann::ordered_json::object();
  for (const Cell& cell : cells) columns[cell.column] = cell.text;
  const nlohmann::ordered_json row = {{"key", key}, {"row", columns}};
  const std::string line = row.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";

  const std::wstring path = *folder + L"\\" + ToWide(table) + L".jsonl";
  // Appending only: what several processes write at once does not overwrite each other.
  const HANDLE file = CreateFileW(path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                  OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  DWORD written = 0;
  const bool done = file != INVALID_HANDLE_VALUE &&
                    WriteFile(file, line.data(), static_cast<DWORD>(line.size()), &written, nullptr) &&
                    written == line.size();
  const DWORD error = GetLastError();
  if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
  EXPECT_TRUE(done) << ToUtf8(path) << " could not be written: error " << error;
}

}  // namespace qvtest
