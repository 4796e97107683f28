// Made by qvjvm-bind from wrapped.Color. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Enum.hpp"

namespace java::lang {
class Enum;
}

namespace wrapped {

/// public enum Color extends Enum<Color>
class Color : public ::qvjvm::wrapper<Color, "wrapped/Color", ::java::lang::Enum> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " "
      "java/io/Serializable "
      "java/lang/Comparable "
      "java/lang/constant/Constable ";

  // public static final Color DELETE
  template <::qvjvm::origin Where>
  static ::wrapped::Color DELETE_(const Where& where);

  // public static final Color GREEN
  template <::qvjvm::origin Where>
  static ::wrapped::Color GREEN(const Where& where);

  // public static final Color RED
  template <::qvjvm::origin Where>
  static ::wrapped::Color RED(const Where& where);

  // public String mood()
  template <class This = ::wrapped::Color>
  ::std::wstring mood() const;

  // public static <T extends Enum<T>> T valueOf(Class<T>, String)
  template <::qvjvm::origin Where, ::qvjvm::argument<::qvjvm::class_ref> A1, ::qvjvm::argument<::std::wstring> A2>
  static ::java::lang::Enum valueOf(const Where& where, const A1& p1, const A2& p2);

  // public static Color valueOf(String)
  template <::qvjvm::origin Where, ::qvjvm::argument<::std::wstring> A1>
  static ::wrapped::Color valueOf(const Where& where, const A1& p1);

  // public static Color[] values()
  template <::qvjvm::origin Where>
  static ::qvjvm::array<::wrapped::Color> values(const Where& where);
};

}  // namespace wrapped
