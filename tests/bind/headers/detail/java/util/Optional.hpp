// Made by qvjvm-bind from java.util.Optional. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Object.hpp"

namespace java::util {

/// public final class Optional
class Optional : public ::qvjvm::wrapper<Optional, "java/util/Optional", ::java::lang::Object> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " ";
};

}  // namespace java::util
