// Boxes may come from any thread.
#include "tests/support/message_box.h"

#include <mutex>

#include "tests/support/text.h"

namespace qvtest {
namespace {

std::mutex g_lock;
std::vector<ShownBox> g_shown;

int WINAPI Catch(HWND owner, LPCWSTR text, LPCWSTR title, UINT style) {
  const std::lock_guard guard(g_lock);
  g_shown.push_back(
      {text != nullptr ? text : L"<null>", title != nullptr ? title : L"<null>", style, owner != nullptr});
  return IDOK;
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const ShownBox& box) {
  return out << "box \"" << ToUtf8(box.text) << "\" titled \"" << ToUtf8(box.title) << "\" style " << box.style
             << (box.hasOwner ? " with an owner" : "");
}

MessageBoxCatcher::MessageBoxCatcher(HMODULE module) : m_hook(module, "MessageBoxW", &Catch) {
  const std::lock_guard guard(g_lock);
  g_shown.clear();
}

MessageBoxCatcher::~MessageBoxCatcher() = default;

std::vector<ShownBox> MessageBoxCatcher::Shown() const {
  const std::lock_guard guard(g_lock);
  return g_shown;
}

}  // namespace qvtest
