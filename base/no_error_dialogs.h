// While one lives, a library file that is broken or not there stops this thread at no system dialog. The thread's error
// mode is the host's again afterwards.
#pragma once

#include <windows.h>

namespace qv {

class NoErrorDialogs {
 public:
  NoErrorDialogs() noexcept
      : m_changed(SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &m_previous) != FALSE) {}
  ~NoErrorDialogs() {
    if (m_changed) SetThreadErrorMode(m_previous, nullptr);
  }
  NoErrorDialogs(const NoErrorDialogs&) = delete;
  NoErrorDialogs& operator=(const NoErrorDialogs&) = delete;

 private:
  DWORD m_previous = 0;
  const bool m_changed;
};

}  // namespace qv
