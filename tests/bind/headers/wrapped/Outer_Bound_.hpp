// Made by qvjvm-bind from wrapped.Outer$Bound. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/wrapped/Outer_Bound_.hpp"
#include "detail/wrapped/Outer.hpp"
#include "java/lang/Object.hpp"

namespace wrapped {

template <::qvjvm::origin Where, ::qvjvm::argument<::wrapped::Outer> A1>
::wrapped::Outer_Bound_ Outer_Bound_::create(const Where& where, const A1& p1) {
  return java_new<void(::wrapped::Outer)>(where, p1);
}

template <class This>
::wrapped::Outer Outer_Bound_::outer() const {
  return static_cast<const This&>(*this).template java_call<"outer", ::wrapped::Outer()>();
}

}  // namespace wrapped
