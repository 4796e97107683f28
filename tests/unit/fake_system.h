// What the system says of modules and files, as a test wants it, for the life of an object.
#pragma once

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/import_hook.h"

namespace qvtest {

// The path of modules, cut at the buffer's size as the system does; an empty one cannot be had.
class ModulePath {
 public:
  enum class Of { EveryModule, TheHost };
  explicit ModulePath(std::wstring path, Of which = Of::EveryModule) : m_hook(nullptr, "GetModuleFileNameW", &Answer) {
    s_original = m_hook.Original<decltype(&GetModuleFileNameW)>();
    s_which = which;
    s_path = std::move(path);
    s_questions = 0;
  }
  [[nodiscard]] int Questions() const { return s_questions; }

 private:
  static DWORD WINAPI Answer(HMODULE module, LPWSTR buffer, DWORD capacity) {
    if (module != nullptr && s_which == Of::TheHost) return s_original(module, buffer, capacity);
    ++s_questions;
    const size_t copied = std::min<size_t>(s_path.size(), capacity);
    std::copy_n(s_path.c_str(), copied, buffer);
    if (copied < capacity) buffer[copied] = L'\0';
    return static_cast<DWORD>(copied);
  }

  static inline decltype(&GetModuleFileNameW) s_original = nullptr;
  static inline Of s_which = Of::EveryModule;
  static inline std::wstring s_path;
  static inline std::atomic<int> s_questions = 0;
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
