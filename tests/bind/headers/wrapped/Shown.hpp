// Made by qvjvm-bind from wrapped.Shown. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/wrapped/Shown.hpp"
#include "wrapped/Hidden.hpp"

namespace wrapped {

template <::qvjvm::origin Where, ::qvjvm::argument<int32_t> A1>
::wrapped::Shown Shown::create(const Where& where, const A1& p1) {
  return java_new<void(int32_t)>(where, p1);
}

template <::qvjvm::argument<::wrapped::Shown> A1>
int32_t Shown::compareTo(const A1& p1) const {
  return this->template java_call<"compareTo", int32_t(::wrapped::Shown)>(p1);
}

template <class This>
::std::wstring Shown::greeting() const {
  return static_cast<const This&>(*this).template java_call<"greeting", ::std::wstring()>();
}

template <class This>
::std::wstring Shown::name() const {
  return static_cast<const This&>(*this).template java_call<"name", ::std::wstring()>();
}

template <class This>
::wrapped::Shown Shown::self() const {
  return static_cast<const This&>(*this).template java_call<"self", ::wrapped::Shown()>();
}

}  // namespace wrapped
