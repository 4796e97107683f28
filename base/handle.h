// Owners for what Windows hands out by number and wants back: kernel objects and counted modules.
// An owner is the only one who gives its handle back. Get() lends it; Release() gives it away; nothing else moves it
// but a move. Null, and INVALID_HANDLE_VALUE for kernel objects, mean that there is nothing to give back. A module that
// GetModuleHandle returned was not counted and is nobody's to own.
#pragma once

#include <windows.h>

#include <utility>

namespace qv {

template <class Kind>
class Owner {
 public:
  using Type = typename Kind::Type;

  Owner() noexcept = default;
  explicit Owner(Type adopted) noexcept : m_handle(adopted) {}
  Owner(Owner&& other) noexcept : m_handle(other.Release()) {}
  Owner& operator=(Owner&& other) noexcept {
    Reset(other.Release());
    return *this;
  }
  ~Owner() { Reset(); }

  [[nodiscard]] Type Get() const noexcept { return m_handle; }
  explicit operator bool() const noexcept { return Kind::IsHeld(m_handle); }
  [[nodiscard]] Type Release() noexcept { return std::exchange(m_handle, Type{}); }
  void Reset(Type adopted = Type{}) noexcept {
    const Type old = std::exchange(m_handle, adopted);
    if (Kind::IsHeld(old)) Kind::GiveBack(old);
  }

 private:
  Type m_handle = Type{};
};

struct KernelObject {
  using Type = HANDLE;
  static bool IsHeld(HANDLE handle) noexcept { return handle != nullptr && handle != INVALID_HANDLE_VALUE; }
  static void GiveBack(HANDLE handle) noexcept { CloseHandle(handle); }
};
using Handle = Owner<KernelObject>;

struct CountedModule {
  using Type = HMODULE;
  static bool IsHeld(HMODULE module) noexcept { return module != nullptr; }
  static void GiveBack(HMODULE module) noexcept { FreeLibrary(module); }
};
using Library = Owner<CountedModule>;

}  // namespace qv
