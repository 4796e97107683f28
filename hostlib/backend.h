// What the library asks of its build: memory, and a word before each operation. backend_plain.cpp answers with the
// process heap and nothing else; the tests link another backend, tests/ledger, which counts, guards and fails on
// demand. Threads: any, also while the process is ending, when nothing here may wait.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>

#include "hostlib/calls.h"

#ifdef _MSC_VER
#include <intrin.h>
#define QVSHR_CALLER _ReturnAddress()
#else
#define QVSHR_CALLER __builtin_return_address(0)
#endif

namespace qvshr {

enum class ObjectKind { Text, Key };

/// No request above this is met, so sums of a few sizes cannot wrap around.
inline constexpr size_t kMaxBlockBytes = size_t{1} << 40;

/// True from the moment on at which the process ends: every other thread is gone, perhaps inside a lock.
bool ProcessIsEnding() noexcept;

/// A block aligned to 16, or null. `caller` is the address that the ledger names for this block.
void* AllocateBlock(size_t bytes, const void* caller) noexcept;
/// Null is allowed. Releases nothing while the process is ending.
void FreeBlock(void* block, const void* caller) noexcept;

/// An object of this kind came to life or went.
void NoteObjectBorn(ObjectKind kind) noexcept;
void NoteObjectGone(ObjectKind kind) noexcept;

/// Counts the call. True: it has to answer with its failure.
bool CallFails(QvshrCall call) noexcept;

/// True when a test has scripted the answer of IsWebDeployment or NoDetachQuery.
bool ScriptedInt(QvshrCall call, int32_t* value) noexcept;
/// True when a test has scripted this setting: `out` then holds it, cut and terminated. `capacity` is positive.
bool ScriptedSetting(const wchar_t* section, const wchar_t* key, wchar_t* out, int32_t capacity,
                     int32_t* written) noexcept;
/// True when a test has scripted the folder: *answer is then what GetSpecialFolder returns.
bool ScriptedFolder(int32_t folderId, wchar_t* out, int32_t capacity, int32_t create, int32_t useDefault,
                    int32_t* answer) noexcept;

/// From DllMain.
void BackendAttach() noexcept;
void BackendDetach() noexcept;

}  // namespace qvshr
