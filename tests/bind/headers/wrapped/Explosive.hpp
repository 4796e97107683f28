// Made by qvjvm-bind from wrapped.Explosive. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/wrapped/Explosive.hpp"
#include "java/lang/Object.hpp"

namespace wrapped {

template <::qvjvm::origin Where>
::wrapped::Explosive Explosive::create(const Where& where) {
  return java_new<void()>(where);
}

template <::qvjvm::origin Where>
int32_t Explosive::get_NO_CONSTANT(const Where& where) {
  return Explosive::template static_field<"NO_CONSTANT", int32_t>(where);
}

}  // namespace wrapped
