// What stands in each row.
#include "jdbc/reading.h"

#include <limits>

namespace example {
namespace {

template <class Number>
using Limits = std::numeric_limits<Number>;

Reading Smallest() {
  Reading row;
  row.id = Limits<int32_t>::min();
  row.flag = false;
  row.tiny = Limits<int8_t>::min();
  row.letter = L'!';
  row.small = Limits<int16_t>::min();
  row.large = Limits<int64_t>::min();
  row.real32 = Limits<float>::lowest();
  row.real64 = Limits<double>::lowest();
  row.amount = L"-9999999999999999.9999";
  return row;
}

Reading Largest() {
  Reading row;
  row.id = Limits<int32_t>::max();
  row.flag = true;
  row.tiny = Limits<int8_t>::max();
  row.letter = L'\u20AC';
  row.small = Limits<int16_t>::max();
  row.large = Limits<int64_t>::max();
  row.real32 = Limits<float>::max();
  row.real64 = Limits<double>::max();
  row.note = L"\u00C4rger, \u65E5\u672C\u8A9E, \U0001F600";
  row.amount = L"9999999999999999.9999";
  row.raw = {0, 1, 127, 128, 255};
  return row;
}

}  // namespace

Reading ReadingOf(int32_t number) {
  if (number == 0) return Smallest();
  if (number == 1) return Largest();
  Reading row;
  row.id = number;
  row.flag = number % 2 == 0;
  row.tiny = static_cast<int8_t>(number % 100);
  row.letter = static_cast<wchar_t>(L'a' + number % 26);
  row.small = static_cast<int16_t>(number);
  row.large = static_cast<int64_t>(number) << 32;
  row.real32 = static_cast<float>(number) / 8;
  row.real64 = number / 7.0;
  row.note = L"row " + std::to_wstring(number);
  row.amount = std::to_wstring(number) + L".2500";
  row.raw = {static_cast<uint8_t>(number), static_cast<uint8_t>(number >> 8)};
  return row;
}

std::wstring Describe(const Reading& row) {
  std::wstring text = std::to_wstring(row.id) + (row.flag ? L" true " : L" false ") + std::to_wstring(row.tiny) + L" " +
                      row.letter + L" " + std::to_wstring(row.small) + L" " + std::to_wstring(row.large) + L" " +
                      std::to_wstring(row.real32) + L" " + std::to_wstring(row.real64) + L" \"" + row.note + L"\" " +
                      row.amount;
  for (const uint8_t byte : row.raw) text += L" " + std::to_wstring(byte);
  return text;
}

}  // namespace example
