// Made by qvjvm-bind from wrapped.Overloads. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Object.hpp"

namespace java::lang {
class CharSequence;
class Object;
}
namespace java::util {
class Collection;
class List;
}

namespace wrapped {

/// public class Overloads
class Overloads : public ::qvjvm::wrapper<Overloads, "wrapped/Overloads", ::java::lang::Object> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " ";

  // public Overloads()
  template <::qvjvm::origin Where>
  [[nodiscard]] static ::wrapped::Overloads create(const Where& where);

  // public String base(Object)
  template <::qvjvm::argument<::java::lang::Object> A1>
  ::std::wstring base(const A1& p1) const;

  // public String one(byte)
  template <::qvjvm::argument<int8_t> A1>
  ::std::wstring one(const A1& p1) const;

  // public String one(char)
  template <::qvjvm::argument<wchar_t> A1>
  ::std::wstring one(const A1& p1) const;

  // public String one(double)
  template <::qvjvm::argument<double> A1>
  requires(!::qvjvm::takes<int8_t>::from<A1> && !::qvjvm::takes<wchar_t>::from<A1> && !::qvjvm::takes<int32_t>::from<A1> && !::qvjvm::takes<int64_t>::from<A1>)
  ::std::wstring one(const A1& p1) const;

  // public String one(int)
  template <::qvjvm::argument<int32_t> A1>
  requires(!::qvjvm::takes<int8_t>::from<A1> && !::qvjvm::takes<wchar_t>::from<A1>)
  ::std::wstring one(const A1& p1) const;

  // public String one(long)
  template <::qvjvm::argument<int64_t> A1>
  requires(!::qvjvm::takes<int8_t>::from<A1> && !::qvjvm::takes<wchar_t>::from<A1> && !::qvjvm::takes<int32_t>::from<A1>)
  ::std::wstring one(const A1& p1) const;

  // public String one(CharSequence)
  template <::qvjvm::argument<::java::lang::CharSequence> A1>
  requires(!::qvjvm::takes<::std::wstring>::from<A1>)
  ::std::wstring one(const A1& p1) const;

  // public String one(Object)
  template <::qvjvm::argument<::java::lang::Object> A1>
  requires(!::qvjvm::takes<::java::lang::CharSequence>::from<A1> && !::qvjvm::takes<::std::wstring>::from<A1> && !::qvjvm::takes<::java::util::Collection>::from<A1> && !::qvjvm::takes<::java::util::List>::from<A1> && !::qvjvm::takes<::std::vector<int32_t>>::from<A1> && !::qvjvm::takes<::qvjvm::array<::java::lang::Object>>::from<A1>)
  ::std::wstring one(const A1& p1) const;

  // public String one(String)
  template <::qvjvm::argument<::std::wstring> A1>
  ::std::wstring one(const A1& p1) const;

  // public String one(Collection<?>)
  template <::qvjvm::argument<::java::util::Collection> A1>
  requires(!::qvjvm::takes<::java::util::List>::from<A1>)
  ::std::wstring one(const A1& p1) const;

  // public String one(List<?>)
  template <::qvjvm::argument<::java::util::List> A1>
  ::std::wstring one(const A1& p1) const;

  // public String one(boolean)
  template <::qvjvm::argument<bool> A1>
  ::std::wstring one(const A1& p1) const;

  // public String one(int[])
  template <::qvjvm::argument<::std::vector<int32_t>> A1>
  ::std::wstring one(const A1& p1) const;

  // public String one(Object[])
  template <::qvjvm::argument<::qvjvm::array<::java::lang::Object>> A1>
  ::std::wstring one(const A1& p1) const;

  // public String same()
  template <class This = ::wrapped::Overloads>
  ::std::wstring same() const;

  // public static String same(Overloads)
  template <::qvjvm::origin Where, ::qvjvm::argument<::wrapped::Overloads> A1>
  static ::std::wstring same(const Where& where, const A1& p1);

  // public String two(Object, String)
  template <::qvjvm::argument<::java::lang::Object> A1, ::qvjvm::argument<::std::wstring> A2>
  ::std::wstring two(const A1& p1, const A2& p2) const;

  // public String two(String, Object)
  template <::qvjvm::argument<::std::wstring> A1, ::qvjvm::argument<::java::lang::Object> A2>
  ::std::wstring two(const A1& p1, const A2& p2) const;
};

}  // namespace wrapped
