// Made by qvjvm-bind from wrapped.Shown. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/wrapped/Hidden.hpp"

namespace wrapped {

/// public class Shown extends Hidden implements Comparable<Shown>, Named
class Shown : public ::qvjvm::wrapper<Shown, "wrapped/Shown", ::wrapped::Hidden> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " "
      "java/lang/Comparable "
      "wrapped/Named ";

  // public Shown(int)
  template <::qvjvm::origin Where, ::qvjvm::argument<int32_t> A1>
  [[nodiscard]] static ::wrapped::Shown create(const Where& where, const A1& p1);

  // public int compareTo(Shown)
  template <::qvjvm::argument<::wrapped::Shown> A1>
  int32_t compareTo(const A1& p1) const;

  // public String greeting()
  template <class This = ::wrapped::Shown>
  ::std::wstring greeting() const;

  // public String name()
  template <class This = ::wrapped::Shown>
  ::std::wstring name() const;

  // public Shown self()
  template <class This = ::wrapped::Shown>
  ::wrapped::Shown self() const;
};

}  // namespace wrapped
