// Made by qvjvm-bind from wrapped.Outer$taken. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/wrapped/Outer_taken.hpp"
#include "java/lang/Object.hpp"

namespace wrapped {

template <::qvjvm::origin Where>
::wrapped::Outer_taken Outer_taken::create(const Where& where) {
  return java_new<void()>(where);
}

}  // namespace wrapped
