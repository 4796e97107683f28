// A buffer for one call: small ones live on the stack, larger ones in a block of the library that the buffer owns.
// Not for sharing between threads.
#pragma once

#include <cstddef>

#include "hostlib/backend.h"

namespace qvshr {

template <size_t kInlineBytes>
class Scratch {
 public:
  Scratch() noexcept = default;
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  ~Scratch() { FreeBlock(m_block, QVSHR_CALLER); }

  [[nodiscard]] size_t SizeBytes() const noexcept { return m_sizeBytes; }
  template <class T>
  [[nodiscard]] T* As() noexcept {
    return reinterpret_cast<T*>(m_block != nullptr ? m_block : m_inline);
  }
  /// Makes the buffer at least this large; what it held is lost. On failure it stays as it was.
  [[nodiscard]] bool TryGrow(size_t bytes) noexcept {
    void* const block = AllocateBlock(bytes, QVSHR_CALLER);
    if (block == nullptr) return false;
    FreeBlock(m_block, QVSHR_CALLER);
    m_block = static_cast<std::byte*>(block);
    m_sizeBytes = bytes;
    return true;
  }

 private:
  alignas(16) std::byte m_inline[kInlineBytes];
  std::byte* m_block = nullptr;
  size_t m_sizeBytes = kInlineBytes;
};

}  // namespace qvshr
