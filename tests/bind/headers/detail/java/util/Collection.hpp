// Made by qvjvm-bind from java.util.Collection. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Object.hpp"

namespace java::util {

/// public interface Collection<E> extends Iterable<E>
class Collection : public ::qvjvm::wrapper<Collection, "java/util/Collection", ::java::lang::Object> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " "
      "java/lang/Iterable ";
};

}  // namespace java::util
