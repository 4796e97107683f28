// Whether somebody listens is asked for each line: a viewer may be opened while the host runs.
#include "base/trace.h"

#include <windows.h>

#include <algorithm>
#include <iterator>

namespace qv {

namespace {

bool SomebodyListens() noexcept {
  if (IsDebuggerPresent()) return true;
  // The section of the viewers' protocol; it exists while one runs.
  const HANDLE section = OpenFileMappingW(FILE_MAP_READ, FALSE, L"DBWIN_BUFFER");
  if (section == nullptr) return false;
  CloseHandle(section);
  return true;
}

}  // namespace

void Trace(std::initializer_list<std::wstring_view> pieces) noexcept {
  if (!SomebodyListens()) return;
  wchar_t line[1024];
  wchar_t* end = line;
  const wchar_t* const last = std::end(line) - 2;  // a line feed and the terminator
  const auto append = [&](std::wstring_view piece) {
    end = std::copy_n(piece.data(), std::min(piece.size(), static_cast<size_t>(last - end)), end);
  };
  append(L"qvjvm: ");
  for (const std::wstring_view piece : pieces) append(piece);
  *end++ = L'\n';
  *end = L'\0';
  OutputDebugStringW(line);
}

TraceNumber::TraceNumber(int64_t number) noexcept {
  wchar_t* digit = std::end(m_text) - 1;
  *digit = L'\0';
  uint64_t rest = number < 0 ? 0 - static_cast<uint64_t>(number) : static_cast<uint64_t>(number);
  do {
    *--digit = static_cast<wchar_t>(L'0' + rest % 10);
    rest /= 10;
  } while (rest != 0);
  if (number < 0) *--digit = L'-';
  m_begin = digit;
}

}  // namespace qv
