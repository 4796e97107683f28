// Made by qvjvm-bind from java.lang.CharSequence. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Object.hpp"

namespace java::lang {

/// public interface CharSequence
class CharSequence : public ::qvjvm::wrapper<CharSequence, "java/lang/CharSequence", ::java::lang::Object> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " ";
};

}  // namespace java::lang
