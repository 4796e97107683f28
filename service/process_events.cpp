// The life of the registry and of the threads' marks.
#include "service/process_events.h"

#include <utility>

#include "base/module_handle.h"
#include "base/process_end.h"
#include "service/capture_mark.h"
#include "service/thread_end.h"
#include "service/thread_registry.h"

namespace qv {

ThreadFlag g_capturing;

namespace {

void DetachCurrentThread() noexcept {
  if (!ProcessIsEnding() && g_pThreadRegistry != nullptr) g_pThreadRegistry->OnThreadDetach();
}

}  // namespace

void OnModuleLoaded(HINSTANCE module) noexcept {
  (void)ProcessIsEnding();  // resolves its function now, while looking one up is harmless
  if (PrepareThreadEnd(DetachCurrentThread) && g_capturing.Prepare()) g_pThreadRegistry = ThreadRegistry::Create();
  if (g_hModule == nullptr) g_hModule = module;
}

void OnModuleUnloading() noexcept {
  ThreadRegistry* const registry = std::exchange(g_pThreadRegistry, nullptr);
  // Waits for threads that are ending now; later ones find no registry.
  if (!ProcessIsEnding()) ForgetThreadEnd();
  if (registry != nullptr) {
    registry->OnProcessDetach();
    delete registry;
  }
  if (!ProcessIsEnding()) g_capturing.Forget();
}

}  // namespace qv
