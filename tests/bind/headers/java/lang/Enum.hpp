// Made by qvjvm-bind from java.lang.Enum. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Enum.hpp"
#include "detail/java/util/Optional.hpp"
#include "java/lang/Object.hpp"

namespace java::lang {

template <::qvjvm::argument<::java::lang::Enum> A1>
int32_t Enum::compareTo(const A1& p1) const {
  return this->template java_call<"compareTo", int32_t(::java::lang::Enum)>(p1);
}

template <class This>
::java::util::Optional Enum::describeConstable() const {
  return static_cast<const This&>(*this).template java_call<"describeConstable", ::java::util::Optional()>();
}

template <class This>
::qvjvm::class_ref Enum::getDeclaringClass() const {
  return static_cast<const This&>(*this).template java_call<"getDeclaringClass", ::qvjvm::class_ref()>();
}

template <class This>
::std::wstring Enum::name() const {
  return static_cast<const This&>(*this).template java_call<"name", ::std::wstring()>();
}

template <class This>
int32_t Enum::ordinal() const {
  return static_cast<const This&>(*this).template java_call<"ordinal", int32_t()>();
}

template <::qvjvm::origin Where, ::qvjvm::argument<::qvjvm::class_ref> A1, ::qvjvm::argument<::std::wstring> A2>
::java::lang::Enum Enum::valueOf(const Where& where, const A1& p1, const A2& p2) {
  return java_static<"valueOf", ::java::lang::Enum(::qvjvm::class_ref, ::std::wstring)>(where, p1, p2);
}

}  // namespace java::lang
