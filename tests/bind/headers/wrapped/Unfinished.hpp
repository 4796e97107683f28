// Made by qvjvm-bind from wrapped.Unfinished. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/wrapped/Unfinished.hpp"
#include "java/lang/Object.hpp"

namespace wrapped {

template <class This>
::std::wstring Unfinished::greeting() const {
  return static_cast<const This&>(*this).template java_call<"greeting", ::std::wstring()>();
}

template <::qvjvm::origin Where, ::qvjvm::argument<::std::wstring> A1>
::wrapped::Unfinished Unfinished::make(const Where& where, const A1& p1) {
  return java_static<"make", ::wrapped::Unfinished(::std::wstring)>(where, p1);
}

template <class This>
::std::wstring Unfinished::name() const {
  return static_cast<const This&>(*this).template java_call<"name", ::std::wstring()>();
}

}  // namespace wrapped
