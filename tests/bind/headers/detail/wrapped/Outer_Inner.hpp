// Made by qvjvm-bind from wrapped.Outer$Inner. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Object.hpp"

namespace wrapped {
class Outer_Inner_Deepest;
}

namespace wrapped {

/// public static class Outer.Inner
class Outer_Inner : public ::qvjvm::wrapper<Outer_Inner, "wrapped/Outer$Inner", ::java::lang::Object> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " ";

  using Deepest = ::wrapped::Outer_Inner_Deepest;

  // public Inner()
  template <::qvjvm::origin Where>
  [[nodiscard]] static ::wrapped::Outer_Inner create(const Where& where);

  // public String who()
  template <class This = ::wrapped::Outer_Inner>
  ::std::wstring who() const;
};

}  // namespace wrapped
