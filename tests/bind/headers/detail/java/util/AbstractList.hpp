// Made by qvjvm-bind from java.util.AbstractList. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/util/AbstractCollection.hpp"

namespace java::lang {
class Object;
}
namespace java::util {
class Collection;
class Comparator;
class List;
class ListIterator;
}
namespace java::util::function {
class UnaryOperator;
}

namespace java::util {

/// public abstract class AbstractList<E> extends AbstractCollection<E> implements List<E>
class AbstractList : public ::qvjvm::wrapper<AbstractList, "java/util/AbstractList", ::java::util::AbstractCollection> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " "
      "java/lang/Iterable "
      "java/util/Collection "
      "java/util/List ";

  // public void add(int, E)
  template <::qvjvm::argument<int32_t> A1, ::qvjvm::argument<::java::lang::Object> A2>
  void add(const A1& p1, const A2& p2) const;

  // public boolean add(E)
  template <::qvjvm::argument<::java::lang::Object> A1>
  bool add(const A1& p1) const;

  // public boolean addAll(int, Collection<? extends E>)
  template <::qvjvm::argument<int32_t> A1, ::qvjvm::argument<::java::util::Collection> A2>
  bool addAll(const A1& p1, const A2& p2) const;

  // public boolean addAll(Collection<? extends E>)
  template <::qvjvm::argument<::java::util::Collection> A1>
  bool addAll(const A1& p1) const;

  // public abstract E get(int)
  template <::qvjvm::argument<int32_t> A1>
  ::java::lang::Object get(const A1& p1) const;

  // public int indexOf(Object)
  template <::qvjvm::argument<::java::lang::Object> A1>
  int32_t indexOf(const A1& p1) const;

  // public int lastIndexOf(Object)
  template <::qvjvm::argument<::java::lang::Object> A1>
  int32_t lastIndexOf(const A1& p1) const;

  // public ListIterator<E> listIterator()
  template <class This = ::java::util::AbstractList>
  ::java::util::ListIterator listIterator() const;

  // public ListIterator<E> listIterator(int)
  template <::qvjvm::argument<int32_t> A1>
  ::java::util::ListIterator listIterator(const A1& p1) const;

  // public E remove(int)
  template <::qvjvm::argument<int32_t> A1>
  ::java::lang::Object remove(const A1& p1) const;

  // public boolean remove(Object)
  template <::qvjvm::argument<::java::lang::Object> A1>
  bool remove(const A1& p1) const;

  // public void replaceAll(UnaryOperator<E>)
  template <::qvjvm::argument<::java::util::function::UnaryOperator> A1>
  void replaceAll(const A1& p1) const;

  // public E set(int, E)
  template <::qvjvm::argument<int32_t> A1, ::qvjvm::argument<::java::lang::Object> A2>
  ::java::lang::Object set(const A1& p1, const A2& p2) const;

  // public void sort(Comparator<? super E>)
  template <::qvjvm::argument<::java::util::Comparator> A1>
  void sort(const A1& p1) const;

  // public List<E> subList(int, int)
  template <::qvjvm::argument<int32_t> A1, ::qvjvm::argument<int32_t> A2>
  ::java::util::List subList(const A1& p1, const A2& p2) const;
};

}  // namespace java::util
