// What only one compiler understands. Nothing else in the tree tests for a compiler.
#pragma once

// The words that a processor's instruction reads; mingw's windows.h has them.
#if !defined(__MINGW32__)
#include <intrin.h>
#endif

#if defined(_MSC_VER)
#define QV_NOINLINE __declspec(noinline)
#define QV_ALWAYS_INLINE __forceinline
#else
#define QV_NOINLINE __attribute__((noinline))
#define QV_ALWAYS_INLINE inline __attribute__((always_inline))
#endif

// Whether __try and __except are part of the language. A build may say so itself: clang for Microsoft's ABI has them.
#if !defined(QV_STRUCTURED_TRY)
#if defined(_MSC_VER)
#define QV_STRUCTURED_TRY 1
#else
#define QV_STRUCTURED_TRY 0
#endif
#endif

// A vfprintf that knows C99's formats. mingw's own does; its default is the old system C runtime's.
#if defined(__MINGW32__)
#define QV_VFPRINTF __mingw_vfprintf
#else
#define QV_VFPRINTF vfprintf
#endif

// That a function's arguments are those of a format of C99's. mingw's own formats are g++'s default, and clang knows no
// others.
#if defined(__clang__)
#define QV_PRINTF(text, first) __attribute__((format(printf, text, first)))
#elif defined(__GNUC__)
#define QV_PRINTF(text, first) __attribute__((format(gnu_printf, text, first)))
#else
#define QV_PRINTF(text, first)
#endif

// Which lock guards what, for the compiler that can check it (-Wthread-safety); nothing for the others.
#if defined(__clang__)
#define QV_THREAD_SAFETY(attribute) __attribute__((attribute))
#else
#define QV_THREAD_SAFETY(attribute)
#endif
#define QV_CAPABILITY(kind) QV_THREAD_SAFETY(capability(kind))  // a type that is a lock
#define QV_SCOPED_CAPABILITY QV_THREAD_SAFETY(scoped_lockable)  // a type that holds one as long as it lives
#define QV_GUARDED_BY(lock) QV_THREAD_SAFETY(guarded_by(lock))
#define QV_PT_GUARDED_BY(lock) QV_THREAD_SAFETY(pt_guarded_by(lock))  // what the pointer points to
#define QV_REQUIRES(lock) QV_THREAD_SAFETY(requires_capability(lock))
#define QV_EXCLUDES(lock) QV_THREAD_SAFETY(locks_excluded(lock))
#define QV_ACQUIRE(...) QV_THREAD_SAFETY(acquire_capability(__VA_ARGS__))
#define QV_RELEASE(...) QV_THREAD_SAFETY(release_capability(__VA_ARGS__))
#define QV_LOCKS_UNCHECKED QV_THREAD_SAFETY(no_thread_safety_analysis)  // says beside it why none is needed
