// The import directory is walked by hand: names from the lookup table, addresses from the table beside it.
// Nothing here proves anything by itself; support_tests.cpp shows that it replaces and restores.
// A module may import one function in several places; all of them are replaced.
#include "tests/support/import_hook.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace qvtest {

namespace {

template <class T>
const T* At(HMODULE module, DWORD offset) {
  return reinterpret_cast<const T*>(reinterpret_cast<const std::byte*>(module) + offset);
}

template <class Matches>
std::vector<void**> FindImports(HMODULE module, Matches&& matches) {
  std::vector<void**> places;
  const auto* const dos = At<IMAGE_DOS_HEADER>(module, 0);
  const auto* const nt = At<IMAGE_NT_HEADERS>(module, static_cast<DWORD>(dos->e_lfanew));
  const IMAGE_DATA_DIRECTORY& directory = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  if (directory.VirtualAddress == 0) return places;
  const auto* import = At<IMAGE_IMPORT_DESCRIPTOR>(module, directory.VirtualAddress);
  for (; import->Name != 0; ++import) {
    const char* const dll = At<char>(module, import->Name);
    const DWORD names = import->OriginalFirstThunk != 0 ? import->OriginalFirstThunk : import->FirstThunk;
    const auto* name = At<IMAGE_THUNK_DATA>(module, names);
    const auto* address = At<IMAGE_THUNK_DATA>(module, import->FirstThunk);
    for (; name->u1.AddressOfData != 0; ++name, ++address) {
      const bool byOrdinal = IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal);
      const char* const function =
          byOrdinal ? nullptr
                    : reinterpret_cast<const char*>(
                          At<IMAGE_IMPORT_BY_NAME>(module, static_cast<DWORD>(name->u1.AddressOfData))->Name);
      const auto ordinal = static_cast<uint16_t>(byOrdinal ? IMAGE_ORDINAL(name->u1.Ordinal) : 0);
      if (matches(dll, function, ordinal)) {
        places.push_back(reinterpret_cast<void**>(const_cast<ULONGLONG*>(&address->u1.Function)));
      }
    }
  }
  return places;
}

void Write(void** place, void* value) {
  DWORD before = 0;
  VirtualProtect(place, sizeof(void*), PAGE_READWRITE, &before);
  *place = value;
  VirtualProtect(place, sizeof(void*), before, &before);
}

void* Replace(const std::vector<void**>& places, void* replacement, const std::string& what) {
  if (places.empty()) {
    ADD_FAILURE() << "the module does not import " << what << ", so nothing was replaced";
    return nullptr;
  }
  void* const original = *places.front();
  for (void** place : places) Write(place, replacement);
  return original;
}

HMODULE OrProgram(HMODULE module) { return module != nullptr ? module : GetModuleHandleW(nullptr); }

}  // namespace

ImportHook::ImportHook(HMODULE module, const char* function, void* replacement)
    : m_places(FindImports(OrProgram(module),
                           [&](const char*, const char* name, uint16_t) {
                             return name != nullptr && std::strcmp(name, function) == 0;
                           })),
      m_original(Replace(m_places, replacement, function)) {}

ImportHook::ImportHook(HMODULE module, const char* dll, uint16_t ordinal, void* replacement)
    : m_places(FindImports(OrProgram(module),
                           [&](const char* from, const char* name, uint16_t number) {
                             return name == nullptr && number == ordinal && _stricmp(from, dll) == 0;
                           })),
      m_original(Replace(m_places, replacement, dll + std::string(" ordinal ") + std::to_string(ordinal))) {}

bool ImportHook::Imports(HMODULE module, const char* function) {
  return !FindImports(OrProgram(module), [&](const char*, const char* name, uint16_t) {
            return name != nullptr && std::strcmp(name, function) == 0;
          }).empty();
}

ImportHook::~ImportHook() {
  for (void** place : m_places) Write(place, m_original);
}

}  // namespace qvtest
