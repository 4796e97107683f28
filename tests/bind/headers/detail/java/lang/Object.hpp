// Made by qvjvm-bind from java.lang.Object. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "qvjvm/client/wrappers.hpp"

namespace java::lang {

/// public class Object
class Object : public ::qvjvm::wrapper<Object, "java/lang/Object"> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " ";

  // public Object()
  template <::qvjvm::origin Where>
  [[nodiscard]] static ::java::lang::Object create(const Where& where);

  // public boolean equals(Object)
  template <::qvjvm::argument<::java::lang::Object> A1>
  bool equals(const A1& p1) const;

  // public final Class<?> getClass()
  template <class This = ::java::lang::Object>
  ::qvjvm::class_ref getClass() const;

  // public int hashCode()
  template <class This = ::java::lang::Object>
  int32_t hashCode() const;

  // public final void notify()
  template <class This = ::java::lang::Object>
  void notify() const;

  // public final void notifyAll()
  template <class This = ::java::lang::Object>
  void notifyAll() const;

  // public String toString()
  template <class This = ::java::lang::Object>
  ::std::wstring toString() const;

  // public final void wait() throws InterruptedException
  template <class This = ::java::lang::Object>
  void wait() const;

  // public final void wait(long) throws InterruptedException
  template <::qvjvm::argument<int64_t> A1>
  void wait(const A1& p1) const;

  // public final void wait(long, int) throws InterruptedException
  template <::qvjvm::argument<int64_t> A1, ::qvjvm::argument<int32_t> A2>
  void wait(const A1& p1, const A2& p2) const;
};

}  // namespace java::lang
