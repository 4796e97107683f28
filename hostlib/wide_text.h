// Small rules about UTF-16 text that several files of the library share: bounded copies and name comparison.
// Nothing here allocates.
#pragma once

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "qvjvm/qvjvm.h"

namespace qvshr {

/// The longest text whose length with its terminator still fits an int32_t.
inline constexpr size_t kMaxTextUnits = 0x7FFFFFFE;

/// The text of a string object that may be anybody's: borrowed from it, empty for a null object or text.
inline const wchar_t* TextOf(IQvString* string) noexcept {
  const wchar_t* const text = string != nullptr ? string->GetText() : nullptr;
  return text != nullptr ? text : L"";
}

/// Whether two names are the same without case, as the registry compares them.
inline bool SameName(std::wstring_view left, std::wstring_view right) noexcept {
  // Ordinal comparison maps unit by unit, so names of different length differ.
  if (left.size() != right.size() || left.size() > kMaxTextUnits) return false;
  return left.empty() || CompareStringOrdinal(left.data(), static_cast<int>(left.size()), right.data(),
                                              static_cast<int>(right.size()), TRUE) == CSTR_EQUAL;
}

/// Copies `text` and a null when both fit, else writes nothing. The buffer may be the text's own.
/// @return characters written, 0 when the text is empty or does not fit.
inline int32_t CopyWhole(std::wstring_view text, wchar_t* out, int32_t capacity) noexcept {
  if (out == nullptr || capacity <= 0 || text.empty() || text.size() >= static_cast<size_t>(capacity)) return 0;
  std::char_traits<wchar_t>::move(out, text.data(), text.size());
  out[text.size()] = L'\0';
  return static_cast<int32_t>(text.size());
}

/// Copies what fits of `text`, always terminated. `capacity` is positive.
/// @return characters written.
inline int32_t CopyCut(std::wstring_view text, wchar_t* out, int32_t capacity) noexcept {
  const size_t length = std::min(text.size(), static_cast<size_t>(capacity) - 1);
  std::char_traits<wchar_t>::move(out, text.data(), length);
  out[length] = L'\0';
  return static_cast<int32_t>(length);
}

}  // namespace qvshr
