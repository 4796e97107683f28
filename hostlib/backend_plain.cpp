// The backend of the library that ships: blocks of the process heap, nothing counted, nothing scripted.
// The process heap aligns to 16 on 64-bit Windows.
#include "hostlib/backend.h"

namespace qvshr {

static_assert(MEMORY_ALLOCATION_ALIGNMENT == 16);

void* AllocateBlock(size_t bytes, const void*) noexcept {
  return bytes > kMaxBlockBytes ? nullptr : HeapAlloc(GetProcessHeap(), 0, bytes);
}

void FreeBlock(void* block, const void*) noexcept {
  // A thread that was killed at process end may have held the heap's lock.
  if (block != nullptr && !ProcessIsEnding()) HeapFree(GetProcessHeap(), 0, block);
}

void NoteObjectBorn(ObjectKind) noexcept {}
void NoteObjectGone(ObjectKind) noexcept {}
bool CallFails(QvshrCall) noexcept { return false; }
bool ScriptedInt(QvshrCall, int32_t*) noexcept { return false; }
bool ScriptedSetting(const wchar_t*, const wchar_t*, wchar_t*, int32_t, int32_t*) noexcept { return false; }
bool ScriptedFolder(int32_t, wchar_t*, int32_t, int32_t, int32_t, int32_t*) noexcept { return false; }
void BackendAttach() noexcept {}
void BackendDetach() noexcept {}

}  // namespace qvshr
