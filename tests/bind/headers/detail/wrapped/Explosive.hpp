// Made by qvjvm-bind from wrapped.Explosive. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Object.hpp"

namespace wrapped {

/// public class Explosive
class Explosive : public ::qvjvm::wrapper<Explosive, "wrapped/Explosive", ::java::lang::Object> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " ";

  // public static final int CONSTANT
  static constexpr int32_t CONSTANT{12};

  // public Explosive()
  template <::qvjvm::origin Where>
  [[nodiscard]] static ::wrapped::Explosive create(const Where& where);

  // public static final int NO_CONSTANT
  template <::qvjvm::origin Where>
  static int32_t get_NO_CONSTANT(const Where& where);
};

}  // namespace wrapped
