// What hosts see of the product, written once for the tests and never taken from its sources: the registry roots, the
// archives of the built-in class path, the operations of a service object.
#pragma once

#include <array>
#include <cstddef>
#include <iterator>
#include <string>

namespace qvtest {

inline constexpr wchar_t kQuovantRoot[] = L"Software\\Harlowe\\Quovant\\19.0";
inline constexpr wchar_t kTableroRoot[] = L"Software\\Harlowe\\Tablero\\19.0";
inline constexpr wchar_t kLoomhallRoot[] = L"Software\\Harlowe\\Loomhall\\2.0\\DBComponents";

// In their order, below a folder.
inline constexpr const wchar_t* kBuiltInArchives[] = {L"\\fop-0.20.5\\build\\fop.jar",
                                                      L"\\fop-0.20.5\\lib\\batik.jar",
                                                      L"\\fop-0.20.5\\lib\\xalan-2.4.1.jar",
                                                      L"\\fop-0.20.5\\lib\\xercesImpl-2.2.1.jar",
                                                      L"\\fop-0.20.5\\lib\\xml-apis.jar",
                                                      L"\\fop-0.20.5\\lib\\avalon-framework-cvs-20020806.jar",
                                                      L"\\fop-0.20.5\\lib\\logkit-1.0.jar",
                                                      L"\\fop-0.20.5\\lib\\jimi-1.0.jar",
                                                      L"\\qvejbclient.jar",
                                                      L"\\qvjdbc12.jar"};

// The entries below one folder, joined by semicolons.
template <class Entries>
std::wstring JoinedBelow(const std::wstring& folder, const Entries& entries) {
  std::wstring joined;
  for (const auto& entry : entries) joined += (joined.empty() ? L"" : L";") + folder + entry;
  return joined;
}
inline std::wstring BuiltInClassPath(const std::wstring& folder) { return JoinedBelow(folder, kBuiltInArchives); }
// Of a runtime with its libraries in that folder.
inline std::wstring BootClassPathOption(const std::wstring& libraries) {
  return L"-Xbootclasspath/a:" +
         JoinedBelow(libraries, std::to_array({L"\\deploy.jar", L"\\javaws.jar", L"\\plugin.jar"}));
}

// By index: what a host calls under each number of the table.
inline constexpr const char* kSlotNames[] = {
#define QV_SLOT(name) #name,
#include "tests/support/slot_names.inc"
};
static_assert(std::size(kSlotNames) == 61);
inline const char* SlotName(size_t slot) { return kSlotNames[slot]; }

}  // namespace qvtest
