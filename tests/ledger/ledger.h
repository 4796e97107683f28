// The controls of the ledger build of qvshr.dll: what is alive, guard pages, failures on demand, scripted answers.
// The ledger build has the same twelve functions as the library that ships, under the same ordinals; link qv::ledger.
// Environment, read when the DLL is loaded:
//   QVSHR_LEDGER_GUARD=1          guard pages from the first block on
//   QVSHR_LEDGER_REPORT=<path>    one line of JSON about what is left, written when the DLL is detached
// Everything is process-wide and may be called from any thread.
#pragma once

#include <cstddef>
#include <cstdint>

#include "hostlib/calls.h"

#ifdef QVSHR_IMPLEMENTATION
#define QVSHR_LEDGER_API
#else
#define QVSHR_LEDGER_API __declspec(dllimport)
#endif

enum QvshrLedgerMode : int32_t {
  kQvshrFailOnce = 0,      // that one alone
  kQvshrFailFromHere = 1,  // that one and every one after it
};

enum QvshrLedgerErrorKind : int32_t {
  kQvshrNoError = 0,
  kQvshrDoubleFree = 1,   // a block that is free already; nothing was freed
  kQvshrForeignFree = 2,  // an address that was never a block; nothing was freed
  kQvshrOverrun = 3,      // found at the free: somebody wrote right behind the block or, with guard pages, before it
};

struct QvshrLedgerState {
  uint64_t liveBlocks;  // the blocks of strings and keys are among them
  uint64_t liveBytes;
  uint64_t liveStrings;
  uint64_t liveKeys;  // of the registry and of built-in trees
  uint64_t totalAllocations;
  uint64_t totalStrings;
  uint64_t totalKeys;
  uint64_t failedAllocations;  // scripted ones and real ones
  uint64_t errors;
};

struct QvshrLedgerBlock {
  const void* address;
  uint64_t bytes;
  uint64_t serial;     // 1 for the first allocation of the process, then by one; the snapshot's totalAllocations
  const void* caller;  // return address of the call that made the block
};

struct QvshrLedgerError {
  int32_t kind;  // QvshrLedgerErrorKind
  const void* address;
  const void* caller;  // return address of the call that freed it
  uint64_t serial;     // of the block, 0 where none is known
};

struct QvshrLedgerFolderRequest {
  int32_t folderId;
  int32_t create;
  int32_t useDefault;
  int32_t capacity;
};

extern "C" {

/// Fills *state with the numbers of this moment. Blocks, bytes and errors belong together; others may be a step ahead.
QVSHR_LEDGER_API void QvshrLedgerSnapshot(QvshrLedgerState* state) noexcept;

/// The live blocks in the order in which they were made: at most `capacity` of them go to `blocks`.
/// @return how many there are, which may be more than were written.
QVSHR_LEDGER_API uint64_t QvshrLedgerLiveBlocks(QvshrLedgerBlock* blocks, uint64_t capacity) noexcept;

/// The latest error; its kind is kQvshrNoError when there is none.
QVSHR_LEDGER_API void QvshrLedgerLastError(QvshrLedgerError* error) noexcept;
/// Forgets the errors: for a test that made one on purpose.
QVSHR_LEDGER_API void QvshrLedgerClearErrors() noexcept;

/// Guard pages for the blocks made from now on (0 switches them off again): a block ends, rounded up to 16, where an
/// inaccessible page begins, and its own pages become inaccessible for ever when it is freed. A process has room for
/// about 30,000 such blocks at one time and for some ten million in all.
/// @return whether they were on before, 1 or 0.
QVSHR_LEDGER_API int32_t QvshrLedgerSetGuard(int32_t on) noexcept;

/// Makes the n-th allocation from now fail, with everything the library allocates for itself counted; 0 switches off.
QVSHR_LEDGER_API void QvshrLedgerFailAt(uint64_t n, int32_t mode) noexcept;
/// How many allocations have failed by the latest QvshrLedgerFailAt.
QVSHR_LEDGER_API uint64_t QvshrLedgerFired() noexcept;

/// How often the operation was called since the DLL was loaded or QvshrLedgerReset. `call` is a QvshrCall.
QVSHR_LEDGER_API uint64_t QvshrLedgerCalls(uint32_t call) noexcept;
/// Makes the n-th call of the operation from now fail; 0 switches off. A failing call gives what the contract names as
/// its failure: null, a negative status (OpenRegistryKey: a positive one), 0. Free, GetText and GetLength cannot fail.
QVSHR_LEDGER_API void QvshrLedgerFailCall(uint32_t call, uint64_t n, int32_t mode) noexcept;
/// How many calls of the operation have failed by the latest QvshrLedgerFailCall.
QVSHR_LEDGER_API uint64_t QvshrLedgerCallFired(uint32_t call) noexcept;

/// Scripts the answer of kQvshrCallIsWebDeployment or kQvshrCallNoDetachQuery, at process end too.
QVSHR_LEDGER_API void QvshrLedgerOverrideInt(uint32_t call, int32_t value) noexcept;
/// Takes that script back.
QVSHR_LEDGER_API void QvshrLedgerClearInt(uint32_t call) noexcept;

/// Scripts a setting, whatever qvshr.ini says.
QVSHR_LEDGER_API void QvshrLedgerOverrideSetting(const wchar_t* section, const wchar_t* key,
                                                 const wchar_t* text) noexcept;

/// Scripts the answer of GetSpecialFolder for `useDefault` 0 or 1, whatever folder is asked for. An empty text is a
/// failure, a null text takes the script back. For a failure of one single call see QvshrLedgerFailCall.
QVSHR_LEDGER_API void QvshrLedgerOverrideFolder(int32_t useDefault, const wchar_t* text) noexcept;
/// The arguments of the latest GetSpecialFolder that had a buffer; all 0 when there was none.
QVSHR_LEDGER_API void QvshrLedgerLastFolderRequest(QvshrLedgerFolderRequest* request) noexcept;

/// Takes back every script, failure and call count, and forgets the errors. Blocks, objects and guard mode stay.
QVSHR_LEDGER_API void QvshrLedgerReset() noexcept;
}
