#include "config/runtime_choice.h"

#include <cwchar>

namespace qv {

bool CurrentRuntimeDisabled(int32_t charactersRead, const wchar_t* text) noexcept {
  return (charactersRead == 1 || charactersRead == 2) && _wtoi(text) == 1;
}

HostText SearchPathWithRuntime(std::wstring_view runtimeFolder, std::wstring_view oldPath) noexcept {
  return {runtimeFolder, L";", oldPath};
}

HostText SearchPathWithConfigured(std::wstring_view jdk, std::wstring_view jreBin, const wchar_t* oldPath) noexcept {
  HostText path{jdk, L"\\BIN", L";", jreBin};
  if (oldPath != nullptr) path.Append({L";", oldPath});
  return path;
}

std::wstring_view RuntimeBinFolder(std::wstring_view jvmFolder) noexcept {
  const size_t last = jvmFolder.find_last_of(L"\\/");
  return last == std::wstring_view::npos ? std::wstring_view() : jvmFolder.substr(0, last);
}

}  // namespace qv
