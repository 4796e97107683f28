// Made by qvjvm-bind from wrapped.Names. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Object.hpp"

namespace wrapped {

/// public class Names
class Names : public ::qvjvm::wrapper<Names, "wrapped/Names", ::java::lang::Object> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " ";

  // public Names()
  template <::qvjvm::origin Where>
  [[nodiscard]] static ::wrapped::Names create(const Where& where);

  // public int Names()
  template <class This = ::wrapped::Names>
  int32_t Names_() const;

  // public int TRUE()
  template <class This = ::wrapped::Names>
  int32_t TRUE_() const;

  // public int and(int)
  template <::qvjvm::argument<int32_t> A1>
  int32_t and_(const A1& p1) const;

  // public int as()
  template <class This = ::wrapped::Names>
  int32_t as_() const;

  // public int call()
  template <class This = ::wrapped::Names>
  int32_t call_() const;

  // public int delete()
  template <class This = ::wrapped::Names>
  int32_t delete_() const;

  // public int get()
  template <class This = ::wrapped::Names>
  int32_t get() const;

  // public static int min(int, int)
  template <::qvjvm::origin Where, ::qvjvm::argument<int32_t> A1, ::qvjvm::argument<int32_t> A2>
  static int32_t min_(const Where& where, const A1& p1, const A2& p2);

  // public int two__lines()
  template <class This = ::wrapped::Names>
  int32_t two_lines_() const;

  // public int where(int, int, int)
  template <::qvjvm::argument<int32_t> A1, ::qvjvm::argument<int32_t> A2, ::qvjvm::argument<int32_t> A3>
  int32_t where(const A1& p1, const A2& p2, const A3& p3) const;

  // public int with$dollar()
  template <class This = ::wrapped::Names>
  int32_t with_dollar_() const;
};

}  // namespace wrapped
