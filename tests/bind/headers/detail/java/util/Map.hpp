// Made by qvjvm-bind from java.util.Map. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Object.hpp"

namespace java::util {

/// public interface Map
class Map : public ::qvjvm::wrapper<Map, "java/util/Map", ::java::lang::Object> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " ";
};

}  // namespace java::util
