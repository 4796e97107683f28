// Made by qvjvm-bind from java.util.AbstractCollection. Changes are lost when it is made again.
// clang-format off
#pragma once

#include "detail/java/lang/Object.hpp"

namespace java::lang {
class Object;
}
namespace java::util {
class Collection;
class Iterator;
class Spliterator;
}
namespace java::util::function {
class Consumer;
class IntFunction;
class Predicate;
}
namespace java::util::stream {
class Stream;
}

namespace java::util {

/// public abstract class AbstractCollection<E> implements Collection<E>
class AbstractCollection : public ::qvjvm::wrapper<AbstractCollection, "java/util/AbstractCollection", ::java::lang::Object> {
 public:
  using wrapper::wrapper;
  static constexpr ::std::string_view java_interfaces =
      " "
      "java/lang/Iterable "
      "java/util/Collection ";

  // public boolean add(E)
  template <::qvjvm::argument<::java::lang::Object> A1>
  bool add(const A1& p1) const;

  // public boolean addAll(Collection<? extends E>)
  template <::qvjvm::argument<::java::util::Collection> A1>
  bool addAll(const A1& p1) const;

  // public void clear()
  template <class This = ::java::util::AbstractCollection>
  void clear() const;

  // public boolean contains(Object)
  template <::qvjvm::argument<::java::lang::Object> A1>
  bool contains(const A1& p1) const;

  // public boolean containsAll(Collection<?>)
  template <::qvjvm::argument<::java::util::Collection> A1>
  bool containsAll(const A1& p1) const;

  // public void forEach(Consumer<? super T>)
  template <::qvjvm::argument<::java::util::function::Consumer> A1>
  void forEach(const A1& p1) const;

  // public boolean isEmpty()
  template <class This = ::java::util::AbstractCollection>
  bool isEmpty() const;

  // public abstract Iterator<E> iterator()
  template <class This = ::java::util::AbstractCollection>
  ::java::util::Iterator iterator() const;

  // public Stream<E> parallelStream()
  template <class This = ::java::util::AbstractCollection>
  ::java::util::stream::Stream parallelStream() const;

  // public boolean remove(Object)
  template <::qvjvm::argument<::java::lang::Object> A1>
  bool remove(const A1& p1) const;

  // public boolean removeAll(Collection<?>)
  template <::qvjvm::argument<::java::util::Collection> A1>
  bool removeAll(const A1& p1) const;

  // public boolean removeIf(Predicate<? super E>)
  template <::qvjvm::argument<::java::util::function::Predicate> A1>
  bool removeIf(const A1& p1) const;

  // public boolean retainAll(Collection<?>)
  template <::qvjvm::argument<::java::util::Collection> A1>
  bool retainAll(const A1& p1) const;

  // public abstract int size()
  template <class This = ::java::util::AbstractCollection>
  int32_t size() const;

  // public Spliterator<E> spliterator()
  template <class This = ::java::util::AbstractCollection>
  ::java::util::Spliterator spliterator() const;

  // public Stream<E> stream()
  template <class This = ::java::util::AbstractCollection>
  ::java::util::stream::Stream stream() const;

  // public Object[] toArray()
  template <class This = ::java::util::AbstractCollection>
  ::qvjvm::array<::java::lang::Object> toArray() const;

  // public <T> T[] toArray(IntFunction<T[]>)
  template <::qvjvm::argument<::java::util::function::IntFunction> A1>
  ::qvjvm::array<::java::lang::Object> toArray(const A1& p1) const;

  // public <T> T[] toArray(T[])
  template <::qvjvm::argument<::qvjvm::array<::java::lang::Object>> A1>
  ::qvjvm::array<::java::lang::Object> toArray(const A1& p1) const;
};

}  // namespace java::util
