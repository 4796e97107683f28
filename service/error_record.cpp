// A record and its text are one host block, so that a host frees both at once.
#include "service/error_record.h"

#include <algorithm>
#include <cstdlib>
#include <cwchar>
#include <iterator>

namespace qv {

ErrorRecord* NewErrorRecord(std::wstring_view text, int32_t code) noexcept {
  auto* const record = static_cast<ErrorRecord*>(QvshrAlloc(sizeof(ErrorRecord)));
  if (record == nullptr) return nullptr;
  // A host is handed the whole block, so nothing of what the heap held before may stay in it.
  const size_t length = std::min(text.size(), kErrorTextUnits - 1);
  std::fill(std::copy_n(text.data(), length, record->text), std::end(record->text), L'\0');
  record->code = code;
  return record;
}

void FormatClassNotFound(std::span<wchar_t, kErrorTextUnits> message, const char* className) noexcept {
  wchar_t wide[kErrorTextUnits] = {};
  // Unconvertible names end where the conversion does.
  std::mbstowcs(wide, className, kErrorTextUnits - 1);
  std::swprintf(message.data(), message.size(), L"Unable to find java %ls class. Check CLASSPATH.", wide);
  message.back() = L'\0';
}

}  // namespace qv
