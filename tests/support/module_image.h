// A module as it lies in memory: its headers and the tables that they lead to. Borrows the memory and asks nobody, the
// loader least of all, whose lock may be what everybody waits for.
#pragma once

#include <windows.h>

#include <cstdint>

namespace qvtest {

// Whether the page of the address can be read.
bool IsReadable(const void* address);

class ModuleImage {
 public:
  // `base` is where the module begins. There is none when no 64-bit module lies there.
  explicit ModuleImage(const void* base);

  explicit operator bool() const { return m_headers != nullptr; }
  [[nodiscard]] const IMAGE_NT_HEADERS64& Headers() const { return *m_headers; }
  [[nodiscard]] IMAGE_DATA_DIRECTORY Directory(size_t index) const {
    return m_headers->OptionalHeader.DataDirectory[index];
  }
  template <class T>
  [[nodiscard]] const T* At(DWORD offset) const {
    return reinterpret_cast<const T*>(m_base + offset);
  }
  // Null when the module has no such table.
  template <class T>
  [[nodiscard]] const T* Table(size_t index) const {
    const DWORD offset = Directory(index).VirtualAddress;
    return offset != 0 ? At<T>(offset) : nullptr;
  }

  // Calls each(dll, function, ordinal, place) for every import: `function` is null for one by ordinal, *place is what
  // the module calls.
  template <class Each>
  void ForEachImport(Each&& each) const {
    const auto* import = Table<IMAGE_IMPORT_DESCRIPTOR>(IMAGE_DIRECTORY_ENTRY_IMPORT);
    for (; import != nullptr && import->Name != 0; ++import) {
      const auto* name =
          At<IMAGE_THUNK_DATA64>(import->OriginalFirstThunk != 0 ? import->OriginalFirstThunk : import->FirstThunk);
      auto* place = reinterpret_cast<void**>(const_cast<char*>(At<char>(import->FirstThunk)));
      for (; name->u1.AddressOfData != 0; ++name, ++place) {
        const bool byOrdinal = IMAGE_SNAP_BY_ORDINAL64(name->u1.Ordinal);
        const auto* const hint = At<IMAGE_IMPORT_BY_NAME>(static_cast<DWORD>(name->u1.AddressOfData));
        each(At<char>(import->Name), byOrdinal ? nullptr : reinterpret_cast<const char*>(hint->Name),
             static_cast<uint16_t>(byOrdinal ? IMAGE_ORDINAL64(name->u1.Ordinal) : 0), place);
      }
    }
  }

 private:
  const char* m_base;
  const IMAGE_NT_HEADERS64* m_headers = nullptr;
};

}  // namespace qvtest
