// The module that this code was loaded as, the home of its resources.
#pragma once

#include <windows.h>

// Stored at the first process attach, never changed afterwards.
extern HINSTANCE g_hModule;

namespace qv {

// From the first true on the module stays for the life of the process, whoever frees it.
bool KeepModuleLoaded() noexcept;

}  // namespace qv
