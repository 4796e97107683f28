// What only one compiler understands. Nothing else in the tree tests for a compiler.
#pragma once

#if defined(_MSC_VER)
#define QV_NOINLINE __declspec(noinline)
#define QV_ALWAYS_INLINE __forceinline
#define QV_STRUCTURED_TRY 1  // __try and __except are part of the language
#else
#define QV_NOINLINE __attribute__((noinline))
#define QV_ALWAYS_INLINE inline __attribute__((always_inline))
#define QV_STRUCTURED_TRY 0
#endif

// A vfprintf that knows C99's formats. mingw's own does; its default is the old system C runtime's.
#if defined(__MINGW32__)
#define QV_VFPRINTF __mingw_vfprintf
#else
#define QV_VFPRINTF vfprintf
#endif
