// Made by qvjvm-bind from java.lang.Object. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Object.hpp"

namespace java::lang {

template <::qvjvm::origin Where>
::java::lang::Object Object::create(const Where& where) {
  return java_new<void()>(where);
}

template <::qvjvm::argument<::java::lang::Object> A1>
bool Object::equals(const A1& p1) const {
  return this->template java_call<"equals", bool(::java::lang::Object)>(p1);
}

template <class This>
::qvjvm::class_ref Object::getClass() const {
  return static_cast<const This&>(*this).template java_call<"getClass", ::qvjvm::class_ref()>();
}

template <class This>
int32_t Object::hashCode() const {
  return static_cast<const This&>(*this).template java_call<"hashCode", int32_t()>();
}

template <class This>
void Object::notify() const {
  return static_cast<const This&>(*this).template java_call<"notify", void()>();
}

template <class This>
void Object::notifyAll() const {
  return static_cast<const This&>(*this).template java_call<"notifyAll", void()>();
}

template <class This>
::std::wstring Object::toString() const {
  return static_cast<const This&>(*this).template java_call<"toString", ::std::wstring()>();
}

template <class This>
void Object::wait() const {
  return static_cast<const This&>(*this).template java_call<"wait", void()>();
}

template <::qvjvm::argument<int64_t> A1>
void Object::wait(const A1& p1) const {
  return this->template java_call<"wait", void(int64_t)>(p1);
}

template <::qvjvm::argument<int64_t> A1, ::qvjvm::argument<int32_t> A2>
void Object::wait(const A1& p1, const A2& p2) const {
  return this->template java_call<"wait", void(int64_t, int32_t)>(p1, p2);
}

}  // namespace java::lang
