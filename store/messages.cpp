// Formatting goes through a buffer of the size that wsprintfW never exceeds, then is cut to a message's size.
#include "store/messages.h"

#include "base/bounded_text.h"
#include "base/module_handle.h"
#include "store/resource_ids.h"

namespace qv {

namespace {
constexpr int kMessageUnits = 512;
constexpr int kWsprintfLimitUnits = 1025;  // wsprintfW writes at most 1024 units and a terminator
}  // namespace

StoreMessage::StoreMessage(UINT id, const wchar_t* root, const wchar_t* subKey, const wchar_t* value) noexcept
    : m_text{} {
  wchar_t pattern[kMessageUnits] = {};
  if (LoadStringW(g_hModule, id, pattern, kMessageUnits) == 0) return;
  wchar_t composed[kWsprintfLimitUnits] = {};
  wsprintfW(composed, pattern, root, subKey, value);
  CopyBounded(std::span(m_text), std::wstring_view(composed));
}

StoreMessage StoreMessage::For(KeyRead missing, const wchar_t* root, const wchar_t* subKey,
                               const wchar_t* value) noexcept {
  if (missing == KeyRead::NoValue) return {IDS_REGISTRY_VALUE_MISSING, root, subKey, value};
  return {IDS_REGISTRY_KEY_MISSING, root, missing == KeyRead::NoRoot ? L"" : subKey, L""};
}

void StoreMessage::Show(const wchar_t* title) const noexcept { MessageBoxW(nullptr, m_text, title, MB_ICONERROR); }

}  // namespace qv
