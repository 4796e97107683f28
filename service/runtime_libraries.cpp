#include "service/runtime_libraries.h"

#include "base/no_error_dialogs.h"
#include "config/runtime_choice.h"
#include "host/host_text.h"

namespace qv {

RuntimeLibraries::RuntimeLibraries(std::wstring_view jvmFolder, std::span<const std::wstring_view> names) noexcept {
  const std::wstring_view bin = RuntimeBinFolder(jvmFolder);
  if (bin.empty()) return;
  const NoErrorDialogs quiet;
  auto library = m_libraries.begin();
  for (const std::wstring_view name : names) {
    const HostText path{bin, L"\\", name};
    if (!path.Ok()) return;
    // What it needs itself is looked for beside it.
    if (GetModuleHandleW(name.data()) == nullptr) {
      library++->Reset(LoadLibraryExW(path.Text(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
    }
  }
}

void RuntimeLibraries::Keep() noexcept {
  for (Library& library : m_libraries) (void)library.Release();
}

}  // namespace qv
