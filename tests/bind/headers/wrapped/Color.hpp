// Made by qvjvm-bind from wrapped.Color. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/wrapped/Color.hpp"
#include "detail/java/lang/Enum.hpp"
#include "java/lang/Enum.hpp"

namespace wrapped {

template <::qvjvm::origin Where>
::wrapped::Color Color::DELETE_(const Where& where) {
  return Color::template static_field<"DELETE", ::wrapped::Color>(where);
}

template <::qvjvm::origin Where>
::wrapped::Color Color::GREEN(const Where& where) {
  return Color::template static_field<"GREEN", ::wrapped::Color>(where);
}

template <::qvjvm::origin Where>
::wrapped::Color Color::RED(const Where& where) {
  return Color::template static_field<"RED", ::wrapped::Color>(where);
}

template <class This>
::std::wstring Color::mood() const {
  return static_cast<const This&>(*this).template java_call<"mood", ::std::wstring()>();
}

template <::qvjvm::origin Where, ::qvjvm::argument<::qvjvm::class_ref> A1, ::qvjvm::argument<::std::wstring> A2>
::java::lang::Enum Color::valueOf(const Where& where, const A1& p1, const A2& p2) {
  return java_static<"valueOf", ::java::lang::Enum(::qvjvm::class_ref, ::std::wstring)>(where, p1, p2);
}

template <::qvjvm::origin Where, ::qvjvm::argument<::std::wstring> A1>
::wrapped::Color Color::valueOf(const Where& where, const A1& p1) {
  return java_static<"valueOf", ::wrapped::Color(::std::wstring)>(where, p1);
}

template <::qvjvm::origin Where>
::qvjvm::array<::wrapped::Color> Color::values(const Where& where) {
  return java_static<"values", ::qvjvm::array<::wrapped::Color>()>(where);
}

}  // namespace wrapped
