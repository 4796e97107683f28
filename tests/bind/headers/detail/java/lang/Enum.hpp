// Made by qvjvm-bind from java.lang.Enum. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Object.hpp"

namespace java::util {
class Optional;
}

namespace java::lang {

/// public abstract class Enum<E extends Enum<E>> implements Constable, Comparable<E>, Serializable
class Enum : public ::qvjvm::wrapper<Enum, "java/lang/Enum", ::java::lang::Object> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " "
      "java/io/Serializable "
      "java/lang/Comparable "
      "java/lang/constant/Constable ";

  // public final int compareTo(E)
  template <::qvjvm::argument<::java::lang::Enum> A1>
  int32_t compareTo(const A1& p1) const;

  // public final Optional<Enum.EnumDesc<E>> describeConstable()
  template <class This = ::java::lang::Enum>
  ::java::util::Optional describeConstable() const;

  // public final Class<E> getDeclaringClass()
  template <class This = ::java::lang::Enum>
  ::qvjvm::class_ref getDeclaringClass() const;

  // public final String name()
  template <class This = ::java::lang::Enum>
  ::std::wstring name() const;

  // public final int ordinal()
  template <class This = ::java::lang::Enum>
  int32_t ordinal() const;

  // public static <T extends Enum<T>> T valueOf(Class<T>, String)
  template <::qvjvm::origin Where, ::qvjvm::argument<::qvjvm::class_ref> A1, ::qvjvm::argument<::std::wstring> A2>
  static ::java::lang::Enum valueOf(const Where& where, const A1& p1, const A2& p2);
};

}  // namespace java::lang
