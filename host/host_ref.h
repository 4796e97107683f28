// Owners for the host library's reference-counted objects, and the one way to read their text.
//
// A function of the host library hands out a reference, which its caller must give back: StringRef and KeyRef hold it
// and give it back at their end. Three ways in: the constructor and Reset adopt a reference that is already the
// caller's, Out() takes one from an out-parameter, Share() adds one of its own to an object that somebody else holds.
// Two ways out: Get() lends the object for as long as the owner lives, Detach() hands the reference on. A view that
// TextOf gives is valid while the object lives.
#pragma once

#include <string_view>
#include <utility>

#include "host/qvshr.h"

namespace qv {

// Owns one reference. Null is allowed and stands for "no object".
template <class T>
class HostRef {
 public:
  HostRef() noexcept = default;
  explicit HostRef(T* adopted) noexcept : m_object(adopted) {}
  HostRef(HostRef&& other) noexcept : m_object(other.Detach()) {}
  HostRef& operator=(HostRef&& other) noexcept {
    Reset(other.Detach());
    return *this;
  }
  ~HostRef() { Reset(); }

  // A reference of its own to an object that somebody else holds; null gives an empty one.
  [[nodiscard]] static HostRef Share(T* object) noexcept {
    if (object != nullptr) object->AddRef();
    return HostRef(object);
  }
  void Reset(T* adopted = nullptr) noexcept {
    T* const old = std::exchange(m_object, adopted);
    if (old != nullptr) old->Release();
  }
  // For an out-parameter; what was held before is released.
  [[nodiscard]] T** Out() noexcept {
    Reset();
    return &m_object;
  }
  [[nodiscard]] T* Get() const noexcept { return m_object; }
  [[nodiscard]] T* Detach() noexcept { return std::exchange(m_object, nullptr); }
  T* operator->() const noexcept { return m_object; }
  T& operator*() const noexcept { return *m_object; }
  explicit operator bool() const noexcept { return m_object != nullptr; }

 private:
  T* m_object = nullptr;
};

using StringRef = HostRef<IQvString>;
using KeyRef = HostRef<IQvRegKey>;

// The object's text without its terminator; an absent object is empty. Valid while the object lives.
inline std::wstring_view TextOf(IQvString* string) noexcept {
  if (string == nullptr) return {};
  const int32_t withNull = string->GetLength();
  return {string->GetText(), withNull > 0 ? static_cast<size_t>(withNull) - 1 : 0};
}
inline std::wstring_view TextOf(const StringRef& string) noexcept { return TextOf(string.Get()); }

// A new string object; an empty reference without memory.
inline StringRef MakeString(const wchar_t* text) noexcept {
  StringRef string;
  if (QvshrCreateString(text, string.Out()) < 0) (void)string.Detach();
  return string;
}

}  // namespace qv
