// Made by qvjvm-bind from wrapped.Outer$Inner$Deepest. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/wrapped/Outer_Inner_Deepest.hpp"
#include "java/lang/Object.hpp"

namespace wrapped {

template <::qvjvm::origin Where>
::wrapped::Outer_Inner_Deepest Outer_Inner_Deepest::create(const Where& where) {
  return java_new<void()>(where);
}

template <class This>
::std::wstring Outer_Inner_Deepest::who() const {
  return static_cast<const This&>(*this).template java_call<"who", ::std::wstring()>();
}

}  // namespace wrapped
