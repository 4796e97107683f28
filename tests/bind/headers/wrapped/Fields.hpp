// Made by qvjvm-bind from wrapped.Fields. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/wrapped/Fields.hpp"
#include "detail/java/lang/Object.hpp"
#include "detail/java/util/List.hpp"
#include "detail/wrapped/Named.hpp"
#include "java/lang/Object.hpp"

namespace wrapped {

template <::qvjvm::origin Where>
::wrapped::Fields Fields::create(const Where& where) {
  return java_new<void()>(where);
}

template <::qvjvm::origin Where>
::java::lang::Object Fields::get_NO_CONSTANT(const Where& where) {
  return Fields::template static_field<"NO_CONSTANT", ::java::lang::Object>(where);
}

template <class This>
int32_t Fields::get_fixed() const {
  return static_cast<const This&>(*this).template field<"fixed", int32_t>();
}

template <::qvjvm::origin Where>
bool Fields::get_initialized(const Where& where) {
  return Fields::template static_field<"initialized", bool>(where);
}

template <::qvjvm::origin Where, ::qvjvm::argument<bool> Value>
void Fields::set_initialized(const Where& where, const Value& value) {
  return Fields::template set_static_field<"initialized", bool>(where, ::qvjvm::detail::to_java<bool>(value));
}

template <class This>
::java::util::List Fields::get_list() const {
  return static_cast<const This&>(*this).template field<"list", ::java::util::List>();
}

template <::qvjvm::argument<::java::util::List> Value>
void Fields::set_list(const Value& value) const {
  return this->template set_field<"list", ::java::util::List>(::qvjvm::detail::to_java<::java::util::List>(value));
}

template <class This>
::wrapped::Named Fields::get_named() const {
  return static_cast<const This&>(*this).template field<"named", ::wrapped::Named>();
}

template <::qvjvm::argument<::wrapped::Named> Value>
void Fields::set_named(const Value& value) const {
  return this->template set_field<"named", ::wrapped::Named>(::qvjvm::detail::to_java<::wrapped::Named>(value));
}

template <class This>
int32_t Fields::get_number() const {
  return static_cast<const This&>(*this).template field<"number", int32_t>();
}

template <::qvjvm::argument<int32_t> Value>
void Fields::set_number(const Value& value) const {
  return this->template set_field<"number", int32_t>(::qvjvm::detail::to_java<int32_t>(value));
}

template <class This>
::std::wstring Fields::get_text() const {
  return static_cast<const This&>(*this).template field<"text", ::std::wstring>();
}

template <::qvjvm::argument<::std::wstring> Value>
void Fields::set_text(const Value& value) const {
  return this->template set_field<"text", ::std::wstring>(::qvjvm::detail::to_java<::std::wstring>(value));
}

template <class This>
int32_t Fields::name() const {
  return static_cast<const This&>(*this).template java_call<"name", int32_t()>();
}

}  // namespace wrapped
