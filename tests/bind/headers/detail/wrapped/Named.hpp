// Made by qvjvm-bind from wrapped.Named. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Object.hpp"

namespace wrapped {

/// public interface Named
class Named : public ::qvjvm::wrapper<Named, "wrapped/Named", ::java::lang::Object> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " ";

  // public static final int LIMIT
  static constexpr int32_t LIMIT{7};

  // public String greeting()
  template <class This = ::wrapped::Named>
  ::std::wstring greeting() const;

  // public abstract String name()
  template <class This = ::wrapped::Named>
  ::std::wstring name() const;

  // public static String prefix()
  template <::qvjvm::origin Where>
  static ::std::wstring prefix(const Where& where);
};

}  // namespace wrapped
