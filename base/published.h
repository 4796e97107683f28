// A value that is written under a lock, or by one thread, and read by everybody without it: whoever reads the new value
// also sees what its writer did before.
#pragma once

#include <atomic>

namespace qv {

template <class T>
class Published {
 public:
  constexpr Published(T value) noexcept : m_value(value) {}  // NOLINT(google-explicit-constructor): it is the value
  Published(const Published&) = delete;
  Published& operator=(const Published&) = delete;

  operator T() const noexcept {  // NOLINT(google-explicit-constructor): it is the value
    return m_value.load(std::memory_order_acquire);
  }
  T operator=(T value) noexcept {  // NOLINT(misc-unconventional-assign-operator): gives the value, for chains
    m_value.store(value, std::memory_order_release);
    return value;
  }

 private:
  std::atomic<T> m_value;
};

}  // namespace qv
