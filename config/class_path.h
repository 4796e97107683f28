// The JVM's class path: which archives stand in it and where the separators go. Pure but for the probe passed in.
#pragma once

#include <string_view>

#include "host/host_text.h"

namespace qv {

// The runtime library of a private JRE below the service's folder, when it is there.
template <class Exists>
void AppendPrivateRuntimeLibrary(HostText& path, std::wstring_view installFolder, Exists&& exists) noexcept {
  const HostText candidate{installFolder, L"\\JRE\\LIB", L"\\rt.jar"};
  if (!candidate.Ok()) return path.Fail();
  if (exists(candidate.Text())) path.Append({candidate.View(), L";"});
}

// The runtime and tools libraries of a configured JDK. Deliberate: nobody looks whether they are there.
void AppendConfiguredLibraries(HostText& path, std::wstring_view jdk) noexcept;

// One entry of the built-in list, which begins with a backslash: below the service's folder, or else below "\IDE" of
// the host's. Deliberate: the separator depends on the index alone, so a list without entry 0 starts with ";".
template <class Exists>
void AppendListEntry(HostText& path, int32_t index, std::wstring_view entry, std::wstring_view installFolder,
                     std::wstring_view hostFolder, Exists&& exists) noexcept {
  if (index > 0) path.Append(L";");
  const HostText installed{installFolder, entry};
  if (!installed.Ok()) return path.Fail();
  if (exists(installed.Text())) {
    path.Append(installed.View());
  } else {
    path.Append({hostFolder, L"\\IDE", entry});
  }
}

// System class path, user list, CLASSPATH (null when absent) and the current folder. Deliberate: the result always
// ends in ";.", and a non-empty CLASSPATH always has a ";" before it, even behind nothing.
HostText JoinClassPath(std::wstring_view system, std::wstring_view user, const wchar_t* environment) noexcept;

}  // namespace qv
