// One table for the parts; every other library of bin is looked at as well.
#include "doctor/runtime_parts.h"

#include <windows.h>

#include <algorithm>
#include <filesystem>

#include "doctor/file_checks.h"

namespace doctor {

namespace {

namespace fs = std::filesystem;

// What every start loads since Java 9. jvm.dll itself is the runtime's own fact.
constexpr const wchar_t* kNeededLibraries[] = {L"java.dll", L"jimage.dll", L"zip.dll",
                                               L"net.dll",  L"nio.dll",    L"verify.dll"};
// What jvm.dll and its neighbours ask for by plain name.
constexpr const wchar_t* kLoadedByName[] = {
    L"jvm.dll",      L"java.dll",         L"jimage.dll",         L"zip.dll",
    L"net.dll",      L"nio.dll",          L"verify.dll",         L"jli.dll",
    L"ucrtbase.dll", L"vcruntime140.dll", L"vcruntime140_1.dll", L"msvcp140.dll",
    L"msvcr100.dll", L"msvcr120.dll"};

bool IsNeeded(const std::wstring& name) {
  return std::any_of(std::begin(kNeededLibraries), std::end(kNeededLibraries),
                     [&](const wchar_t* needed) { return _wcsicmp(needed, name.c_str()) == 0; });
}

// One of the runtime's libraries under the name of another is as bad as none.
Library InspectPart(const fs::path& path) {
  Library library = InspectLibrary(path.wstring());
  if (library.state != FileState::Sound) return library;
  const fs::path inside = NameInside(path.wstring());
  std::error_code error;
  if (!inside.empty() && _wcsicmp(inside.c_str(), path.filename().c_str()) != 0 &&
      fs::exists(path.parent_path() / inside, error)) {
    library.state = FileState::WrongKind;
  }
  return library;
}

void AddLibraries(std::vector<RuntimePart>& parts, const fs::path& bin) {
  for (const wchar_t* const name : kNeededLibraries) {
    const Library library = InspectPart(bin / name);
    parts.push_back({library.path, library.state, library.architecture, true});
  }
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(bin, error)) {
    const std::wstring name = entry.path().filename().wstring();
    // Windows has its own libraries for the names of API sets.
    if (_wcsicmp(entry.path().extension().c_str(), L".dll") != 0 || name.starts_with(L"api-ms-") || IsNeeded(name)) {
      continue;
    }
    const Library library = InspectPart(entry.path());
    if (library.state != FileState::Sound) parts.push_back({library.path, library.state, library.architecture, false});
  }
}

}  // namespace

std::vector<RuntimePart> InspectParts(const Runtime& runtime) {
  std::vector<RuntimePart> parts;
  const fs::path home = runtime.home;
  const auto add = [&](const fs::path& path, FileState state) { parts.push_back({path.wstring(), state, {}, true}); };
  // Java 8 and older have rt.jar and keep the rest elsewhere.
  if (fs::exists(home / L"lib\\rt.jar")) {
    add(home / L"lib\\rt.jar", InspectArchive((home / L"lib\\rt.jar").wstring()));
    const Library library = InspectLibrary((home / L"bin\\java.dll").wstring());
    parts.push_back({library.path, library.state, library.architecture, true});
    return parts;
  }
  add(home / L"lib\\modules", InspectModules((home / L"lib\\modules").wstring()));
  AddLibraries(parts, home / L"bin");
  const fs::path security = home / L"conf\\security\\java.security";
  add(security, InspectText(security.wstring(), "security.provider.1"));
  const fs::path zones = home / L"lib\\tzdb.dat";
  add(zones, InspectText(zones.wstring(), "TZDB"));
  return parts;
}

std::vector<Library> FindForeign(const Runtime& runtime, const std::wstring& folder) {
  std::vector<Library> foreign;
  const fs::path bin = fs::path(runtime.home) / L"bin";
  for (const wchar_t* const name : kLoadedByName) {
    const fs::path path = fs::path(folder) / name;
    std::error_code error;
    if (!fs::exists(path, error) || fs::equivalent(path, runtime.jvm.path, error) ||
        fs::equivalent(path, bin / name, error)) {
      continue;
    }
    foreign.push_back(InspectLibrary(path.wstring()));
  }
  return foreign;
}

}  // namespace doctor
