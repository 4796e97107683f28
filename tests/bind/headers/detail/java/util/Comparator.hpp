// Made by qvjvm-bind from java.util.Comparator. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Object.hpp"

namespace java::util {

/// public interface Comparator
class Comparator : public ::qvjvm::wrapper<Comparator, "java/util/Comparator", ::java::lang::Object> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " ";
};

}  // namespace java::util
