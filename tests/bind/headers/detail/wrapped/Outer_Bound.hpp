// Made by qvjvm-bind from wrapped.Outer_Bound. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Object.hpp"

namespace wrapped {

/// public class Outer_Bound
class Outer_Bound : public ::qvjvm::wrapper<Outer_Bound, "wrapped/Outer_Bound", ::java::lang::Object> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " ";

  // public Outer_Bound()
  template <::qvjvm::origin Where>
  [[nodiscard]] static ::wrapped::Outer_Bound create(const Where& where);

  // public String who()
  template <class This = ::wrapped::Outer_Bound>
  ::std::wstring who() const;
};

}  // namespace wrapped
