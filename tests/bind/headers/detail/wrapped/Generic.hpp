// Made by qvjvm-bind from wrapped.Generic. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Object.hpp"

namespace java::lang {
class Comparable;
class Number;
}
namespace java::util {
class List;
class Map;
}

namespace wrapped {

/// public class Generic<T extends Comparable<? super T>, U>
class Generic : public ::qvjvm::wrapper<Generic, "wrapped/Generic", ::java::lang::Object> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " ";

  // public Generic()
  template <::qvjvm::origin Where>
  [[nodiscard]] static ::wrapped::Generic create(const Where& where);

  // public Integer box(boolean)
  template <::qvjvm::argument<bool> A1>
  ::std::optional<int32_t> box(const A1& p1) const;

  // public T first(List<T>)
  template <::qvjvm::argument<::java::util::List> A1>
  ::java::lang::Comparable first(const A1& p1) const;

  // public <V extends Number & Comparable<V>> Map<? super T, List<V[]>> mix(T, List<? extends U>, V) throws IOException
  template <::qvjvm::argument<::java::lang::Comparable> A1, ::qvjvm::argument<::java::util::List> A2, ::qvjvm::argument<::java::lang::Number> A3>
  ::java::util::Map mix(const A1& p1, const A2& p2, const A3& p3) const;

  // public int[][] table()
  template <class This = ::wrapped::Generic>
  ::qvjvm::array<::std::vector<int32_t>> table() const;

  // public Class<?> type()
  template <class This = ::wrapped::Generic>
  ::qvjvm::class_ref type() const;

  // public String[] words()
  template <class This = ::wrapped::Generic>
  ::qvjvm::array<::std::wstring> words() const;
};

}  // namespace wrapped
