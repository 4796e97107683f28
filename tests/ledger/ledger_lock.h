// The lock of one part of the ledger, for one scope. At process end a thread may have been killed while it held the
// lock; nothing may wait then, and the scope goes on without it, since no other thread is left.
#pragma once

#include <windows.h>

#include "hostlib/backend.h"

namespace qvshr {

class LedgerLock {
 public:
  explicit LedgerLock(SRWLOCK& lock) noexcept : m_lock(lock) {
    if (ProcessIsEnding()) {
      m_held = TryAcquireSRWLockExclusive(&m_lock) != 0;
    } else {
      AcquireSRWLockExclusive(&m_lock);
      m_held = true;
    }
  }
  LedgerLock(const LedgerLock&) = delete;
  LedgerLock& operator=(const LedgerLock&) = delete;
  ~LedgerLock() {
    if (m_held) ReleaseSRWLockExclusive(&m_lock);
  }

  /// False when a killed thread may have left the guarded data half changed.
  [[nodiscard]] bool Held() const noexcept { return m_held; }

 private:
  SRWLOCK& m_lock;
  bool m_held = false;
};

/// Whatever the library allocates, for itself too: counted and scripted like an operation, none of which has this
/// number.
inline constexpr QvshrCall kEveryAllocation{};

/// Back to no scripts, failures and counts.
void ResetScripts() noexcept;

}  // namespace qvshr
