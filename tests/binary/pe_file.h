// Reads what a Windows module says about itself from its file, without running it: flags, sections, exports, imports.
// A file that is no 64-bit module fails the test and reads as empty.
#pragma once

#include <windows.h>

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace qvtest {

struct PeSection {
  std::string name;
  uint32_t flags = 0;  // IMAGE_SCN_...
};

struct PeImports {
  std::set<std::string> names;
  std::set<uint16_t> ordinals;
};

struct PeFile {
  uint16_t machine = 0;
  uint16_t fileFlags = 0;    // IMAGE_FILE_...
  uint16_t moduleFlags = 0;  // IMAGE_DLLCHARACTERISTICS_...
  bool hasRelocations = false;
  bool hasDelayImports = false;
  std::vector<PeSection> sections;
  std::map<std::string, uint32_t> namedExports;  // name -> address in the module
  std::map<uint16_t, uint32_t> exports;          // every export by ordinal -> address
  std::set<std::string> forwardedExports;        // "other.dll.Function"
  std::map<std::string, PeImports> imports;      // by the module's name in lower case
};

PeFile ReadPeFile(const std::wstring& path);

}  // namespace qvtest
