// Makes a runtime's own folder reachable for by-name library loads while its JVM is loaded and created: compressed
// runtimes load zip.dll by name from the folder above bin\server, which PATH does not hold. Uses the process's DLL
// folder and restores it. Process-wide, so it is held as briefly as possible and only under the start-up lock or on
// the thread that creates the JVM.
#pragma once

#include <windows.h>

#include <string_view>

#include "host/host_text.h"

namespace qv {

class RuntimeFolderScope {
 public:
  // `jvmFolder` is the folder of jvm.dll; empty does nothing.
  explicit RuntimeFolderScope(std::wstring_view jvmFolder) noexcept;
  ~RuntimeFolderScope();
  RuntimeFolderScope(const RuntimeFolderScope&) = delete;
  RuntimeFolderScope& operator=(const RuntimeFolderScope&) = delete;

 private:
  HostText m_previous;
  bool m_entered = false;
  bool m_changed = false;
};

}  // namespace qv
