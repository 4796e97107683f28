// Made by qvjvm-bind from java.util.Spliterator. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Object.hpp"

namespace java::util {

/// public interface Spliterator
class Spliterator : public ::qvjvm::wrapper<Spliterator, "java/util/Spliterator", ::java::lang::Object> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " ";
};

}  // namespace java::util
