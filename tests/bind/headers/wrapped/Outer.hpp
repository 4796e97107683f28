// Made by qvjvm-bind from wrapped.Outer. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/wrapped/Outer.hpp"
#include "detail/wrapped/Outer_Bound_.hpp"
#include "detail/wrapped/Outer_Inner.hpp"
#include "java/lang/Object.hpp"

namespace wrapped {

template <::qvjvm::origin Where>
::wrapped::Outer Outer::create(const Where& where) {
  return java_new<void()>(where);
}

template <class This>
int32_t Outer::taken() const {
  return static_cast<const This&>(*this).template java_call<"taken", int32_t()>();
}

}  // namespace wrapped
