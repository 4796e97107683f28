// Catches every message box that a module would show: records it and answers OK at once, so that no test waits.
// One catcher at a time.
// It fails nothing by itself: a test compares Shown() with what it expects.
#pragma once

#include <windows.h>

#include <ostream>
#include <string>
#include <vector>

#include "tests/support/import_hook.h"

namespace qvtest {

struct ShownBox {
  std::wstring text;
  std::wstring title;
  UINT style = 0;
  bool hasOwner = false;

  friend bool operator==(const ShownBox&, const ShownBox&) = default;
  friend std::ostream& operator<<(std::ostream& out, const ShownBox& box);
};

class MessageBoxCatcher {
 public:
  // A null module is the program itself.
  explicit MessageBoxCatcher(HMODULE module = nullptr);
  ~MessageBoxCatcher();

  [[nodiscard]] std::vector<ShownBox> Shown() const;

 private:
  ImportHook m_hook;
};

}  // namespace qvtest
