// What the system says of modules and files, as a test wants it, for the life of an object.
#pragma once

#include <windows.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/import_hook.h"

namespace qvtest {

// The path of every module as the oldest systems told it: cut at the buffer's size, without a terminator then.
class UnterminatedModulePath {
 public:
  explicit UnterminatedModulePath(const std::wstring& path)
      : m_hook("GetModuleFileNameW", [path](HMODULE, LPWSTR buffer, DWORD capacity) {
          const size_t copied = std::min<size_t>(path.size(), capacity);
          std::copy_n(path.c_str(), copied, buffer);
          if (copied < capacity) buffer[copied] = L'\0';
          return static_cast<DWORD>(copied);
        }) {}

 private:
  FunctionHook<decltype(&GetModuleFileNameW)> m_hook;
};

// Files that all exist, or none of them; which ones were asked for.
class EveryFile {
 public:
  explicit EveryFile(bool exists)
      : m_hook("GetFileAttributesW", [this, exists](LPCWSTR path) {
          m_asked.emplace_back(path);
          return exists ? DWORD{FILE_ATTRIBUTE_NORMAL} : INVALID_FILE_ATTRIBUTES;
        }) {}
  [[nodiscard]] const std::vector<std::wstring>& Asked() const { return m_asked; }

 private:
  std::vector<std::wstring> m_asked;
  FunctionHook<decltype(&GetFileAttributesW)> m_hook;
};

}  // namespace qvtest
