// Made by qvjvm-bind from java.util.function.IntFunction. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Object.hpp"

namespace java::util::function {

/// public interface IntFunction
class IntFunction : public ::qvjvm::wrapper<IntFunction, "java/util/function/IntFunction", ::java::lang::Object> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " ";
};

}  // namespace java::util::function
