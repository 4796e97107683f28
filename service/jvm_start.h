// The one-time start-up: loads jvm.dll, resolves its entry points, brings the first thread into the JVM.
// g_csLoader serialises it; service/jvm_state.h says how far it came.
#pragma once

#include <windows.h>

#include <cstdint>

#include "base/lock.h"

extern qv::CriticalSection* g_csLoader;  // allocated when the module is loaded; null without memory

// 0 when a JVM was created or joined, by this call or an earlier one; else E_FAIL, and the next call tries again.
// `classPath` (may be null) is registered for the calling thread before the JVM is created. Error texts of the
// start-up are discarded here.
int32_t StartJavaVM(const char* moduleName, const wchar_t* classPath) noexcept;
