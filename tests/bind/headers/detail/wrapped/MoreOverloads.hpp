// Made by qvjvm-bind from wrapped.MoreOverloads. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/wrapped/Overloads.hpp"

namespace java::lang {
class Object;
}

namespace wrapped {

/// public class MoreOverloads extends Overloads
class MoreOverloads : public ::qvjvm::wrapper<MoreOverloads, "wrapped/MoreOverloads", ::wrapped::Overloads> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " ";

  // public MoreOverloads()
  template <::qvjvm::origin Where>
  [[nodiscard]] static ::wrapped::MoreOverloads create(const Where& where);

  // public String base(Object)
  template <::qvjvm::argument<::java::lang::Object> A1>
  requires(!::qvjvm::takes<::std::wstring>::from<A1>)
  ::std::wstring base(const A1& p1) const;

  // public String base(String)
  template <::qvjvm::argument<::std::wstring> A1>
  ::std::wstring base(const A1& p1) const;
};

}  // namespace wrapped
