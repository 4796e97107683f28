// Made by qvjvm-bind from wrapped.Named. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/wrapped/Named.hpp"
#include "java/lang/Object.hpp"

namespace wrapped {

template <class This>
::std::wstring Named::greeting() const {
  return static_cast<const This&>(*this).template java_call<"greeting", ::std::wstring()>();
}

template <class This>
::std::wstring Named::name() const {
  return static_cast<const This&>(*this).template java_call<"name", ::std::wstring()>();
}

template <::qvjvm::origin Where>
::std::wstring Named::prefix(const Where& where) {
  return java_static<"prefix", ::std::wstring()>(where);
}

}  // namespace wrapped
