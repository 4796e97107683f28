// Made by qvjvm-bind from java.util.AbstractList. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/util/AbstractList.hpp"
#include "detail/java/lang/Object.hpp"
#include "detail/java/util/Collection.hpp"
#include "detail/java/util/Comparator.hpp"
#include "detail/java/util/List.hpp"
#include "detail/java/util/ListIterator.hpp"
#include "detail/java/util/function/UnaryOperator.hpp"
#include "java/util/AbstractCollection.hpp"

namespace java::util {

template <::qvjvm::argument<int32_t> A1, ::qvjvm::argument<::java::lang::Object> A2>
void AbstractList::add(const A1& p1, const A2& p2) const {
  return this->template java_call<"add", void(int32_t, ::java::lang::Object)>(p1, p2);
}

template <::qvjvm::argument<::java::lang::Object> A1>
bool AbstractList::add(const A1& p1) const {
  return this->template java_call<"add", bool(::java::lang::Object)>(p1);
}

template <::qvjvm::argument<int32_t> A1, ::qvjvm::argument<::java::util::Collection> A2>
bool AbstractList::addAll(const A1& p1, const A2& p2) const {
  return this->template java_call<"addAll", bool(int32_t, ::java::util::Collection)>(p1, p2);
}

template <::qvjvm::argument<::java::util::Collection> A1>
bool AbstractList::addAll(const A1& p1) const {
  return this->template java_call<"addAll", bool(::java::util::Collection)>(p1);
}

template <::qvjvm::argument<int32_t> A1>
::java::lang::Object AbstractList::get(const A1& p1) const {
  return this->template java_call<"get", ::java::lang::Object(int32_t)>(p1);
}

template <::qvjvm::argument<::java::lang::Object> A1>
int32_t AbstractList::indexOf(const A1& p1) const {
  return this->template java_call<"indexOf", int32_t(::java::lang::Object)>(p1);
}

template <::qvjvm::argument<::java::lang::Object> A1>
int32_t AbstractList::lastIndexOf(const A1& p1) const {
  return this->template java_call<"lastIndexOf", int32_t(::java::lang::Object)>(p1);
}

template <class This>
::java::util::ListIterator AbstractList::listIterator() const {
  return static_cast<const This&>(*this).template java_call<"listIterator", ::java::util::ListIterator()>();
}

template <::qvjvm::argument<int32_t> A1>
::java::util::ListIterator AbstractList::listIterator(const A1& p1) const {
  return this->template java_call<"listIterator", ::java::util::ListIterator(int32_t)>(p1);
}

template <::qvjvm::argument<int32_t> A1>
::java::lang::Object AbstractList::remove(const A1& p1) const {
  return this->template java_call<"remove", ::java::lang::Object(int32_t)>(p1);
}

template <::qvjvm::argument<::java::lang::Object> A1>
bool AbstractList::remove(const A1& p1) const {
  return this->template java_call<"remove", bool(::java::lang::Object)>(p1);
}

template <::qvjvm::argument<::java::util::function::UnaryOperator> A1>
void AbstractList::replaceAll(const A1& p1) const {
  return this->template java_call<"replaceAll", void(::java::util::function::UnaryOperator)>(p1);
}

template <::qvjvm::argument<int32_t> A1, ::qvjvm::argument<::java::lang::Object> A2>
::java::lang::Object AbstractList::set(const A1& p1, const A2& p2) const {
  return this->template java_call<"set", ::java::lang::Object(int32_t, ::java::lang::Object)>(p1, p2);
}

template <::qvjvm::argument<::java::util::Comparator> A1>
void AbstractList::sort(const A1& p1) const {
  return this->template java_call<"sort", void(::java::util::Comparator)>(p1);
}

template <::qvjvm::argument<int32_t> A1, ::qvjvm::argument<int32_t> A2>
::java::util::List AbstractList::subList(const A1& p1, const A2& p2) const {
  return this->template java_call<"subList", ::java::util::List(int32_t, int32_t)>(p1, p2);
}

}  // namespace java::util
