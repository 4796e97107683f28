/* What callbacks.h needs of Windows' header, for compilers that have none; see client.c. */
#pragma once

typedef long LONG;
typedef void* HANDLE;
typedef struct SRWLOCK {
  void* state;
} SRWLOCK;

#define SRWLOCK_INIT \
  { 0 }
#define HEAP_ZERO_MEMORY 8

#if defined(__cplusplus)
extern "C" {
#endif
__declspec(dllimport) HANDLE __stdcall GetProcessHeap(void);
__declspec(dllimport) void* __stdcall HeapAlloc(HANDLE heap, unsigned long flags, unsigned long long size);
__declspec(dllimport) int __stdcall HeapFree(HANDLE heap, unsigned long flags, void* block);
__declspec(dllimport) void __stdcall AcquireSRWLockExclusive(SRWLOCK* lock);
__declspec(dllimport) void __stdcall ReleaseSRWLockExclusive(SRWLOCK* lock);
#if defined(__cplusplus)
}
#endif

#define InterlockedIncrement(value) __sync_add_and_fetch((value), 1)
#define InterlockedDecrement(value) __sync_sub_and_fetch((value), 1)
