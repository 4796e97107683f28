// Made by qvjvm-bind from java.util.function.Predicate. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Object.hpp"

namespace java::util::function {

/// public interface Predicate
class Predicate : public ::qvjvm::wrapper<Predicate, "java/util/function/Predicate", ::java::lang::Object> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " ";
};

}  // namespace java::util::function
