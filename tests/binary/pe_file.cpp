// Offsets are addresses in the loaded module; each is mapped to the file through its section and checked first.
// Nothing here proves anything by itself.
// The structures are those of winnt.h.
#include "tests/binary/pe_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <optional>

#include "tests/support/temp_folder.h"
#include "tests/support/text.h"

namespace qvtest {

namespace {

class Image {
 public:
  explicit Image(std::string bytes) : m_bytes(std::move(bytes)) {
    const auto dos = At<IMAGE_DOS_HEADER>(0);
    if (!dos.has_value() || dos->e_magic != IMAGE_DOS_SIGNATURE) return;
    const auto start = static_cast<size_t>(dos->e_lfanew);
    const auto headers = At<IMAGE_NT_HEADERS64>(start);
    if (!headers.has_value() || headers->Signature != IMAGE_NT_SIGNATURE) return;
    if (headers->OptionalHeader.Magic != IMAGE_NT_OPTIONAL_HDR64_MAGIC) return;
    m_headers = *headers;
    const size_t table =
        start + offsetof(IMAGE_NT_HEADERS64, OptionalHeader) + headers->FileHeader.SizeOfOptionalHeader;
    for (size_t i = 0; i < headers->FileHeader.NumberOfSections; ++i) {
      const auto section = At<IMAGE_SECTION_HEADER>(table + i * sizeof(IMAGE_SECTION_HEADER));
      if (!section.has_value()) return;
      m_sections.push_back(*section);
    }
    m_ok = true;
  }

  [[nodiscard]] bool Ok() const { return m_ok; }
  [[nodiscard]] const IMAGE_NT_HEADERS64& Headers() const { return m_headers; }
  [[nodiscard]] const std::vector<IMAGE_SECTION_HEADER>& Sections() const { return m_sections; }
  [[nodiscard]] IMAGE_DATA_DIRECTORY Directory(size_t index) const {
    return m_headers.OptionalHeader.DataDirectory[index];
  }

  // A structure at an address of the loaded module.
  template <class T>
  [[nodiscard]] std::optional<T> Read(uint32_t address) const {
    const std::optional<size_t> offset = Offset(address);
    return offset.has_value() ? At<T>(*offset) : std::nullopt;
  }
  [[nodiscard]] std::string Text(uint32_t address) const {
    const std::optional<size_t> offset = Offset(address);
    if (!offset.has_value()) return "<outside>";
    const size_t end = m_bytes.find('\0', *offset);
    return end != std::string::npos ? m_bytes.substr(*offset, end - *offset) : "<endless>";
  }

 private:
  template <class T>
  [[nodiscard]] std::optional<T> At(size_t offset) const {
    if (offset > m_bytes.size() || m_bytes.size() - offset < sizeof(T)) return std::nullopt;
    T value;
    std::memcpy(&value, m_bytes.data() + offset, sizeof(T));
    return value;
  }
  [[nodiscard]] std::optional<size_t> Offset(uint32_t address) const {
    for (const IMAGE_SECTION_HEADER& section : m_sections) {
      if (address < section.VirtualAddress || address - section.VirtualAddress >= section.SizeOfRawData) continue;
      return size_t{section.PointerToRawData} + (address - section.VirtualAddress);
    }
    return std::nullopt;
  }

  std::string m_bytes;
  IMAGE_NT_HEADERS64 m_headers{};
  std::vector<IMAGE_SECTION_HEADER> m_sections;
  bool m_ok = false;
};

void ReadExports(const Image& image, PeFile& file) {
  const IMAGE_DATA_DIRECTORY directory = image.Directory(IMAGE_DIRECTORY_ENTRY_EXPORT);
  if (directory.VirtualAddress == 0) return;
  const auto table = image.Read<IMAGE_EXPORT_DIRECTORY>(directory.VirtualAddress);
  ASSERT_TRUE(table.has_value());
  const auto addressOf = [&](uint32_t index) {
    return image.Read<uint32_t>(table->AddressOfFunctions + index * uint32_t{sizeof(uint32_t)}).value_or(0);
  };
  for (uint32_t i = 0; i < table->NumberOfFunctions; ++i) {
    const uint32_t address = addressOf(i);
    if (address == 0) continue;
    file.exports[static_cast<uint16_t>(table->Base + i)] = address;
    const bool forwarded = address >= directory.VirtualAddress && address < directory.VirtualAddress + directory.Size;
    if (forwarded) file.forwardedExports.insert(image.Text(address));
  }
  for (uint32_t i = 0; i < table->NumberOfNames; ++i) {
    const auto name = image.Read<uint32_t>(table->AddressOfNames + i * uint32_t{sizeof(uint32_t)});
    const auto index = image.Read<uint16_t>(table->AddressOfNameOrdinals + i * uint32_t{sizeof(uint16_t)});
    ASSERT_TRUE(name.has_value() && index.has_value());
    file.namedExports[image.Text(*name)] = addressOf(*index);
  }
}

void ReadImports(const Image& image, PeFile& file) {
  uint32_t at = image.Directory(IMAGE_DIRECTORY_ENTRY_IMPORT).VirtualAddress;
  for (; at != 0; at += sizeof(IMAGE_IMPORT_DESCRIPTOR)) {
    const auto import = image.Read<IMAGE_IMPORT_DESCRIPTOR>(at);
    ASSERT_TRUE(import.has_value());
    if (import->Name == 0) return;
    std::string dll = image.Text(import->Name);
    std::transform(dll.begin(), dll.end(), dll.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? c + 32 : c; });
    PeImports& imports = file.imports[dll];
    uint32_t entry = import->OriginalFirstThunk != 0 ? import->OriginalFirstThunk : import->FirstThunk;
    for (;; entry += sizeof(uint64_t)) {
      const auto what = image.Read<uint64_t>(entry);
      ASSERT_TRUE(what.has_value());
      if (*what == 0) break;
      if (IMAGE_SNAP_BY_ORDINAL64(*what)) {
        imports.ordinals.insert(static_cast<uint16_t>(IMAGE_ORDINAL64(*what)));
      } else {
        imports.names.insert(image.Text(static_cast<uint32_t>(*what) + uint32_t{sizeof(uint16_t)}));
      }
    }
  }
}

}  // namespace

PeFile ReadPeFile(const std::wstring& path) {
  PeFile file;
  const Image image(ReadWholeFile(path));
  EXPECT_TRUE(image.Ok()) << ToUtf8(path) << " is no 64-bit Windows module";
  if (!image.Ok()) return file;
  file.machine = image.Headers().FileHeader.Machine;
  file.fileFlags = image.Headers().FileHeader.Characteristics;
  file.moduleFlags = image.Headers().OptionalHeader.DllCharacteristics;
  file.hasRelocations = image.Directory(IMAGE_DIRECTORY_ENTRY_BASERELOC).Size != 0;
  file.hasDelayImports = image.Directory(IMAGE_DIRECTORY_ENTRY_DELAY_IMPORT).Size != 0;
  for (const IMAGE_SECTION_HEADER& section : image.Sections()) {
    const auto* const name = reinterpret_cast<const char*>(section.Name);
    file.sections.push_back({std::string(name, strnlen(name, IMAGE_SIZEOF_SHORT_NAME)), section.Characteristics});
  }
  ReadExports(image, file);
  ReadImports(image, file);
  return file;
}

}  // namespace qvtest
