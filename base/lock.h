// Owners for critical sections and slim locks. A guard never outlives the scope that took the lock.
#pragma once

#include <windows.h>

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

class SlimGuard {
 public:
  // With `take` false it guards nothing: for code that also runs when the other threads are gone.
  explicit SlimGuard(SRWLOCK& lock, bool take = true) noexcept : m_lock(lock), m_taken(take) {
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
