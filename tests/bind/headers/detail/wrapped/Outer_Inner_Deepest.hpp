// Made by qvjvm-bind from wrapped.Outer$Inner$Deepest. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Object.hpp"

namespace wrapped {

/// public static class Outer.Inner.Deepest
class Outer_Inner_Deepest : public ::qvjvm::wrapper<Outer_Inner_Deepest, "wrapped/Outer$Inner$Deepest", ::java::lang::Object> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " ";

  // public Deepest()
  template <::qvjvm::origin Where>
  [[nodiscard]] static ::wrapped::Outer_Inner_Deepest create(const Where& where);

  // public String who()
  template <class This = ::wrapped::Outer_Inner_Deepest>
  ::std::wstring who() const;
};

}  // namespace wrapped
