// Made by qvjvm-bind from wrapped.Outer. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Object.hpp"

namespace wrapped {
class Outer_Bound_;
class Outer_Inner;
}

namespace wrapped {

/// public class Outer
class Outer : public ::qvjvm::wrapper<Outer, "wrapped/Outer", ::java::lang::Object> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " ";

  using Bound = ::wrapped::Outer_Bound_;
  using Inner = ::wrapped::Outer_Inner;

  // public Outer()
  template <::qvjvm::origin Where>
  [[nodiscard]] static ::wrapped::Outer create(const Where& where);

  // public int taken()
  template <class This = ::wrapped::Outer>
  int32_t taken() const;
};

}  // namespace wrapped
