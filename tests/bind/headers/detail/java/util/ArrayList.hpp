// Made by qvjvm-bind from java.util.ArrayList. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/util/AbstractList.hpp"

namespace java::lang {
class Object;
}
namespace java::util {
class Collection;
}

namespace java::util {

/// public class ArrayList<E> extends AbstractList<E> implements List<E>, RandomAccess, Cloneable, Serializable
class ArrayList : public ::qvjvm::wrapper<ArrayList, "java/util/ArrayList", ::java::util::AbstractList> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " "
      "java/io/Serializable "
      "java/lang/Cloneable "
      "java/lang/Iterable "
      "java/util/Collection "
      "java/util/List "
      "java/util/RandomAccess ";

  // public ArrayList()
  template <::qvjvm::origin Where>
  [[nodiscard]] static ::java::util::ArrayList create(const Where& where);

  // public ArrayList(int)
  template <::qvjvm::origin Where, ::qvjvm::argument<int32_t> A1>
  [[nodiscard]] static ::java::util::ArrayList create(const Where& where, const A1& p1);

  // public ArrayList(Collection<? extends E>)
  template <::qvjvm::origin Where, ::qvjvm::argument<::java::util::Collection> A1>
  [[nodiscard]] static ::java::util::ArrayList create(const Where& where, const A1& p1);

  // public Object clone()
  template <class This = ::java::util::ArrayList>
  ::java::lang::Object clone() const;

  // public void ensureCapacity(int)
  template <::qvjvm::argument<int32_t> A1>
  void ensureCapacity(const A1& p1) const;

  // public void trimToSize()
  template <class This = ::java::util::ArrayList>
  void trimToSize() const;
};

}  // namespace java::util
