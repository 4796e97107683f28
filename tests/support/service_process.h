// The service inside a test program, as the loader would have loaded it.
// Every test is a process of its own, so the service's state is fresh when a test begins.
// The program links the service's own objects (qv_whitebox), without its entry routine: this class calls what that
// calls.
#pragma once

#include <windows.h>

#include <utility>

#include "service/process_events.h"

namespace qvtest {

class ServiceProcess {
 public:
  ServiceProcess() noexcept { qv::OnModuleLoaded(GetModuleHandleW(nullptr)); }
  ~ServiceProcess() { Unload(); }
  ServiceProcess(const ServiceProcess&) = delete;
  ServiceProcess& operator=(const ServiceProcess&) = delete;

  // What the entry routine does at process detach; nothing the second time.
  void Unload() noexcept {
    if (std::exchange(m_loaded, false)) qv::OnModuleUnloading();
  }

 private:
  bool m_loaded = true;
};

}  // namespace qvtest
