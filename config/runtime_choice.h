// Which Java runtime a host of unknown name gets: the candidates in order and the first that holds a JVM. Pure but for
// what is passed in.
#pragma once

#include <array>
#include <span>
#include <string_view>

#include "config/decisions.h"
#include "host/host_text.h"

namespace qv {

// Below a Java home: a JRE of its own, then the JRE inside a JDK.
inline constexpr std::array<std::wstring_view, 5> kJavaHomeFolders = {
    L"\\BIN\\CLIENT", L"\\BIN\\SERVER", L"\\JRE\\BIN\\CLIENT", L"\\JRE\\BIN\\SERVER", L"\\JRE\\BIN\\CLASSIC"};
// Below the service's own folder: a private runtime beside it.
inline constexpr std::array<std::wstring_view, 3> kInstallFolders = {L"\\JRE\\BIN\\CLIENT", L"\\JRE\\BIN\\SERVER",
                                                                     L"\\JRE\\BIN\\CLASSIC"};
inline constexpr std::wstring_view kJvmFile = L"\\JVM.DLL";

// The setting that keeps the current runtime out: one or two characters read, and they are the number 1.
bool CurrentRuntimeDisabled(int32_t charactersRead, const wchar_t* text) noexcept;

// What a search below a home came to. PathRefused: a runtime was found, but PATH could not be set as it should.
enum class Discovery { NotFound, Taken, PathRefused, NoMemory };

// Takes the first of home + sub-folder for which exists(folder + "\JVM.DLL") holds: take(folder) says what became of
// it. tell(subFolder, verdict) hears of each in its order; none is probed after the choice.
template <class Exists, class Take, class Tell>
Discovery DiscoverBelow(std::wstring_view home, std::span<const std::wstring_view> subFolders, Exists&& exists,
                        Take&& take, Tell&& tell) noexcept {
  Discovery result = Discovery::NotFound;
  for (const std::wstring_view subFolder : subFolders) {
    if (result != Discovery::NotFound) {
      tell(subFolder, RuntimeVerdict::FoundBefore);
      continue;
    }
    HostText folder{home, subFolder};
    const HostText file{folder.View(), kJvmFile};
    if (!folder.Ok() || !file.Ok()) return Discovery::NoMemory;
    if (!exists(file.Text())) {
      tell(subFolder, RuntimeVerdict::NotThere);
      continue;
    }
    result = take(std::move(folder));
    if (result == Discovery::NoMemory) return result;
    tell(subFolder, result == Discovery::Taken ? RuntimeVerdict::Taken : RuntimeVerdict::PathRefused);
  }
  return result;
}

// PATH with a discovered runtime in front. The separator stands there also when there was no PATH.
HostText SearchPathWithRuntime(std::wstring_view runtimeFolder, std::wstring_view oldPath) noexcept;

// PATH with a configured JDK and JRE in front; `oldPath` is null when the variable does not exist.
HostText SearchPathWithConfigured(std::wstring_view jdk, std::wstring_view jreBin, const wchar_t* oldPath) noexcept;

// The folder that holds a runtime's own libraries: the one above the folder of its jvm.dll. Empty when there is none.
std::wstring_view RuntimeBinFolder(std::wstring_view jvmFolder) noexcept;

}  // namespace qv
