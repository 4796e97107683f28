#include "doctor/file_checks.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <vector>

namespace doctor {

namespace {

struct CloseFile {
  void operator()(FILE* file) const { std::fclose(file); }
};

// A file for reading at places that the file itself names; a place outside it is an answer, not an error.
class File {
 public:
  explicit File(const std::wstring& path) : m_file(_wfopen(path.c_str(), L"rb")) {
    if (m_file && _fseeki64(m_file.get(), 0, SEEK_END) == 0) m_size = static_cast<uint64_t>(_ftelli64(m_file.get()));
  }
  [[nodiscard]] bool IsOpen() const { return m_file != nullptr; }
  [[nodiscard]] uint64_t Size() const { return m_size; }
  [[nodiscard]] std::optional<std::vector<unsigned char>> Read(uint64_t at, uint64_t bytes) const {
    if (at > m_size || bytes > m_size - at || _fseeki64(m_file.get(), static_cast<int64_t>(at), SEEK_SET) != 0) {
      return std::nullopt;
    }
    std::vector<unsigned char> read(bytes);
    if (bytes != 0 && std::fread(read.data(), bytes, 1, m_file.get()) != 1) return std::nullopt;
    return read;
  }
  template <class Value>
  [[nodiscard]] bool ReadInto(uint64_t at, Value& value) const {
    const auto bytes = Read(at, sizeof(value));
    if (bytes) std::memcpy(&value, bytes->data(), sizeof(value));
    return bytes.has_value();
  }

