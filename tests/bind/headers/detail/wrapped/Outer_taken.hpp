// Made by qvjvm-bind from wrapped.Outer$taken. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Object.hpp"

namespace wrapped {

/// public static class Outer.taken
class Outer_taken : public ::qvjvm::wrapper<Outer_taken, "wrapped/Outer$taken", ::java::lang::Object> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " ";

  // public taken()
  template <::qvjvm::origin Where>
  [[nodiscard]] static ::wrapped::Outer_taken create(const Where& where);
};

}  // namespace wrapped
