// What files are, by their own headers: nothing is loaded or run, and no file is read to its end.
#pragma once

#include <string>

#include "doctor/facts.h"

namespace doctor {

// A DLL's image: its processor, and whether the file is as long as its sections and its signature claim.
Library InspectLibrary(const std::wstring& path);
// A jar, by the record at its end and the directory that this leads to. A folder is sound.
FileState InspectArchive(const std::wstring& path);
// A number for the names, sizes and checksums in a jar: equal for equal content. 0 when it cannot be had.
uint64_t ArchiveContent(const std::wstring& path);
// The name that a DLL gives itself; empty when it exports nothing.
std::string NameInside(const std::wstring& path);
// The class library of a runtime, lib\modules: as long as the places that its index gives claim?
FileState InspectModules(const std::wstring& path);
// A file that is sound when these bytes stand in its beginning (the first 64 KB).
FileState InspectText(const std::wstring& path, std::string_view expected);
// "1.2.3.4" of the version resource; empty when there is none.
std::wstring FileVersion(const std::wstring& path);

}  // namespace doctor
