// Made by qvjvm-bind from java.util.function.UnaryOperator. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Object.hpp"

namespace java::util::function {

/// public interface UnaryOperator extends Function
class UnaryOperator : public ::qvjvm::wrapper<UnaryOperator, "java/util/function/UnaryOperator", ::java::lang::Object> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " "
      "java/util/function/Function ";
};

}  // namespace java::util::function
