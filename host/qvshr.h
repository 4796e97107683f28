// The host library's binary contract: functions by ordinal (host/qvshr.def) and its two objects. Declarations only.
// No exception leaves a function or an operation. Threads: any.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>

#include "qvjvm/qvjvm.h"

// A registry key, or a key of a built-in tree, with the same operations.
struct IQvRegKey {
  virtual int32_t QueryInterface(const GUID& iid, void** object) noexcept = 0;
  virtual uint32_t AddRef() noexcept = 0;
  virtual uint32_t Release() noexcept = 0;  // the last one closes the key
  virtual int32_t Reserved3() noexcept = 0;
  // Several components allowed ("A\B\C"), compared without case. Negative on failure, *key null then.
  virtual int32_t OpenSubKey(IQvString* relativePath, uint32_t access, IQvRegKey** key) noexcept = 0;
  virtual int32_t Reserved5() noexcept = 0;
  virtual int32_t Reserved6() noexcept = 0;
  // From index 0; negative past the last value. A built-in tree answers in record order.
  virtual int32_t EnumValue(int32_t index, IQvString** name, IQvString** value) noexcept = 0;
  virtual int32_t Reserved8() noexcept = 0;
  virtual int32_t Reserved9() noexcept = 0;
  virtual int32_t Reserved10() noexcept = 0;
  virtual int32_t Reserved11() noexcept = 0;
  // 0 when found, negative otherwise, *value null then. Names are compared without case.
  virtual int32_t QueryStringValue(IQvString* name, IQvString** value) noexcept = 0;

 protected:
  ~IQvRegKey() = default;
};

// One record of a built-in configuration tree, in the packed layout that the host library reads.
#pragma pack(push, 1)
struct DefaultConfigRecord {
  int32_t kind;
  const wchar_t* name;
  const wchar_t* value;
  uint8_t reserved[16];
};
#pragma pack(pop)
static_assert(sizeof(DefaultConfigRecord) == 36 && offsetof(DefaultConfigRecord, name) == 4 &&
              offsetof(DefaultConfigRecord, value) == 12 && offsetof(DefaultConfigRecord, reserved) == 20);

enum DefaultConfigKind : int32_t {
  kOpenKey = 0,      // a key `name` below the key open now
  kStringValue = 1,  // a value `name` = `value` of the key open now
  kCloseKey = 2,
  kEndOfTable = 3,
};

#ifdef QVSHR_IMPLEMENTATION
#define QVSHR_API
#else
#define QVSHR_API __declspec(dllimport)
#endif

extern "C" {
// Aligned to 16, contents not initialised, null without memory; 0 bytes gives a block that can be freed.
QVSHR_API void* QvshrAlloc(size_t bytes) noexcept;
QVSHR_API void QvshrFree(void* block) noexcept;
// A new object, reference count 1; negative on failure, *out null then; a null text makes an empty string.
QVSHR_API int32_t QvshrCreateString(const wchar_t* text, IQvString** out) noexcept;
// 0 on success; anything else is a failure and *out is null.
QVSHR_API int32_t QvshrOpenRegistryKey(HKEY hive, IQvString* path, uint32_t access, IQvRegKey** out) noexcept;
// The key of the table's first record; negative on failure (a malformed table included), *out null then.
QVSHR_API int32_t QvshrOpenDefaultTree(const DefaultConfigRecord* table, IQvRegKey** out) noexcept;
// A new block for QvshrFree; null on failure; code page 0 is the system's ANSI code page.
QVSHR_API char* QvshrWideToMultiByte(const wchar_t* text, uint32_t codePage) noexcept;
// The directory part without a trailing backslash: characters written, 0 on failure. Capacity in units with the null.
QVSHR_API int32_t QvshrGetDirectory(const wchar_t* path, wchar_t* out, int32_t capacity) noexcept;
// The part after the last backslash or slash: characters written, 0 on failure.
QVSHR_API int32_t QvshrGetFileName(const wchar_t* path, wchar_t* out, int32_t capacity) noexcept;
// A shell folder without a trailing backslash; non-zero on success.
QVSHR_API int32_t QvshrGetSpecialFolder(int32_t folderId, wchar_t* out, int32_t capacity, int32_t create,
                                        int32_t useDefault) noexcept;
// A host setting, cut to capacity - 1 characters and always terminated; characters written.
QVSHR_API int32_t QvshrGetSetting(const wchar_t* section, const wchar_t* key, const wchar_t* fallback, wchar_t* out,
                                  int32_t capacity) noexcept;
// Non-zero in a web deployment.
QVSHR_API int32_t QvshrIsWebDeployment(int32_t reserved) noexcept;
// Non-zero forbids detaching a thread from the JVM. It must be non-zero while the process ends: the JVM's own threads
// are gone by then, and a detach that has to wait for one of them, as while Java collects garbage, waits for ever.
QVSHR_API int32_t QvshrNoDetachQuery(void) noexcept;
}
