// The service's texts for a missing registry key or value: string resources, composed and, where wanted, shown.
#pragma once

#include <windows.h>

#include "store/config_store.h"

namespace qv {

// A composed message, at most 511 units. The texts say HKEY_LOCAL_MACHINE whatever hive was read.
class StoreMessage {
 public:
  // What a reading missed; `missing` is NoRoot, NoKey or NoValue. Composes nothing when the resource cannot be loaded:
  // the text is empty then.
  static StoreMessage For(KeyRead missing, const wchar_t* root, const wchar_t* subKey, const wchar_t* value) noexcept;

  [[nodiscard]] const wchar_t* Text() const noexcept { return m_text; }
  // A message box with an OK button and no owner; returns when the user closed it.
  void Show(const wchar_t* title) const noexcept;

 private:
  StoreMessage(UINT id, const wchar_t* root, const wchar_t* subKey, const wchar_t* value) noexcept;

  wchar_t m_text[512];
};

}  // namespace qv
