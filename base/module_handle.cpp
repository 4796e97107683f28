#include "base/module_handle.h"

#include <atomic>

HINSTANCE g_hModule = nullptr;

namespace qv {

bool KeepModuleLoaded() noexcept {
  static constinit std::atomic<bool> kept{false};
  if (kept.load(std::memory_order_relaxed)) return true;
  HMODULE self = nullptr;
  kept = GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                            reinterpret_cast<const wchar_t*>(&kept), &self) != FALSE;
  return kept;
}

}  // namespace qv
