// A class path taken apart: the non-empty pieces between semicolons, each terminated. Pure.
#pragma once

#include <algorithm>
#include <cwchar>
#include <string_view>

#include "host/host_memory.h"

namespace qv {

class PathList {
 public:
  // False without memory.
  [[nodiscard]] bool TrySplit(std::wstring_view classPath) noexcept {
    m_text = AllocHostArray<wchar_t>(classPath.size() + 1);
    if (!m_text) return false;
    m_end = std::copy(classPath.begin(), classPath.end(), m_text.get());
    *m_end = L'\0';
    std::replace(m_text.get(), m_end, L';', L'\0');
    m_count = 0;
    ForEach([&](const wchar_t*) { ++m_count; });
    return true;
  }
  [[nodiscard]] int32_t Count() const noexcept { return m_count; }

  template <class Visit>
  void ForEach(Visit&& visit) const noexcept {
    for (const wchar_t* piece = m_text.get(); piece < m_end; piece += std::wcslen(piece) + 1) {
      if (*piece != L'\0') visit(piece);
    }
  }

 private:
  HostArray<wchar_t> m_text;
  wchar_t* m_end = nullptr;
  int32_t m_count = 0;
};

}  // namespace qv
