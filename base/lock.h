// Owners for critical sections and slim locks. A guard never outlives the scope that took the lock.
#pragma once

#include <windows.h>

#include "base/process_end.h"

namespace qv {

class CriticalSectionGuard {
 public:
  explicit CriticalSectionGuard(CRITICAL_SECTION& section) noexcept : m_section(section) {
    EnterCriticalSection(&m_section);
  }
  ~CriticalSectionGuard() { LeaveCriticalSection(&m_section); }
  CriticalSectionGuard(const CriticalSectionGuard&) = delete;
  CriticalSectionGuard& operator=(const CriticalSectionGuard&) = delete;

 private:
  CRITICAL_SECTION& m_section;
};

// Takes nothing while the process ends: who held the lock may be gone, and nobody else runs.
class SlimGuard {
 public:
  explicit SlimGuard(SRWLOCK& lock) noexcept : m_lock(lock), m_taken(!ProcessIsEnding()) {
    if (m_taken) AcquireSRWLockExclusive(&m_lock);
  }
  ~SlimGuard() {
    if (m_taken) ReleaseSRWLockExclusive(&m_lock);
  }
  SlimGuard(const SlimGuard&) = delete;
  SlimGuard& operator=(const SlimGuard&) = delete;

 private:
  SRWLOCK& m_lock;
  const bool m_taken;
};

}  // namespace qv
