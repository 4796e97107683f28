// Made by qvjvm-bind from wrapped.delete.Class. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/wrapped/delete_/Class.hpp"
#include "detail/wrapped/Shown.hpp"
#include "java/lang/Object.hpp"

namespace wrapped::delete_ {

template <::qvjvm::origin Where>
::wrapped::delete_::Class Class::create(const Where& where) {
  return java_new<void()>(where);
}

template <class This>
::wrapped::Shown Class::shown() const {
  return static_cast<const This&>(*this).template java_call<"shown", ::wrapped::Shown()>();
}

}  // namespace wrapped::delete_
