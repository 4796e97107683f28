// One word of process-wide state.
#include "base/module_handle.h"

HINSTANCE g_hModule = nullptr;
