// Module paths are cut by the system at the buffer's size; a cut path is terminated here and used as it stands.
#include "config/folders.h"

#include "config/jvm_config_info.h"

namespace qv {

bool ModuleFolder::TryFind(HMODULE module) noexcept {
  wchar_t path[kPathUnits] = {};
  m_text[0] = L'\0';
  if (GetModuleFileNameW(module, path, kPathUnits) == 0) return false;
  path[kPathUnits - 1] = L'\0';
  wchar_t folder[kPathUnits] = {};
  if (QvshrGetDirectory(path, folder, static_cast<int32_t>(kPathUnits)) <= 0) return false;
  folder[kPathUnits - 1] = L'\0';
  lstrcpynW(m_text, folder, static_cast<int>(kPathUnits));
  return true;
}

bool TryFindInstallFolder(ModuleFolder& folder) noexcept { return folder.TryFind(GetModuleHandleW(g_szJvmModuleName)); }

bool FileExists(const wchar_t* path) noexcept { return GetFileAttributesW(path) != INVALID_FILE_ATTRIBUTES; }

}  // namespace qv
