#include "config/class_path.h"

namespace qv {

void AppendConfiguredLibraries(HostText& path, std::wstring_view jdk) noexcept {
  path.Append({jdk, L"\\JRE\\LIB", L"\\rt.jar", L";", jdk, L"\\LIB", L"\\tools.jar", L";"});
}

HostText JoinClassPath(std::wstring_view system, std::wstring_view user, const wchar_t* environment) noexcept {
  HostText path{system};
  if (!system.empty() && !user.empty()) path.Append(L";");
  path.Append(user);
  const std::wstring_view variable = environment != nullptr ? environment : L"";
  if (!variable.empty()) path.Append({L";", variable});
  path.Append(L";.");
  return path;
}

}  // namespace qv
