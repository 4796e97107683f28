// qvshr.ini as lines: sections that stand for registry keys, "[HKLM\Software\X]", and their values, "name=value".
// Pure: borrowed text in, borrowed text out, nothing allocates.
#pragma once

#include <windows.h>

#include <array>
#include <cstdint>
#include <string_view>

#include "hostlib/wide_text.h"

namespace qvshr {

enum class Root : uint8_t { None, Machine, User };

/// A registry key by its root and the path below it, which has no backslash at either end and is not empty.
struct KeyName {
  Root root = Root::None;
  std::wstring_view path{};
};

/// The first part of a path that is not empty, cut off from it; empty at the path's end.
inline std::wstring_view NextPart(std::wstring_view& path) noexcept {
  while (!path.empty() && path.front() == L'\\') path.remove_prefix(1);
  const std::wstring_view part = path.substr(0, path.find(L'\\'));
  path.remove_prefix(part.size());
  return part;
}

/// `text` without any of `units` at its ends.
inline std::wstring_view Without(std::wstring_view units, std::wstring_view text) noexcept {
  const size_t first = text.find_first_not_of(units);
  if (first == std::wstring_view::npos) return {};
  return text.substr(first, text.find_last_not_of(units) - first + 1);
}

/// The key that "HKLM\Software\X" or "HKEY_LOCAL_MACHINE\Software\X" names; Root::None for another root and for a root
/// alone.
inline KeyName KeyNameFrom(std::wstring_view text) noexcept {
  constexpr std::array<std::pair<std::wstring_view, Root>, 4> kRoots = {{{L"HKLM", Root::Machine},
                                                                         {L"HKEY_LOCAL_MACHINE", Root::Machine},
                                                                         {L"HKCU", Root::User},
                                                                         {L"HKEY_CURRENT_USER", Root::User}}};
  const std::wstring_view first = text.substr(0, text.find(L'\\'));
  const std::wstring_view path = Without(L"\\", text.substr(first.size()));
  for (const auto& [name, root] : kRoots) {
    if (SameName(first, name) && !path.empty()) return {root, path};
  }
  return {};
}

/// Whether a section's name begins as those of registry keys do, whatever the root.
inline bool LooksLikeKey(std::wstring_view section) noexcept {
  const std::wstring_view first = section.substr(0, section.find(L'\\'));
  if (first.size() > 5 && SameName(first.substr(0, 5), L"HKEY_")) return true;
  for (const std::wstring_view root : {L"HKLM", L"HKCU", L"HKCR", L"HKU", L"HKCC"}) {
    if (SameName(first, root)) return true;
  }
  return false;
}

enum class LineKind {
  Other,  // empty, a comment, or of a section that is no key
  Key,    // begins the section `key`
  Value,  // `name` and `value` of the section before
  Bad,    // cannot be understood: what it says is not there
};

struct SettingsLine {
  LineKind kind = LineKind::Other;
  uint32_t number = 0;  // from 1
  KeyName key{};
  std::wstring_view name{};
  std::wstring_view value{};
};

/// Walks through the lines of a text.
class SettingsLines {
 public:
  explicit SettingsLines(std::wstring_view text) noexcept : m_rest(text) {}

  /// False at the end.
  bool Next(SettingsLine& line) noexcept {
    if (m_rest.empty()) return false;
    const std::wstring_view whole = m_rest.substr(0, m_rest.find_first_of(L"\r\n"));
    m_rest.remove_prefix(whole.size());
    if (m_rest.substr(0, 2) == L"\r\n") m_rest.remove_prefix(1);
    if (!m_rest.empty()) m_rest.remove_prefix(1);
    line = {};
    line.number = ++m_number;
    Understand(Without(L" \t", whole), line);
    return true;
  }

 private:
  void Understand(std::wstring_view text, SettingsLine& line) noexcept {
    if (text.empty() || text.front() == L';' || text.front() == L'#') return;
    // A null, or what was no text in the file's encoding.
    constexpr std::wstring_view kNoText{L"\0\xFFFD", 2};
    const bool isText = text.find_first_of(kNoText) == std::wstring_view::npos;
    if (text.front() == L'[') {
      m_inKey = false;
      const bool closed = text.size() > 1 && text.back() == L']';
      const std::wstring_view section = closed ? Without(L" \t", text.substr(1, text.size() - 2)) : text.substr(1);
      line.key = KeyNameFrom(section);
      m_inKey = closed && isText && line.key.root != Root::None;
      line.kind = m_inKey                                       ? LineKind::Key
                  : !closed || !isText || LooksLikeKey(section) ? LineKind::Bad
                                                                : LineKind::Other;
      return;
    }
    if (!m_inKey) return;
    const size_t equals = text.find(L'=');
    line.name = Without(L" \t", text.substr(0, equals));
    if (!isText || equals == std::wstring_view::npos || line.name.empty()) {
      line.kind = LineKind::Bad;
      return;
    }
    line.kind = LineKind::Value;
    line.value = Without(L" \t", text.substr(equals + 1));
    const bool quoted = line.value.size() >= 2 && line.value.front() == L'"' && line.value.back() == L'"';
    if (quoted) line.value = line.value.substr(1, line.value.size() - 2);
  }

  std::wstring_view m_rest;
  uint32_t m_number = 0;
  bool m_inKey = false;
};

}  // namespace qvshr
