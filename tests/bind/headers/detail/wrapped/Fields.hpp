// Made by qvjvm-bind from wrapped.Fields. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Object.hpp"

namespace java::lang {
class Object;
}
namespace java::util {
class List;
}
namespace wrapped {
class Named;
}

namespace wrapped {

/// public class Fields
class Fields : public ::qvjvm::wrapper<Fields, "wrapped/Fields", ::java::lang::Object> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " ";

  // public static final double ENDLESS
  static constexpr double ENDLESS{-::std::numeric_limits<double>::infinity()};
  // public static final int ERROR
  static constexpr int32_t ERROR_{3};
  // public static final float HALF
  static constexpr float HALF{0.5F};
  // public static final int LEAST
  static constexpr int32_t LEAST{-2147483647 - 1};
  // public static final long LEAST_LONG
  static constexpr int64_t LEAST_LONG{-9223372036854775807LL - 1};
  // public static final char LETTER
  static constexpr wchar_t LETTER{static_cast<wchar_t>(228)};
  // public static final double NOT
  static constexpr double NOT{::std::numeric_limits<double>::quiet_NaN()};
  // public static final short SHORT
  static constexpr int16_t SHORT{30000};
  // public static final byte SMALL
  static constexpr int8_t SMALL{-128};
  // public static final double TENTH
  static constexpr double TENTH{0.1};
  // public static final String TEXT
  static constexpr ::std::wstring_view TEXT_{L"Gr\xFC" L"\xDF" L"e \"x\" \\ \x3F" L"\x3F" L" 1\x0" L"1", 18};
  // public static final boolean YES
  static constexpr bool YES{true};
  // public static final int name
  static constexpr int32_t name_{4};

  // public Fields()
  template <::qvjvm::origin Where>
  [[nodiscard]] static ::wrapped::Fields create(const Where& where);

  // public static final Object NO_CONSTANT
  template <::qvjvm::origin Where>
  static ::java::lang::Object get_NO_CONSTANT(const Where& where);

  // public final int fixed
  template <class This = ::wrapped::Fields>
  int32_t get_fixed() const;

  // public static boolean initialized
  template <::qvjvm::origin Where>
  static bool get_initialized(const Where& where);

  template <::qvjvm::origin Where, ::qvjvm::argument<bool> Value>
  static void set_initialized(const Where& where, const Value& value);

  // public List<String> list
  template <class This = ::wrapped::Fields>
  ::java::util::List get_list() const;

  template <::qvjvm::argument<::java::util::List> Value>
  void set_list(const Value& value) const;

  // public Named named
  template <class This = ::wrapped::Fields>
  ::wrapped::Named get_named() const;

  template <::qvjvm::argument<::wrapped::Named> Value>
  void set_named(const Value& value) const;

  // public int number
  template <class This = ::wrapped::Fields>
  int32_t get_number() const;

  template <::qvjvm::argument<int32_t> Value>
  void set_number(const Value& value) const;

  // public String text
  template <class This = ::wrapped::Fields>
  ::std::wstring get_text() const;

  template <::qvjvm::argument<::std::wstring> Value>
  void set_text(const Value& value) const;

  // public int name()
  template <class This = ::wrapped::Fields>
  int32_t name() const;
};

}  // namespace wrapped
