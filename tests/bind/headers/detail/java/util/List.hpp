// Made by qvjvm-bind from java.util.List. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Object.hpp"

namespace java::util {

/// public interface List<E> extends Collection<E>
class List : public ::qvjvm::wrapper<List, "java/util/List", ::java::lang::Object> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " "
      "java/lang/Iterable "
      "java/util/Collection ";
};

}  // namespace java::util