 private:
  std::unique_ptr<FILE, CloseFile> m_file;
  uint64_t m_size = 0;
};

template <class Number>
Number NumberAt(const std::vector<unsigned char>& bytes, size_t at) {
  Number number = 0;
  std::memcpy(&number, bytes.data() + at, sizeof(number));
  return number;
}

// What can be said without a look at the content; none when that decides.
std::optional<FileState> WithoutContent(const std::wstring& path, const File& file) {
  if (GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES) return FileState::Missing;
  if (!file.IsOpen()) return FileState::Unreadable;
  if (file.Size() == 0) return FileState::Empty;
  return std::nullopt;
}

std::wstring ArchitectureName(WORD machine) {
  switch (machine) {
    case IMAGE_FILE_MACHINE_AMD64:
      return L"x64";
    case IMAGE_FILE_MACHINE_I386:
      return L"x86";
    case 0xAA64:
      return L"ARM64";
    default:
      return L"another processor";
  }
}

// How long an image is by its own section table and, for x64, by the place of its signature.
uint64_t ClaimedSize(const File& file, uint64_t headers, const IMAGE_FILE_HEADER& header) {
  uint64_t size = headers + sizeof(header) + header.SizeOfOptionalHeader;
  for (WORD i = 0; i < header.NumberOfSections; ++i) {
    IMAGE_SECTION_HEADER section = {};
    const uint64_t at = headers + sizeof(header) + header.SizeOfOptionalHeader + i * sizeof(section);
    if (!file.ReadInto(at, section)) return at + sizeof(section);
    if (section.SizeOfRawData == 0) continue;
    size = std::max<uint64_t>(size, uint64_t{section.PointerToRawData} + section.SizeOfRawData);
  }
  IMAGE_OPTIONAL_HEADER64 optional = {};
  if (header.Machine == IMAGE_FILE_MACHINE_AMD64 && file.ReadInto(headers + sizeof(header), optional) &&
      optional.NumberOfRvaAndSizes > IMAGE_DIRECTORY_ENTRY_SECURITY) {
    const IMAGE_DATA_DIRECTORY& signature = optional.DataDirectory[IMAGE_DIRECTORY_ENTRY_SECURITY];
    size = std::max<uint64_t>(size, uint64_t{signature.VirtualAddress} + signature.Size);
  }
  return size;
}

}  // namespace

Library InspectLibrary(const std::wstring& path) {
  const File file(path);
  Library library = {.path = path, .state = FileState::WrongKind, .architecture = {}};
  if (const auto state = WithoutContent(path, file)) {
    library.state = *state;
    return library;
  }
  IMAGE_DOS_HEADER dos = {};
  DWORD signature = 0;
  IMAGE_FILE_HEADER header = {};
  if (!file.ReadInto(0, dos)) {
    const auto magic = file.Read(0, std::min<uint64_t>(2, file.Size()));
    if (magic && magic->size() == 2 && NumberAt<WORD>(*magic, 0) == IMAGE_DOS_SIGNATURE) {
      library.state = FileState::Truncated;
    }
    return library;
  }
  if (dos.e_magic != IMAGE_DOS_SIGNATURE || dos.e_lfanew < 0) return library;
  const auto headers = static_cast<uint64_t>(dos.e_lfanew) + sizeof(signature);
  if (!file.ReadInto(static_cast<uint64_t>(dos.e_lfanew), signature) || !file.ReadInto(headers, header)) {
    library.state = FileState::Truncated;
    return library;
  }
  // A program, which is no library, has not this mark.
  if (signature != IMAGE_NT_SIGNATURE || (header.Characteristics & IMAGE_FILE_DLL) == 0) return library;
  library.architecture = ArchitectureName(header.Machine);
  library.state = file.Size() < ClaimedSize(file, headers, header) ? FileState::Truncated
                  : header.Machine == IMAGE_FILE_MACHINE_AMD64     ? FileState::Sound
                                                                   : FileState::WrongArchitecture;
  return library;
}

// The record at the end of a zip, whose comment may hold anything.
struct EndRecord {
  uint64_t at, entries, size, begin;
};
std::optional<EndRecord> FindEndRecord(const File& file) {
  constexpr uint64_t kEndRecord = 22;
  constexpr uint64_t kLongestComment = 0xFFFF;
  const uint64_t tail = std::min(file.Size(), kEndRecord + kLongestComment);
  const auto bytes = file.Read(file.Size() - tail, tail);
  if (!bytes) return std::nullopt;
  for (size_t at = bytes->size() < kEndRecord ? 0 : bytes->size() - kEndRecord + 1; at-- > 0;) {
    if (NumberAt<uint32_t>(*bytes, at) != 0x06054B50) continue;
    return EndRecord{file.Size() - tail + at, NumberAt<uint16_t>(*bytes, at + 10), NumberAt<uint32_t>(*bytes, at + 12),
                     NumberAt<uint32_t>(*bytes, at + 16)};
  }
  return std::nullopt;
}

FileState InspectArchive(const std::wstring& path) {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
    return path.ends_with(L".jar") ? FileState::WrongKind : FileState::Sound;
  }
  const File file(path);
  if (const auto state = WithoutContent(path, file)) return *state;
  const auto end = FindEndRecord(file);
  if (!end) {
    uint32_t first = 0;
    return file.ReadInto(0, first) && first == 0x04034B50 ? FileState::Truncated : FileState::WrongKind;
  }
  if (end->entries == 0xFFFF || end->begin == 0xFFFFFFFF) return FileState::Sound;  // a long one has other records
  if (end->begin + end->size > end->at) return FileState::Truncated;
  if (end->entries == 0) return FileState::Sound;
  uint32_t first = 0;
  // What stands before the archive, as in one that unpacks itself, moves it all.
  const bool read = file.ReadInto(end->at - end->size, first);
  return read && first == 0x02014B50 ? FileState::Sound : FileState::WrongKind;
}

uint64_t ArchiveContent(const std::wstring& path) {
  const File file(path);
  const auto end = file.IsOpen() && file.Size() != 0 ? FindEndRecord(file) : std::nullopt;
  if (!end || end->entries == 0 || end->size > end->at) return 0;
  const auto directory = file.Read(end->at - end->size, end->size);
  if (!directory) return 0;
  uint64_t number = 14695981039346656037U;
  for (const unsigned char byte : *directory) number = (number ^ byte) * 1099511628211U;
  return number;
}

