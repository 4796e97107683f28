// Made by qvjvm-bind from wrapped.Hidden. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/wrapped/Hidden.hpp"
#include "java/lang/Object.hpp"

namespace wrapped {

template <class This>
::std::wstring Hidden::fromHidden() const {
  return static_cast<const This&>(*this).template java_call<"fromHidden", ::std::wstring()>();
}

template <class This>
::wrapped::Hidden Hidden::self() const {
  return static_cast<const This&>(*this).template java_call<"self", ::wrapped::Hidden()>();
}

}  // namespace wrapped
