// Made by qvjvm-bind from wrapped.Outer_Bound. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/wrapped/Outer_Bound.hpp"
#include "java/lang/Object.hpp"

namespace wrapped {

template <::qvjvm::origin Where>
::wrapped::Outer_Bound Outer_Bound::create(const Where& where) {
  return java_new<void()>(where);
}

template <class This>
::std::wstring Outer_Bound::who() const {
  return static_cast<const This&>(*this).template java_call<"who", ::std::wstring()>();
}

}  // namespace wrapped
