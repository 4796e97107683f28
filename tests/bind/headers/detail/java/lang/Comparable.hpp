// Made by qvjvm-bind from java.lang.Comparable. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Object.hpp"

namespace java::lang {

/// public interface Comparable<T>
class Comparable : public ::qvjvm::wrapper<Comparable, "java/lang/Comparable", ::java::lang::Object> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " ";
};

}  // namespace java::lang
