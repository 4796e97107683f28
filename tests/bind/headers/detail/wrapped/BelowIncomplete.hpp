// Made by qvjvm-bind from wrapped.BelowIncomplete. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/wrapped/Incomplete.hpp"

namespace wrapped {

/// public class BelowIncomplete extends Incomplete
class BelowIncomplete : public ::qvjvm::wrapper<BelowIncomplete, "wrapped/BelowIncomplete", ::wrapped::Incomplete> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " ";

  // public BelowIncomplete()
  template <::qvjvm::origin Where>
  [[nodiscard]] static ::wrapped::BelowIncomplete create(const Where& where);

  // public int own()
  template <class This = ::wrapped::BelowIncomplete>
  int32_t own() const;
};

}  // namespace wrapped
