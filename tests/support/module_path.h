// What the service is told when it asks for the path of a module, for the life of the object; other modules' paths are
// told as they are. One object at a time.
// Answers as Windows does: a path that is too long is cut at the capacity and terminated, and the capacity comes back.
#pragma once

#include <algorithm>
#include <atomic>
#include <string>

#include "tests/support/import_hook.h"

namespace qvtest {

enum class WhoseModule { Host, Any };

class ModulePath : private Pinned {
 public:
  // `asker` is the module that asks; null is this program.
  explicit ModulePath(std::wstring path, WhoseModule whose = WhoseModule::Any, HMODULE asker = nullptr)
      : m_path(std::move(path)),
        m_hook(
            "GetModuleFileNameW",
            [this, whose](HMODULE module, wchar_t* buffer, DWORD capacity) {
              return module != nullptr && whose == WhoseModule::Host ? m_hook.Real(module, buffer, capacity)
                                                                     : Answer(buffer, capacity);
            },
            asker) {}

  // From now on there is no answer.
  void Fail() { m_fails = true; }
  // How often it was asked for.
  [[nodiscard]] int Questions() const { return m_questions; }

 private:
  DWORD Answer(wchar_t* buffer, DWORD capacity) {
    ++m_questions;
    if (m_fails || capacity == 0) return 0;
    const DWORD copied = std::min(capacity - 1, static_cast<DWORD>(m_path.size()));
    *std::copy_n(m_path.data(), copied, buffer) = L'\0';
    if (copied == m_path.size()) return copied;
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return capacity;
  }

  const std::wstring m_path;
  std::atomic<int> m_questions = 0;
  bool m_fails = false;
  const FunctionHook<decltype(&GetModuleFileNameW), 1> m_hook;
};

// The path of the host program.
class HostPath : public ModulePath {
 public:
  explicit HostPath(std::wstring path, HMODULE asker = nullptr)
      : ModulePath(std::move(path), WhoseModule::Host, asker) {}
};

}  // namespace qvtest
