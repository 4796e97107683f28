// What the service does when its module is loaded, a thread ends, and its module goes. Called by the entry routine,
// under the loader lock: nothing here loads, waits or calls Java, but for what OnProcessDetach is made to do.
#pragma once

#include <windows.h>

namespace qv {

void OnModuleLoaded(HINSTANCE module) noexcept;
void OnModuleUnloading() noexcept;  // also at process end

}  // namespace qv
