// Made by qvjvm-bind from wrapped.Incomplete. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Object.hpp"

namespace wrapped {

/// public class Incomplete
class Incomplete : public ::qvjvm::wrapper<Incomplete, "wrapped/Incomplete", ::java::lang::Object> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " ";
};

}  // namespace wrapped
