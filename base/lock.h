// The two kinds of lock and their guards. A guard never outlives the scope that took the lock.
// Clang checks who holds what (base/compiler.h).
#pragma once

#include <windows.h>

#include "base/compiler.h"
#include "base/process_end.h"

namespace qv {

// A thread that holds it may take it again.
class QV_CAPABILITY("critical section") CriticalSection {
 public:
  CriticalSection() noexcept { InitializeCriticalSection(&m_section); }
  ~CriticalSection() { DeleteCriticalSection(&m_section); }
  CriticalSection(const CriticalSection&) = delete;
  CriticalSection& operator=(const CriticalSection&) = delete;

  void Enter() noexcept QV_ACQUIRE() { EnterCriticalSection(&m_section); }
  void Leave() noexcept QV_RELEASE() { LeaveCriticalSection(&m_section); }

 private:
  CRITICAL_SECTION m_section;
};

class QV_SCOPED_CAPABILITY CriticalSectionGuard {
 public:
  explicit CriticalSectionGuard(CriticalSection& section) noexcept QV_ACQUIRE(section) : m_section(section) {
    m_section.Enter();
  }
  ~CriticalSectionGuard() QV_RELEASE() { m_section.Leave(); }
  CriticalSectionGuard(const CriticalSectionGuard&) = delete;
  CriticalSectionGuard& operator=(const CriticalSectionGuard&) = delete;

 private:
  CriticalSection& m_section;
};

class QV_CAPABILITY("slim lock") SlimLock {
 public:
  SlimLock() noexcept = default;
  SlimLock(const SlimLock&) = delete;
  SlimLock& operator=(const SlimLock&) = delete;

  void Take() noexcept QV_ACQUIRE() { AcquireSRWLockExclusive(&m_lock); }
  void Give() noexcept QV_RELEASE() { ReleaseSRWLockExclusive(&m_lock); }

 private:
  SRWLOCK m_lock = SRWLOCK_INIT;
};

// Takes nothing while the process ends: who held the lock may be gone, and nobody else runs.
class QV_SCOPED_CAPABILITY SlimGuard {
 public:
  explicit SlimGuard(SlimLock& lock) noexcept QV_ACQUIRE(lock) QV_LOCKS_UNCHECKED : m_lock(lock),
                                                                                    m_taken(!ProcessIsEnding()) {
    if (m_taken) m_lock.Take();
  }
  ~SlimGuard() QV_RELEASE() QV_LOCKS_UNCHECKED {
    if (m_taken) m_lock.Give();
  }
  SlimGuard(const SlimGuard&) = delete;
  SlimGuard& operator=(const SlimGuard&) = delete;

 private:
  SlimLock& m_lock;
  const bool m_taken;
};

}  // namespace qv
