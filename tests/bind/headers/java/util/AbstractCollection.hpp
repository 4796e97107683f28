// Made by qvjvm-bind from java.util.AbstractCollection. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/util/AbstractCollection.hpp"
#include "detail/java/lang/Object.hpp"
#include "detail/java/util/Collection.hpp"
#include "detail/java/util/Iterator.hpp"
#include "detail/java/util/Spliterator.hpp"
#include "detail/java/util/function/Consumer.hpp"
#include "detail/java/util/function/IntFunction.hpp"
#include "detail/java/util/function/Predicate.hpp"
#include "detail/java/util/stream/Stream.hpp"
#include "java/lang/Object.hpp"

namespace java::util {

template <::qvjvm::argument<::java::lang::Object> A1>
bool AbstractCollection::add(const A1& p1) const {
  return this->template java_call<"add", bool(::java::lang::Object)>(p1);
}

template <::qvjvm::argument<::java::util::Collection> A1>
bool AbstractCollection::addAll(const A1& p1) const {
  return this->template java_call<"addAll", bool(::java::util::Collection)>(p1);
}

template <class This>
void AbstractCollection::clear() const {
  return static_cast<const This&>(*this).template java_call<"clear", void()>();
}

template <::qvjvm::argument<::java::lang::Object> A1>
bool AbstractCollection::contains(const A1& p1) const {
  return this->template java_call<"contains", bool(::java::lang::Object)>(p1);
}

template <::qvjvm::argument<::java::util::Collection> A1>
bool AbstractCollection::containsAll(const A1& p1) const {
  return this->template java_call<"containsAll", bool(::java::util::Collection)>(p1);
}

template <::qvjvm::argument<::java::util::function::Consumer> A1>
void AbstractCollection::forEach(const A1& p1) const {
  return this->template java_call<"forEach", void(::java::util::function::Consumer)>(p1);
}

template <class This>
bool AbstractCollection::isEmpty() const {
  return static_cast<const This&>(*this).template java_call<"isEmpty", bool()>();
}

template <class This>
::java::util::Iterator AbstractCollection::iterator() const {
  return static_cast<const This&>(*this).template java_call<"iterator", ::java::util::Iterator()>();
}

template <class This>
::java::util::stream::Stream AbstractCollection::parallelStream() const {
  return static_cast<const This&>(*this).template java_call<"parallelStream", ::java::util::stream::Stream()>();
}

template <::qvjvm::argument<::java::lang::Object> A1>
bool AbstractCollection::remove(const A1& p1) const {
  return this->template java_call<"remove", bool(::java::lang::Object)>(p1);
}

template <::qvjvm::argument<::java::util::Collection> A1>
bool AbstractCollection::removeAll(const A1& p1) const {
  return this->template java_call<"removeAll", bool(::java::util::Collection)>(p1);
}

template <::qvjvm::argument<::java::util::function::Predicate> A1>
bool AbstractCollection::removeIf(const A1& p1) const {
  return this->template java_call<"removeIf", bool(::java::util::function::Predicate)>(p1);
}

template <::qvjvm::argument<::java::util::Collection> A1>
bool AbstractCollection::retainAll(const A1& p1) const {
  return this->template java_call<"retainAll", bool(::java::util::Collection)>(p1);
}

template <class This>
int32_t AbstractCollection::size() const {
  return static_cast<const This&>(*this).template java_call<"size", int32_t()>();
}

template <class This>
::java::util::Spliterator AbstractCollection::spliterator() const {
  return static_cast<const This&>(*this).template java_call<"spliterator", ::java::util::Spliterator()>();
}

template <class This>
::java::util::stream::Stream AbstractCollection::stream() const {
  return static_cast<const This&>(*this).template java_call<"stream", ::java::util::stream::Stream()>();
}

template <class This>
::qvjvm::array<::java::lang::Object> AbstractCollection::toArray() const {
  return static_cast<const This&>(*this).template java_call<"toArray", ::qvjvm::array<::java::lang::Object>()>();
}

template <::qvjvm::argument<::java::util::function::IntFunction> A1>
::qvjvm::array<::java::lang::Object> AbstractCollection::toArray(const A1& p1) const {
  return this->template java_call<"toArray", ::qvjvm::array<::java::lang::Object>(::java::util::function::IntFunction)>(p1);
}

template <::qvjvm::argument<::qvjvm::array<::java::lang::Object>> A1>
::qvjvm::array<::java::lang::Object> AbstractCollection::toArray(const A1& p1) const {
  return this->template java_call<"toArray", ::qvjvm::array<::java::lang::Object>(::qvjvm::array<::java::lang::Object>)>(p1);
}

}  // namespace java::util
