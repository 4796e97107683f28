// Made by qvjvm-bind from wrapped.Names. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/wrapped/Names.hpp"
#include "java/lang/Object.hpp"

namespace wrapped {

template <::qvjvm::origin Where>
::wrapped::Names Names::create(const Where& where) {
  return java_new<void()>(where);
}

template <class This>
int32_t Names::Names_() const {
  return static_cast<const This&>(*this).template java_call<"Names", int32_t()>();
}

template <class This>
int32_t Names::TRUE_() const {
  return static_cast<const This&>(*this).template java_call<"TRUE", int32_t()>();
}

template <::qvjvm::argument<int32_t> A1>
int32_t Names::and_(const A1& p1) const {
  return this->template java_call<"and", int32_t(int32_t)>(p1);
}

template <class This>
int32_t Names::as_() const {
  return static_cast<const This&>(*this).template java_call<"as", int32_t()>();
}

template <class This>
int32_t Names::call_() const {
  return static_cast<const This&>(*this).template java_call<"call", int32_t()>();
}

template <class This>
int32_t Names::delete_() const {
  return static_cast<const This&>(*this).template java_call<"delete", int32_t()>();
}

template <class This>
int32_t Names::get() const {
  return static_cast<const This&>(*this).template java_call<"get", int32_t()>();
}

template <::qvjvm::origin Where, ::qvjvm::argument<int32_t> A1, ::qvjvm::argument<int32_t> A2>
int32_t Names::min_(const Where& where, const A1& p1, const A2& p2) {
  return java_static<"min", int32_t(int32_t, int32_t)>(where, p1, p2);
}

template <class This>
int32_t Names::two_lines_() const {
  return static_cast<const This&>(*this).template java_call<"two__lines", int32_t()>();
}

template <::qvjvm::argument<int32_t> A1, ::qvjvm::argument<int32_t> A2, ::qvjvm::argument<int32_t> A3>
int32_t Names::where(const A1& p1, const A2& p2, const A3& p3) const {
  return this->template java_call<"where", int32_t(int32_t, int32_t, int32_t)>(p1, p2, p3);
}

template <class This>
int32_t Names::with_dollar_() const {
  return static_cast<const This&>(*this).template java_call<"with$dollar", int32_t()>();
}

}  // namespace wrapped
