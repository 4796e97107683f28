// A DLL folder that was never set and one set to an empty text look the same to a reader; both are restored to
// "never set".
#include "service/runtime_folder.h"

#include <atomic>

#include "config/runtime_choice.h"

namespace qv {

namespace {

// False when the current DLL folder cannot be remembered; then it must not be replaced.
bool ReadDllFolder(HostText& folder) noexcept {
  DWORD capacity = MAX_PATH;
  for (;;) {
    const HostArray<wchar_t> buffer = AllocHostArray<wchar_t>(capacity);
    if (!buffer) return false;
    buffer[0] = L'\0';
    SetLastError(ERROR_SUCCESS);
    const DWORD units = GetDllDirectoryW(capacity, buffer.get());
    if (units == 0 && GetLastError() != ERROR_SUCCESS) return false;  // nobody knows what it is
    if (units < capacity) return folder.Append(std::wstring_view(buffer.get(), units)).Ok();
    capacity = units + 1;
  }
}

// One scope at a time: a second one, on another thread, would remember the first one's folder as the host's.
std::atomic_flag g_inUse;

}  // namespace

RuntimeFolderScope::RuntimeFolderScope(std::wstring_view jvmFolder) noexcept {
  const HostText bin{RuntimeBinFolder(jvmFolder)};
  if (!bin.Ok() || bin.Empty() || g_inUse.test_and_set()) return;
  m_entered = true;
  m_changed = ReadDllFolder(m_previous) && SetDllDirectoryW(bin.Text()) != FALSE;
}

RuntimeFolderScope::~RuntimeFolderScope() {
  if (m_changed) SetDllDirectoryW(m_previous.Empty() ? nullptr : m_previous.Text());
  if (m_entered) g_inUse.clear();
}

}  // namespace qv
