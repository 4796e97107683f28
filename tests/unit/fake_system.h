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
  explicit UnterminatedModulePath(std::wstring path) : m_hook(nullptr, "GetModuleFileNameW", &Answer) {
    s_path = std::move(path);
  }

 private:
  static DWORD WINAPI Answer(HMODULE, LPWSTR buffer, DWORD capacity) {
    const size_t copied = std::min<size_t>(s_path.size(), capacity);
    std::copy_n(s_path.c_str(), copied, buffer);
    if (copied < capacity) buffer[copied] = L'\0';
    return static_cast<DWORD>(copied);
  }

  static inline std::wstring s_path;
  ImportHook m_hook;
};

// Files that all exist, or none of them; which ones were asked for.
class EveryFile {
 public:
  explicit EveryFile(bool exists) : m_hook(nullptr, "GetFileAttributesW", &Answer) {
    s_answer = exists ? FILE_ATTRIBUTE_NORMAL : INVALID_FILE_ATTRIBUTES;
    s_asked.clear();
  }
  [[nodiscard]] const std::vector<std::wstring>& Asked() const { return s_asked; }

 private:
  static DWORD WINAPI Answer(LPCWSTR path) {
    s_asked.emplace_back(path);
    return s_answer;
  }

  static inline DWORD s_answer = INVALID_FILE_ATTRIBUTES;
  static inline std::vector<std::wstring> s_asked;
  ImportHook m_hook;
};

}  // namespace qvtest
