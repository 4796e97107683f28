// Nothing checks that the archives exist; newer runtimes have none of them.
#include "store/boot_class_path.h"

#include <cwchar>

namespace qv {

namespace {

bool UpperCaseInto(std::wstring_view folder, HostArray<wchar_t>& upper) noexcept {
  HostText copy{folder};
  upper = copy.DetachBlock();
  return upper && _wcsupr(upper.get()) != nullptr;
}

}  // namespace

HostText BootClassPathOption(std::wstring_view jvmFolder) noexcept {
  HostText libraries;
  HostArray<wchar_t> upper;
  if (!jvmFolder.empty()) {
    if (!UpperCaseInto(jvmFolder, upper)) return HostText::Failed();
    std::wstring_view folder = upper.get();
    libraries.Append({folder.substr(0, folder.find(L"\\BIN\\CLIENT")), L"\\LIB"});
  }
  HostText option{L"-Xbootclasspath/a:"};
  std::wstring_view separator;
  for (const std::wstring_view archive : {L"deploy.jar", L"javaws.jar", L"plugin.jar"}) {
    option.Append({separator, libraries.View(), L"\\", archive});
    separator = L";";
  }
  return libraries.Ok() ? std::move(option) : HostText::Failed();
}

}  // namespace qv
