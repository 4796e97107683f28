// Made by qvjvm-bind from wrapped.Hidden. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Object.hpp"

namespace wrapped {

/// class Hidden
class Hidden : public ::qvjvm::wrapper<Hidden, "wrapped/Hidden", ::java::lang::Object> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " ";

  // public String fromHidden()
  template <class This = ::wrapped::Hidden>
  ::std::wstring fromHidden() const;

  // public Hidden self()
  template <class This = ::wrapped::Hidden>
  ::wrapped::Hidden self() const;
};

}  // namespace wrapped
