// Made by qvjvm-bind from wrapped.BelowIncomplete. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/wrapped/BelowIncomplete.hpp"
#include "java/lang/Object.hpp"

namespace wrapped {

template <::qvjvm::origin Where>
::wrapped::BelowIncomplete BelowIncomplete::create(const Where& where) {
  return java_new<void()>(where);
}

template <class This>
int32_t BelowIncomplete::own() const {
  return static_cast<const This&>(*this).template java_call<"own", int32_t()>();
}

}  // namespace wrapped
