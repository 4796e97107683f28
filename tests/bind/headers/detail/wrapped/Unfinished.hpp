// Made by qvjvm-bind from wrapped.Unfinished. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Object.hpp"

namespace wrapped {

/// public abstract class Unfinished implements Named
class Unfinished : public ::qvjvm::wrapper<Unfinished, "wrapped/Unfinished", ::java::lang::Object> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " "
      "wrapped/Named ";

  // public String greeting()
  template <class This = ::wrapped::Unfinished>
  ::std::wstring greeting() const;

  // public static Unfinished make(String)
  template <::qvjvm::origin Where, ::qvjvm::argument<::std::wstring> A1>
  static ::wrapped::Unfinished make(const Where& where, const A1& p1);

  // public abstract String name()
  template <class This = ::wrapped::Unfinished>
  ::std::wstring name() const;
};

}  // namespace wrapped
