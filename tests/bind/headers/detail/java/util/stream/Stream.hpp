// Made by qvjvm-bind from java.util.stream.Stream. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Object.hpp"

namespace java::util::stream {

/// public interface Stream extends BaseStream
class Stream : public ::qvjvm::wrapper<Stream, "java/util/stream/Stream", ::java::lang::Object> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " "
      "java/lang/AutoCloseable "
      "java/util/stream/BaseStream ";
};

}  // namespace java::util::stream
