#include "doctor/image_file.h"

#include <windows.h>

#include <cstdio>
#include <memory>

namespace doctor {

namespace {

struct CloseFile {
  void operator()(FILE* file) const { std::fclose(file); }
};

const wchar_t* ArchitectureName(WORD machine) {
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

}  // namespace

Library InspectLibrary(const std::wstring& path) {
  Library library = {.path = path, .machine = Machine::Missing, .architecture = {}};
  const DWORD attributes = GetFileAttributesW(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return library;
  library.machine = Machine::Unreadable;
  const std::unique_ptr<FILE, CloseFile> file(_wfopen(path.c_str(), L"rb"));
  if (!file) return library;
  library.machine = Machine::NotAnImage;
  IMAGE_DOS_HEADER dos = {};
  DWORD signature = 0;
  IMAGE_FILE_HEADER header = {};
  const auto read = [&](auto& into) { return std::fread(&into, sizeof(into), 1, file.get()) == 1; };
  if (!read(dos) || dos.e_magic != IMAGE_DOS_SIGNATURE) return library;
  if (std::fseek(file.get(), dos.e_lfanew, SEEK_SET) != 0 || !read(signature) || signature != IMAGE_NT_SIGNATURE) {
    return library;
  }
  if (!read(header)) return library;
  // A file that ends before its headers do was cut.
  if (std::fseek(file.get(), 0, SEEK_END) != 0 || std::ftell(file.get()) < dos.e_lfanew + 4096) return library;
  library.architecture = ArchitectureName(header.Machine);
  library.machine = header.Machine == IMAGE_FILE_MACHINE_AMD64 ? Machine::Right : Machine::Wrong;
  return library;
}

}  // namespace doctor
