// Made by qvjvm-bind from wrapped.Variable. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/wrapped/Variable.hpp"
#include "detail/java/lang/Object.hpp"
#include "java/lang/Object.hpp"

namespace wrapped {

template <::qvjvm::origin Where, ::qvjvm::argument<int32_t> A1, ::qvjvm::argument<::std::wstring> A2, ::qvjvm::argument<::qvjvm::array<::java::lang::Object>> A3>
::std::wstring Variable::form(const Where& where, const A1& p1, const A2& p2, const A3& p3) {
  return java_static<"form", ::std::wstring(int32_t, ::std::wstring, ::qvjvm::array<::java::lang::Object>)>(where, p1, p2, p3);
}

template <::qvjvm::origin Where, ::qvjvm::argument<int32_t> A1, ::qvjvm::argument<::std::wstring> A2, ::qvjvm::argument<::java::lang::Object>... More>
requires(!::qvjvm::takes<int32_t, ::std::wstring, ::qvjvm::array<::java::lang::Object>>::from<A1, A2, More...> && !::qvjvm::takes<::std::wstring, ::qvjvm::array<::java::lang::Object>>::from<A1, A2, More...>)
::std::wstring Variable::form(const Where& where, const A1& p1, const A2& p2, const More&... p3) {
  return java_static<"form", ::std::wstring(int32_t, ::std::wstring, ::qvjvm::array<::java::lang::Object>)>(where, p1, p2, java_varargs<::java::lang::Object>(where, p3...));
}

template <::qvjvm::origin Where, ::qvjvm::argument<::std::wstring> A1, ::qvjvm::argument<::qvjvm::array<::java::lang::Object>> A2>
::std::wstring Variable::form(const Where& where, const A1& p1, const A2& p2) {
  return java_static<"form", ::std::wstring(::std::wstring, ::qvjvm::array<::java::lang::Object>)>(where, p1, p2);
}

template <::qvjvm::origin Where, ::qvjvm::argument<::std::wstring> A1, ::qvjvm::argument<::java::lang::Object>... More>
requires(!::qvjvm::takes<int32_t, ::std::wstring, ::qvjvm::array<::java::lang::Object>>::from<A1, More...> && !::qvjvm::takes<::std::wstring, ::qvjvm::array<::java::lang::Object>>::from<A1, More...>)
::std::wstring Variable::form(const Where& where, const A1& p1, const More&... p2) {
  return java_static<"form", ::std::wstring(::std::wstring, ::qvjvm::array<::java::lang::Object>)>(where, p1, java_varargs<::java::lang::Object>(where, p2...));
}

template <::qvjvm::origin Where, ::qvjvm::argument<::std::wstring> A1>
::std::wstring Variable::join(const Where& where, const A1& p1) {
  return java_static<"join", ::std::wstring(::std::wstring)>(where, p1);
}

template <::qvjvm::origin Where, ::qvjvm::argument<::qvjvm::array<::std::wstring>> A1>
::std::wstring Variable::join(const Where& where, const A1& p1) {
  return java_static<"join", ::std::wstring(::qvjvm::array<::std::wstring>)>(where, p1);
}

template <::qvjvm::origin Where, ::qvjvm::argument<::std::wstring>... More>
requires(!::qvjvm::takes<::std::wstring>::from<More...> && !::qvjvm::takes<::qvjvm::array<::std::wstring>>::from<More...>)
::std::wstring Variable::join(const Where& where, const More&... p1) {
  return java_static<"join", ::std::wstring(::qvjvm::array<::std::wstring>)>(where, java_varargs<::std::wstring>(where, p1...));
}

template <::qvjvm::origin Where, ::qvjvm::argument<::std::vector<int32_t>> A1>
int32_t Variable::sum(const Where& where, const A1& p1) {
  return java_static<"sum", int32_t(::std::vector<int32_t>)>(where, p1);
}

template <::qvjvm::origin Where, ::qvjvm::argument<int32_t>... More>
requires(!::qvjvm::takes<::std::vector<int32_t>>::from<More...>)
int32_t Variable::sum(const Where& where, const More&... p1) {
  return java_static<"sum", int32_t(::std::vector<int32_t>)>(where, java_varargs<int32_t>(where, p1...));
}

}  // namespace wrapped
