// The loader maps the file as it would lie in memory, but runs and resolves nothing; the tables are read there.
#include "tests/binary/pe_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "tests/support/module_image.h"
#include "tests/support/text.h"

namespace qvtest {

namespace {

void ReadExports(const ModuleImage& image, PeFile& file) {
  const auto* const table = image.Table<IMAGE_EXPORT_DIRECTORY>(IMAGE_DIRECTORY_ENTRY_EXPORT);
  if (table == nullptr) return;
  const IMAGE_DATA_DIRECTORY directory = image.Directory(IMAGE_DIRECTORY_ENTRY_EXPORT);
  const auto* const addresses = image.At<uint32_t>(table->AddressOfFunctions);
  for (uint32_t i = 0; i < table->NumberOfFunctions; ++i) {
    if (addresses[i] == 0) continue;
    file.exports[static_cast<uint16_t>(table->Base + i)] = addresses[i];
    // A forwarder's address leads to its text, which lies among the exports.
    if (addresses[i] - directory.VirtualAddress < directory.Size) {
      file.forwardedExports.insert(image.At<char>(addresses[i]));
    }
  }
  for (uint32_t i = 0; i < table->NumberOfNames; ++i) {
    const char* const name = image.At<char>(image.At<uint32_t>(table->AddressOfNames)[i]);
    file.namedExports[name] = addresses[image.At<uint16_t>(table->AddressOfNameOrdinals)[i]];
  }
}

void ReadImports(const ModuleImage& image, PeFile& file) {
  image.ForEachImport([&](std::string dll, const char* function, uint16_t ordinal, void**) {
    std::transform(dll.begin(), dll.end(), dll.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? c + 32 : c; });
    PeImports& imports = file.imports[dll];
    if (function != nullptr) {
      imports.names.insert(function);
    } else {
      imports.ordinals.insert(ordinal);
    }
  });
}

}  // namespace

PeFile ReadPeFile(const std::wstring& path) {
  PeFile file;
  const HMODULE mapped = LoadLibraryExW(path.c_str(), nullptr, LOAD_LIBRARY_AS_IMAGE_RESOURCE);
  // The lowest bits of such a handle say how it was mapped.
  const ModuleImage image(reinterpret_cast<const void*>(reinterpret_cast<uintptr_t>(mapped) & ~uintptr_t{3}));
  EXPECT_TRUE(image) << ToUtf8(path) << " is no 64-bit Windows module";
  if (!image) return file;
  file.machine = image.Headers().FileHeader.Machine;
  file.fileFlags = image.Headers().FileHeader.Characteristics;
  file.moduleFlags = image.Headers().OptionalHeader.DllCharacteristics;
  file.hasRelocations = image.Directory(IMAGE_DIRECTORY_ENTRY_BASERELOC).Size != 0;
  file.hasDelayImports = image.Directory(IMAGE_DIRECTORY_ENTRY_DELAY_IMPORT).Size != 0;
  const IMAGE_SECTION_HEADER* const sections = IMAGE_FIRST_SECTION(&image.Headers());
  for (const auto* section = sections; section != sections + image.Headers().FileHeader.NumberOfSections; ++section) {
    const auto* const name = reinterpret_cast<const char*>(section->Name);
    file.sections.push_back({std::string(name, strnlen(name, IMAGE_SIZEOF_SHORT_NAME)), section->Characteristics});
  }
  ReadExports(image, file);
  ReadImports(image, file);
  FreeLibrary(mapped);
  return file;
}

}  // namespace qvtest
