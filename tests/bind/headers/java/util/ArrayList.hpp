// Made by qvjvm-bind from java.util.ArrayList. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/util/ArrayList.hpp"
#include "detail/java/lang/Object.hpp"
#include "detail/java/util/Collection.hpp"
#include "java/util/AbstractList.hpp"

namespace java::util {

template <::qvjvm::origin Where>
::java::util::ArrayList ArrayList::create(const Where& where) {
  return java_new<void()>(where);
}

template <::qvjvm::origin Where, ::qvjvm::argument<int32_t> A1>
::java::util::ArrayList ArrayList::create(const Where& where, const A1& p1) {
  return java_new<void(int32_t)>(where, p1);
}

template <::qvjvm::origin Where, ::qvjvm::argument<::java::util::Collection> A1>
::java::util::ArrayList ArrayList::create(const Where& where, const A1& p1) {
  return java_new<void(::java::util::Collection)>(where, p1);
}

template <class This>
::java::lang::Object ArrayList::clone() const {
  return static_cast<const This&>(*this).template java_call<"clone", ::java::lang::Object()>();
}

template <::qvjvm::argument<int32_t> A1>
void ArrayList::ensureCapacity(const A1& p1) const {
  return this->template java_call<"ensureCapacity", void(int32_t)>(p1);
}

template <class This>
void ArrayList::trimToSize() const {
  return static_cast<const This&>(*this).template java_call<"trimToSize", void()>();
}

}  // namespace java::util
