// Libraries of a Java runtime that somebody will ask for by plain name although the system's search does not reach
// them: they lie in the runtime's bin folder, and PATH holds bin\server alone. Loaded beforehand by their full paths
// they are what the plain name then gives, and the host's library search stays as it is. The object owns what it loaded
// and gives it back at its end, unless it is told to keep it.
#pragma once

#include <array>
#include <span>
#include <string_view>

#include "base/handle.h"

namespace qv {

// What jvm.dll and its neighbours are linked with: the C and C++ runtimes that a Java runtime brings along.
inline constexpr std::array<std::wstring_view, 5> kCompilerLibraries = {
    L"vcruntime140.dll", L"vcruntime140_1.dll", L"msvcp140.dll", L"msvcr120.dll", L"msvcr100.dll"};
// What a JVM asks for while it is created: runtimes with compressed modules unpack them with it.
inline constexpr std::array<std::wstring_view, 1> kCreationLibraries = {L"zip.dll"};

class RuntimeLibraries {
 public:
  // `jvmFolder` is the folder of jvm.dll. A library that is absent there, or that the process has already, is passed
  // over; so is everything when `jvmFolder` is empty or there is no memory for a path.
  RuntimeLibraries(std::wstring_view jvmFolder, std::span<const std::wstring_view> names) noexcept;

  // They stay loaded for the life of the process.
  void Keep() noexcept;

 private:
  std::array<Library, kCompilerLibraries.size()> m_libraries;
};

}  // namespace qv
