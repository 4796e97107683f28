// A pointer of each thread in a thread-local slot of the system's, and a flag on top of it. No thread-local object of
// the language: those run destructors at a thread's end, under the loader lock.
#pragma once

#include <windows.h>

#include "base/compiler.h"

namespace qv {

class ThreadSlot {
 public:
  // False when the system has no slot left; the slot then reads as null and keeps nothing.
  [[nodiscard]] bool Prepare() noexcept {
    if (m_slot == TLS_OUT_OF_INDEXES) m_slot = TlsAlloc();
    return m_slot != TLS_OUT_OF_INDEXES;
  }
  // All threads' values are gone then.
  void Forget() noexcept {
    if (m_slot != TLS_OUT_OF_INDEXES) TlsFree(m_slot);
    m_slot = TLS_OUT_OF_INDEXES;
  }
  [[nodiscard]] void* Get() const noexcept {
#if defined(_M_X64) || defined(__x86_64__)
    // Where TlsGetValue looks too (TEB.TlsSlots); every operation of the service begins with this one read.
    constexpr unsigned long kTlsSlots = 0x1480;
    if (m_slot < TLS_MINIMUM_AVAILABLE) [[likely]] {
      // NOLINTNEXTLINE(performance-no-int-to-ptr): the intrinsic gives the word as a number
      return reinterpret_cast<void*>(__readgsqword(kTlsSlots + m_slot * static_cast<unsigned long>(sizeof(void*))));
    }
#endif
    return m_slot != TLS_OUT_OF_INDEXES ? TlsGetValue(m_slot) : nullptr;
  }
  // False when it is not kept: without a slot, or when the thread's first value in a late slot finds no memory.
  bool Set(void* value) noexcept { return m_slot != TLS_OUT_OF_INDEXES && TlsSetValue(m_slot, value) != FALSE; }

 private:
  DWORD m_slot = TLS_OUT_OF_INDEXES;
};

class ThreadFlag : private ThreadSlot {
 public:
  using ThreadSlot::Forget;
  using ThreadSlot::Prepare;
  [[nodiscard]] bool IsSet() const noexcept { return Get() != nullptr; }
  bool Set(bool value) noexcept { return ThreadSlot::Set(value ? this : nullptr); }
};

}  // namespace qv
