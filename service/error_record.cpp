// One block per record.
#include "service/error_record.h"

#include <cstdlib>
#include <cwchar>

#include "base/bounded_text.h"

namespace qv {

ErrorRecord* NewErrorRecord(std::wstring_view text, int32_t code) noexcept {
  auto* const record = static_cast<ErrorRecord*>(QvshrAlloc(sizeof(ErrorRecord)));
  if (record == nullptr) return nullptr;
  CopyBounded(std::span(record->text), text);
  record->text[std::size(record->text) - 1] = L'\0';
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
