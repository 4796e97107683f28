// Made by qvjvm-bind from wrapped.MoreOverloads. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/wrapped/MoreOverloads.hpp"
#include "detail/java/lang/Object.hpp"
#include "wrapped/Overloads.hpp"

namespace wrapped {

template <::qvjvm::origin Where>
::wrapped::MoreOverloads MoreOverloads::create(const Where& where) {
  return java_new<void()>(where);
}

template <::qvjvm::argument<::java::lang::Object> A1>
requires(!::qvjvm::takes<::std::wstring>::from<A1>)
::std::wstring MoreOverloads::base(const A1& p1) const {
  return this->template java_call<"base", ::std::wstring(::java::lang::Object)>(p1);
}

template <::qvjvm::argument<::std::wstring> A1>
::std::wstring MoreOverloads::base(const A1& p1) const {
  return this->template java_call<"base", ::std::wstring(::std::wstring)>(p1);
}

}  // namespace wrapped
