// Made by qvjvm-bind from java.util.Iterator. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Object.hpp"

namespace java::util {

/// public interface Iterator
class Iterator : public ::qvjvm::wrapper<Iterator, "java/util/Iterator", ::java::lang::Object> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " ";
};

}  // namespace java::util
