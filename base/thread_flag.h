// A flag of each thread in a thread-local slot of the system's. No thread-local object of the language: those run
// destructors at a thread's end, under the loader lock.
#pragma once

#include <windows.h>

namespace qv {

class ThreadFlag {
 public:
  // False when the system has no slot left.
  [[nodiscard]] bool Prepare() noexcept {
    if (m_slot == TLS_OUT_OF_INDEXES) m_slot = TlsAlloc();
    return m_slot != TLS_OUT_OF_INDEXES;
  }
  void Forget() noexcept {
    if (m_slot != TLS_OUT_OF_INDEXES) TlsFree(m_slot);
    m_slot = TLS_OUT_OF_INDEXES;
  }
  [[nodiscard]] bool IsSet() const noexcept { return m_slot != TLS_OUT_OF_INDEXES && TlsGetValue(m_slot) != nullptr; }
  void Set(bool value) noexcept {
    if (m_slot != TLS_OUT_OF_INDEXES) TlsSetValue(m_slot, value ? this : nullptr);
  }

 private:
  DWORD m_slot = TLS_OUT_OF_INDEXES;
};

}  // namespace qv
