// Made by qvjvm-bind from java.lang.Number. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Object.hpp"

namespace java::lang {

/// public abstract class Number implements Serializable
class Number : public ::qvjvm::wrapper<Number, "java/lang/Number", ::java::lang::Object> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " "
      "java/io/Serializable ";
};

}  // namespace java::lang
