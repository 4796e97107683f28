// Catches every message box that a module would show: records it and answers OK at once, so that no test waits. Boxes
// may come from any thread. One catcher at a time.
// It fails nothing by itself: a test compares Shown() with what it expects.
#pragma once

#include <mutex>
#include <ostream>

#include "tests/support/import_hook.h"
#include "tests/support/text.h"

namespace qvtest {

struct ShownBox {
  std::wstring text;
  std::wstring title;
  UINT style = 0;
  bool hasOwner = false;

  friend bool operator==(const ShownBox&, const ShownBox&) = default;
  friend std::ostream& operator<<(std::ostream& out, const ShownBox& box) {
    return out << "box \"" << ToUtf8(box.text) << "\" titled \"" << ToUtf8(box.title) << "\" style " << box.style
               << (box.hasOwner ? " with an owner" : "");
  }
};

class MessageBoxCatcher : private Pinned {
 public:
  // A null module is the program itself.
  explicit MessageBoxCatcher(HMODULE module = nullptr)
      : m_hook(
            "MessageBoxW",
            [this](HWND owner, LPCWSTR text, LPCWSTR title, UINT style) {
              const std::lock_guard guard(m_lock);
              m_shown.push_back(
                  {text != nullptr ? text : L"<null>", title != nullptr ? title : L"<null>", style, owner != nullptr});
              return IDOK;
            },
            module) {}

  [[nodiscard]] std::vector<ShownBox> Shown() const {
    const std::lock_guard guard(m_lock);
    return m_shown;
  }

 private:
  mutable std::mutex m_lock;
  std::vector<ShownBox> m_shown;
  const FunctionHook<decltype(&MessageBoxW)> m_hook;
};

}  // namespace qvtest
