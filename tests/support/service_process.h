// The service inside a test program, as the loader would have loaded it.
// Its end leaves the service's state as a process begins with; Restart does so for tests that go through many starts.
// The program links the service's own objects (qv_whitebox), without its entry routine: this class calls what that
// calls.
#pragma once

#include <windows.h>

#include <new>
#include <utility>

#include "config/jvm_config_info.h"
#include "service/jvm_state.h"
#include "service/output_log.h"
#include "service/process_events.h"
#include "tests/support/pinned.h"

namespace qvtest {

class ServiceProcess : private Pinned {
 public:
  ServiceProcess() noexcept { qv::OnModuleLoaded(GetModuleHandleW(nullptr)); }
  ~ServiceProcess() { UnloadAndForget(); }

  // What the entry routine does at process detach; nothing the second time.
  void Unload() noexcept {
    if (std::exchange(m_loaded, false)) qv::OnModuleUnloading();
  }

  // The same, and then what lives in static storage is as it was when the module was loaded. The two critical sections
  // of the static initialisation stay.
  void UnloadAndForget() noexcept {
    Unload();
    g_nJvmLoadCount = g_bJvmLibraryLoaded = g_bJvmCreated = g_bJvmJoined = 0;
    g_pfnGetCreatedJavaVMs = nullptr;
    g_pfnGetDefaultJavaVMInitArgs = nullptr;
    g_pfnCreateJavaVM = nullptr;
    g_bJvmLogEnabled = 1;
    g_bJvmLogStarted = false;
    JVMConfigInfo().Destroy(0);
    new (&JVMConfigInfo()) CQV_JVMConfigInfo();
  }

  // As if the module had been unloaded and loaded again.
  void Restart() noexcept {
    UnloadAndForget();
    qv::OnModuleLoaded(GetModuleHandleW(nullptr));
    m_loaded = true;
  }

 private:
  bool m_loaded = true;
};

}  // namespace qvtest
