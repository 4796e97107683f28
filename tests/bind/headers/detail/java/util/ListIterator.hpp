// Made by qvjvm-bind from java.util.ListIterator. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Object.hpp"

namespace java::util {

/// public interface ListIterator extends Iterator
class ListIterator : public ::qvjvm::wrapper<ListIterator, "java/util/ListIterator", ::java::lang::Object> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " "
      "java/util/Iterator ";
};

}  // namespace java::util
