// Folders of the modules in this process, each at most 259 units: the fixed path size of the product.
#pragma once

#include <windows.h>

namespace qv {

inline constexpr DWORD kPathUnits = 260;

// A folder without a trailing backslash.
class ModuleFolder {
 public:
  // The folder of the module's file; a null module is the host executable. False when it cannot be had.
  [[nodiscard]] bool TryFind(HMODULE module) noexcept;
  // Empty unless found.
  [[nodiscard]] const wchar_t* Text() const noexcept { return m_text; }

 private:
  wchar_t m_text[kPathUnits] = {};
};

// The folder of the service itself, through g_szJvmModuleName.
[[nodiscard]] bool TryFindInstallFolder(ModuleFolder& folder) noexcept;

bool FileExists(const wchar_t* path) noexcept;

}  // namespace qv
