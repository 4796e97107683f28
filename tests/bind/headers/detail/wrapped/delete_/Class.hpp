// Made by qvjvm-bind from wrapped.delete.Class. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Object.hpp"

namespace wrapped {
class Shown;
}

namespace wrapped::delete_ {

/// public class Class
class Class : public ::qvjvm::wrapper<Class, "wrapped/delete/Class", ::java::lang::Object> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " ";

  // public Class()
  template <::qvjvm::origin Where>
  [[nodiscard]] static ::wrapped::delete_::Class create(const Where& where);

  // public Shown shown()
  template <class This = ::wrapped::delete_::Class>
  ::wrapped::Shown shown() const;
};

}  // namespace wrapped::delete_