std::string NameInside(const std::wstring& path) {
  const File file(path);
  IMAGE_DOS_HEADER dos = {};
  IMAGE_NT_HEADERS64 headers = {};
  if (!file.ReadInto(0, dos) || dos.e_lfanew < 0) return {};
  const auto at = static_cast<uint64_t>(dos.e_lfanew);
  if (!file.ReadInto(at, headers) || headers.OptionalHeader.NumberOfRvaAndSizes == 0) return {};
  const auto placeOf = [&](uint32_t address) -> uint64_t {
    for (WORD i = 0; i < headers.FileHeader.NumberOfSections; ++i) {
      IMAGE_SECTION_HEADER section = {};
      const uint64_t table = at + sizeof(DWORD) + sizeof(IMAGE_FILE_HEADER) + headers.FileHeader.SizeOfOptionalHeader;
      if (!file.ReadInto(table + i * sizeof(section), section)) return 0;
      if (address - section.VirtualAddress < section.SizeOfRawData) {
        return uint64_t{address} - section.VirtualAddress + section.PointerToRawData;
      }
    }
    return 0;
  };
  IMAGE_EXPORT_DIRECTORY exports = {};
  const uint64_t directory = placeOf(headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT].VirtualAddress);
  if (directory == 0 || !file.ReadInto(directory, exports)) return {};
  const uint64_t place = placeOf(exports.Name);
  const auto name = file.Read(place, std::min<uint64_t>(MAX_PATH, file.Size() - std::min(place, file.Size())));
  if (place == 0 || !name) return {};
  return {name->begin(), std::find(name->begin(), name->end(), '\0')};
}

// Header, two tables of a word for each name, places, texts, then the content. A place is a list of attributes: kind
// and length in one byte, then the value with its highest byte first.
FileState InspectModules(const std::wstring& path) {
  const File file(path);
  if (const auto state = WithoutContent(path, file)) return *state;
  struct Header {
    uint32_t magic, version, flags, resources, table, places, texts;
  } header = {};
  if (!file.ReadInto(0, header)) return FileState::Truncated;
  if (header.magic != 0xCAFEDADA) return FileState::WrongKind;
  const uint64_t before = sizeof(header) + uint64_t{header.table} * 8;
  const uint64_t index = before + header.places + header.texts;
  const auto places = file.Read(before, header.places);
  if (!places || file.Size() < index) return FileState::Truncated;
  enum Kind { kEnd = 0, kOffset = 5, kCompressed = 6, kUncompressed = 7, kKinds = 8 };
  uint64_t content = 0;
  std::array<uint64_t, kKinds> values = {};
  for (size_t at = 0; at < places->size();) {
    const unsigned kind = (*places)[at] >> 3U;
    const size_t length = ((*places)[at] & 7U) + 1;
    if (kind >= kKinds || at + length >= places->size() + (kind == kEnd ? length : 0)) return FileState::WrongKind;
    ++at;
    if (kind == kEnd) {
      content =
          std::max(content, values[kOffset] + (values[kCompressed] != 0 ? values[kCompressed] : values[kUncompressed]));
      values = {};
      continue;
    }
    uint64_t value = 0;
    for (size_t i = 0; i < length; ++i) value = value << 8U | (*places)[at++];
    values[kind] = value;
  }
  return file.Size() < index + content ? FileState::Truncated : FileState::Sound;
}

FileState InspectText(const std::wstring& path, std::string_view expected) {
  const File file(path);
  if (const auto state = WithoutContent(path, file)) return *state;
  const auto begin = file.Read(0, std::min<uint64_t>(file.Size(), 65536));
  if (!begin) return FileState::Unreadable;
  const bool found =
      std::search(begin->begin(), begin->end(), expected.begin(), expected.end(), [](unsigned char left, char right) {
        return left == static_cast<unsigned char>(right);
      }) != begin->end();
  return found ? FileState::Sound : FileState::WrongKind;
}

std::wstring FileVersion(const std::wstring& path) {
  DWORD unused = 0;
  const DWORD bytes = GetFileVersionInfoSizeW(path.c_str(), &unused);
  std::vector<unsigned char> data(bytes);
  VS_FIXEDFILEINFO* info = nullptr;
  UINT size = 0;
  if (bytes == 0 || !GetFileVersionInfoW(path.c_str(), 0, bytes, data.data()) ||
      !VerQueryValueW(data.data(), L"\\", reinterpret_cast<void**>(&info), &size) || size < sizeof(*info)) {
    return {};
  }
  std::wstring text;
  for (const DWORD part : {HIWORD(info->dwFileVersionMS), LOWORD(info->dwFileVersionMS), HIWORD(info->dwFileVersionLS),
                           LOWORD(info->dwFileVersionLS)}) {
    text += (text.empty() ? L"" : L".") + std::to_wstring(part);
  }
  return text;
}

}  // namespace doctor
