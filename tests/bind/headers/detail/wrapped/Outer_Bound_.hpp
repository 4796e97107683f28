// Made by qvjvm-bind from wrapped.Outer$Bound. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Object.hpp"

namespace wrapped {
class Outer;
}

namespace wrapped {

/// public class Outer.Bound
class Outer_Bound_ : public ::qvjvm::wrapper<Outer_Bound_, "wrapped/Outer$Bound", ::java::lang::Object> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " ";

  // public Bound(Outer)
  template <::qvjvm::origin Where, ::qvjvm::argument<::wrapped::Outer> A1>
  [[nodiscard]] static ::wrapped::Outer_Bound_ create(const Where& where, const A1& p1);

  // public Outer outer()
  template <class This = ::wrapped::Outer_Bound_>
  ::wrapped::Outer outer() const;
};

}  // namespace wrapped
