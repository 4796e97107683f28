// Made by qvjvm-bind from wrapped.Generic. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/wrapped/Generic.hpp"
#include "detail/java/lang/Comparable.hpp"
#include "detail/java/lang/Number.hpp"
#include "detail/java/util/List.hpp"
#include "detail/java/util/Map.hpp"
#include "java/lang/Object.hpp"

namespace wrapped {

template <::qvjvm::origin Where>
::wrapped::Generic Generic::create(const Where& where) {
  return java_new<void()>(where);
}

template <::qvjvm::argument<bool> A1>
::std::optional<int32_t> Generic::box(const A1& p1) const {
  return this->template java_call<"box", ::std::optional<int32_t>(bool)>(p1);
}

template <::qvjvm::argument<::java::util::List> A1>
::java::lang::Comparable Generic::first(const A1& p1) const {
  return this->template java_call<"first", ::java::lang::Comparable(::java::util::List)>(p1);
}

template <::qvjvm::argument<::java::lang::Comparable> A1, ::qvjvm::argument<::java::util::List> A2, ::qvjvm::argument<::java::lang::Number> A3>
::java::util::Map Generic::mix(const A1& p1, const A2& p2, const A3& p3) const {
  return this->template java_call<"mix", ::java::util::Map(::java::lang::Comparable, ::java::util::List, ::java::lang::Number)>(p1, p2, p3);
}

template <class This>
::qvjvm::array<::std::vector<int32_t>> Generic::table() const {
  return static_cast<const This&>(*this).template java_call<"table", ::qvjvm::array<::std::vector<int32_t>>()>();
}

template <class This>
::qvjvm::class_ref Generic::type() const {
  return static_cast<const This&>(*this).template java_call<"type", ::qvjvm::class_ref()>();
}

template <class This>
::qvjvm::array<::std::wstring> Generic::words() const {
  return static_cast<const This&>(*this).template java_call<"words", ::qvjvm::array<::std::wstring>()>();
}

}  // namespace wrapped
