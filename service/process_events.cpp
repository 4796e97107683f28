// The registry's life.
#include "service/process_events.h"

#include "base/module_handle.h"
#include "base/process_end.h"
#include "bridge/exception_text.h"
#include "service/thread_end.h"
#include "service/thread_registry.h"

namespace qv {

void OnModuleLoaded(HINSTANCE module) noexcept {
  (void)ProcessIsEnding();  // resolves its function now, while looking one up is harmless
  if (PrepareThreadEnd() && g_capturing.Prepare()) g_pThreadRegistry = ThreadRegistry::Create();
  if (g_hModule == nullptr) g_hModule = module;
}

void OnModuleUnloading() noexcept {
  if (g_pThreadRegistry != nullptr) {
    g_pThreadRegistry->OnProcessDetach();
    delete g_pThreadRegistry;
    g_pThreadRegistry = nullptr;
  }
  if (ProcessIsEnding()) return;
  ForgetThreadEnd();
  g_capturing.Forget();
}

}  // namespace qv
