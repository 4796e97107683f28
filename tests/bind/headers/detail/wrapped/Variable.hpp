// Made by qvjvm-bind from wrapped.Variable. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Object.hpp"

namespace java::lang {
class Object;
}

namespace wrapped {

/// public final class Variable
class Variable : public ::qvjvm::wrapper<Variable, "wrapped/Variable", ::java::lang::Object> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " ";

  // public static String form(int, String, Object...)
  template <::qvjvm::origin Where, ::qvjvm::argument<int32_t> A1, ::qvjvm::argument<::std::wstring> A2, ::qvjvm::argument<::qvjvm::array<::java::lang::Object>> A3>
  static ::std::wstring form(const Where& where, const A1& p1, const A2& p2, const A3& p3);

  template <::qvjvm::origin Where, ::qvjvm::argument<int32_t> A1, ::qvjvm::argument<::std::wstring> A2, ::qvjvm::argument<::java::lang::Object>... More>
  requires(!::qvjvm::takes<int32_t, ::std::wstring, ::qvjvm::array<::java::lang::Object>>::from<A1, A2, More...> && !::qvjvm::takes<::std::wstring, ::qvjvm::array<::java::lang::Object>>::from<A1, A2, More...>)
  static ::std::wstring form(const Where& where, const A1& p1, const A2& p2, const More&... p3);

  // public static String form(String, Object...)
  template <::qvjvm::origin Where, ::qvjvm::argument<::std::wstring> A1, ::qvjvm::argument<::qvjvm::array<::java::lang::Object>> A2>
  static ::std::wstring form(const Where& where, const A1& p1, const A2& p2);

  template <::qvjvm::origin Where, ::qvjvm::argument<::std::wstring> A1, ::qvjvm::argument<::java::lang::Object>... More>
  requires(!::qvjvm::takes<int32_t, ::std::wstring, ::qvjvm::array<::java::lang::Object>>::from<A1, More...> && !::qvjvm::takes<::std::wstring, ::qvjvm::array<::java::lang::Object>>::from<A1, More...>)
  static ::std::wstring form(const Where& where, const A1& p1, const More&... p2);

  // public static String join(String)
  template <::qvjvm::origin Where, ::qvjvm::argument<::std::wstring> A1>
  static ::std::wstring join(const Where& where, const A1& p1);

  // public static String join(String...)
  template <::qvjvm::origin Where, ::qvjvm::argument<::qvjvm::array<::std::wstring>> A1>
  static ::std::wstring join(const Where& where, const A1& p1);

  template <::qvjvm::origin Where, ::qvjvm::argument<::std::wstring>... More>
  requires(!::qvjvm::takes<::std::wstring>::from<More...> && !::qvjvm::takes<::qvjvm::array<::std::wstring>>::from<More...>)
  static ::std::wstring join(const Where& where, const More&... p1);

  // public static int sum(int...)
  template <::qvjvm::origin Where, ::qvjvm::argument<::std::vector<int32_t>> A1>
  static int32_t sum(const Where& where, const A1& p1);

  template <::qvjvm::origin Where, ::qvjvm::argument<int32_t>... More>
  requires(!::qvjvm::takes<::std::vector<int32_t>>::from<More...>)
  static int32_t sum(const Where& where, const More&... p1);
};

}  // namespace wrapped
