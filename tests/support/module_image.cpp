#include "tests/support/module_image.h"

namespace qvtest {

bool IsReadable(const void* address) {
  MEMORY_BASIC_INFORMATION info{};
  return VirtualQuery(address, &info, sizeof(info)) != 0 && info.State == MEM_COMMIT &&
         (info.Protect & (PAGE_NOACCESS | PAGE_GUARD)) == 0;
}

ModuleImage::ModuleImage(const void* base) : m_base(static_cast<const char*>(base)) {
  if (!IsReadable(base)) return;
  const auto* const dos = At<IMAGE_DOS_HEADER>(0);
  if (dos->e_magic != IMAGE_DOS_SIGNATURE || dos->e_lfanew < 0 || dos->e_lfanew > 0x1000) return;
  const auto* const headers = At<IMAGE_NT_HEADERS64>(static_cast<DWORD>(dos->e_lfanew));
  if (!IsReadable(headers) || headers->Signature != IMAGE_NT_SIGNATURE) return;
  if (headers->OptionalHeader.Magic == IMAGE_NT_OPTIONAL_HDR64_MAGIC) m_headers = headers;
}

}  // namespace qvtest
