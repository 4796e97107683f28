// Made by qvjvm-bind from wrapped.Overloads. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/wrapped/Overloads.hpp"
#include "detail/java/lang/CharSequence.hpp"
#include "detail/java/lang/Object.hpp"
#include "detail/java/util/Collection.hpp"
#include "detail/java/util/List.hpp"
#include "java/lang/Object.hpp"

namespace wrapped {

template <::qvjvm::origin Where>
::wrapped::Overloads Overloads::create(const Where& where) {
  return java_new<void()>(where);
}

template <::qvjvm::argument<::java::lang::Object> A1>
::std::wstring Overloads::base(const A1& p1) const {
  return this->template java_call<"base", ::std::wstring(::java::lang::Object)>(p1);
}

template <::qvjvm::argument<int8_t> A1>
::std::wstring Overloads::one(const A1& p1) const {
  return this->template java_call<"one", ::std::wstring(int8_t)>(p1);
}

template <::qvjvm::argument<wchar_t> A1>
::std::wstring Overloads::one(const A1& p1) const {
  return this->template java_call<"one", ::std::wstring(wchar_t)>(p1);
}

template <::qvjvm::argument<double> A1>
requires(!::qvjvm::takes<int8_t>::from<A1> && !::qvjvm::takes<wchar_t>::from<A1> && !::qvjvm::takes<int32_t>::from<A1> && !::qvjvm::takes<int64_t>::from<A1>)
::std::wstring Overloads::one(const A1& p1) const {
  return this->template java_call<"one", ::std::wstring(double)>(p1);
}

template <::qvjvm::argument<int32_t> A1>
requires(!::qvjvm::takes<int8_t>::from<A1> && !::qvjvm::takes<wchar_t>::from<A1>)
::std::wstring Overloads::one(const A1& p1) const {
  return this->template java_call<"one", ::std::wstring(int32_t)>(p1);
}

template <::qvjvm::argument<int64_t> A1>
requires(!::qvjvm::takes<int8_t>::from<A1> && !::qvjvm::takes<wchar_t>::from<A1> && !::qvjvm::takes<int32_t>::from<A1>)
::std::wstring Overloads::one(const A1& p1) const {
  return this->template java_call<"one", ::std::wstring(int64_t)>(p1);
}

template <::qvjvm::argument<::java::lang::CharSequence> A1>
requires(!::qvjvm::takes<::std::wstring>::from<A1>)
::std::wstring Overloads::one(const A1& p1) const {
  return this->template java_call<"one", ::std::wstring(::java::lang::CharSequence)>(p1);
}

template <::qvjvm::argument<::java::lang::Object> A1>
requires(!::qvjvm::takes<::java::lang::CharSequence>::from<A1> && !::qvjvm::takes<::std::wstring>::from<A1> && !::qvjvm::takes<::java::util::Collection>::from<A1> && !::qvjvm::takes<::java::util::List>::from<A1> && !::qvjvm::takes<::std::vector<int32_t>>::from<A1> && !::qvjvm::takes<::qvjvm::array<::java::lang::Object>>::from<A1>)
::std::wstring Overloads::one(const A1& p1) const {
  return this->template java_call<"one", ::std::wstring(::java::lang::Object)>(p1);
}

template <::qvjvm::argument<::std::wstring> A1>
::std::wstring Overloads::one(const A1& p1) const {
  return this->template java_call<"one", ::std::wstring(::std::wstring)>(p1);
}

template <::qvjvm::argument<::java::util::Collection> A1>
requires(!::qvjvm::takes<::java::util::List>::from<A1>)
::std::wstring Overloads::one(const A1& p1) const {
  return this->template java_call<"one", ::std::wstring(::java::util::Collection)>(p1);
}

template <::qvjvm::argument<::java::util::List> A1>
::std::wstring Overloads::one(const A1& p1) const {
  return this->template java_call<"one", ::std::wstring(::java::util::List)>(p1);
}

template <::qvjvm::argument<bool> A1>
::std::wstring Overloads::one(const A1& p1) const {
  return this->template java_call<"one", ::std::wstring(bool)>(p1);
}

template <::qvjvm::argument<::std::vector<int32_t>> A1>
::std::wstring Overloads::one(const A1& p1) const {
  return this->template java_call<"one", ::std::wstring(::std::vector<int32_t>)>(p1);
}

template <::qvjvm::argument<::qvjvm::array<::java::lang::Object>> A1>
::std::wstring Overloads::one(const A1& p1) const {
  return this->template java_call<"one", ::std::wstring(::qvjvm::array<::java::lang::Object>)>(p1);
}

template <class This>
::std::wstring Overloads::same() const {
  return static_cast<const This&>(*this).template java_call<"same", ::std::wstring()>();
}

template <::qvjvm::origin Where, ::qvjvm::argument<::wrapped::Overloads> A1>
::std::wstring Overloads::same(const Where& where, const A1& p1) {
  return java_static<"same", ::std::wstring(::wrapped::Overloads)>(where, p1);
}

template <::qvjvm::argument<::java::lang::Object> A1, ::qvjvm::argument<::std::wstring> A2>
::std::wstring Overloads::two(const A1& p1, const A2& p2) const {
  return this->template java_call<"two", ::std::wstring(::java::lang::Object, ::std::wstring)>(p1, p2);
}

template <::qvjvm::argument<::std::wstring> A1, ::qvjvm::argument<::java::lang::Object> A2>
::std::wstring Overloads::two(const A1& p1, const A2& p2) const {
  return this->template java_call<"two", ::std::wstring(::std::wstring, ::java::lang::Object)>(p1, p2);
}

}  // namespace wrapped
