// What client_library.dll exports: a module of its own with callbacks, which can be unloaded.
#pragma once

#include "qvjvm/qvjvm.h"

namespace qvtest {

// Adds to a java.util.List, a local reference of the calling thread, a Runnable that the library implements, which
// fails at its first call. Negative when that failed.
using GiveRunnableFn = int (*)(IQV_JavaVM* vm, void* list);
// Closes what the library has in Java: 1 when it may be unloaded.
using CloseLibraryFn = int (*)();
// How often its functions were called.
using CountCallsFn = int64_t (*)();

}  // namespace qvtest
