/// @file
/// Java's collections and C++'s: loops over what Java has, collections made of what C++ has, and the way back.
///
/// @code
/// for (const std::wstring& name : qvjvm::elements<std::wstring>(list)) …
/// auto properties = qvjvm::new_map(java, std::map<std::string, int32_t>{{"depth", 3}});
/// @endcode
///
/// Elements may be any type of the client; primitive types are boxed and unboxed, and every element's class is asked
/// for.
#pragma once

#include <iterator>
#include <ranges>

#include "qvjvm/client/throwable.hpp"

namespace qvjvm {

namespace detail {

/// A value as an element: primitive ones in their boxes.
template <class T>
decltype(auto) carried(const T& value) noexcept {
  if constexpr (is_primitive<T>) {
    return boxed<T>{value};
  } else {
    return (value);
  }
}

/// Another reference to an object that is known to be a T.
template <class T>
T copy_as(const object& known) noexcept {
  return T(local(known.java(), invoke<void*>(known.java().env, place::new_local_ref, 0, known.get())));
}

/// An element as the C++ type that was asked for.
template <class T>
outcome<T> read_element(object&& element) {
  const context java = element.java();
  return read_checked<T>(java, element.take().release());
}

}  // namespace detail

/// Walks through the elements of an Iterable, an Iterator, or an array of objects. For range-for; one pass.
/// Errors of Java are thrown by the loop; try_for_each hands them back.
template <class T>
class elements {
 public:
  /// The elements of an Iterable, an Iterator or an array of objects, which must outlive the loop.
  /// @throws qvjvm::error for null or anything else.
  explicit elements(const object& of) : elements(detail::value_of(open(of))) {}
  /// Moves the walk.
  elements(elements&&) noexcept = default;
  /// None.
  elements() = default;

  /// For try_for_each.
  static detail::outcome<elements> open(const object& of) {
    detail::outcome<elements> opened;
    if ((opened.why = of.misuse()) != nullptr) return opened;
    const auto is = [&]<class Class>(std::type_identity<Class>) {
      void* const cls = Class::find(of.java());
      if (cls == nullptr) opened.why = detail::take_exception(of.java());
      return cls != nullptr && detail::is_instance(of.java().env, of.get(), cls);
    };
    if (is(std::type_identity<detail::class_site<"java/lang/Iterable">>())) {
      auto iterator = detail::copy_as<iterable_type>(of).template try_call<"iterator", iterator_type>();
      if (!iterator) return detail::failed<elements>(iterator.reason());
      opened.value.iterator_ = std::move(iterator).value();
    } else if (opened.why == nullptr && is(std::type_identity<detail::class_site<"java/util/Iterator">>())) {
      opened.value.iterator_ = detail::copy_as<iterator_type>(of);
    } else if (opened.why == nullptr && is(std::type_identity<detail::class_site<"[Ljava/lang/Object;">>())) {
      opened.value.array_ = detail::copy_as<array<object>>(of);
    } else if (opened.why == nullptr) {
      opened.why = detail::invalid(L"this object is no Iterable, Iterator or array of objects");
    }
    return opened;
  }

  /// The next element; nothing at the end.
  detail::outcome<std::optional<T>> next() {
    object element;
    if (iterator_) {
      auto more = iterator_.template try_call<"hasNext", bool>();
      if (!more) return detail::failed<std::optional<T>>(more.reason());
      if (!more.value()) return {};
      auto taken = iterator_.template try_call<"next", object>();
      if (!taken) return detail::failed<std::optional<T>>(taken.reason());
      element = std::move(taken).value();
    } else {
      if (at_ >= array_.length()) return {};
      auto taken = array_.try_at(at_++);
      if (!taken) return detail::failed<std::optional<T>>(taken.reason());
      element = std::move(taken).value();
    }
    auto value = detail::read_element<T>(std::move(element));
    if (value.why != nullptr) return {value.why, {}};
    return {nullptr, std::optional<T>(std::move(value.value))};
  }

  /// For range-for.
  class iterator {
   public:
    /// The type of an element.
    using value_type = T;
    /// Iterators have one.
    using difference_type = std::ptrdiff_t;
    iterator() = default;
    /// At the first element.
    explicit iterator(elements* of) : of_(of) { ++*this; }
    /// Goes to the next element.
    iterator& operator++() {
      current_ = detail::value_of(of_->next());
      return *this;
    }
    /// Goes to the next element.
    void operator++(int) { ++*this; }
    /// The element.
    T& operator*() const { return *current_; }
    /// Whether the walk is at its end.
    friend bool operator==(const iterator& at, std::default_sentinel_t) noexcept { return !at.current_.has_value(); }

   private:
    elements* of_ = nullptr;
    mutable std::optional<T> current_;
  };
  /// The walk from here on.
  [[nodiscard]] iterator begin() { return iterator(this); }
  /// The end of every walk.
  [[nodiscard]] std::default_sentinel_t end() const noexcept { return {}; }

 private:
  using iterable_type = instance<"java/lang/Iterable">;
  using iterator_type = instance<"java/util/Iterator">;

  iterator_type iterator_;
  array<object> array_;
  int32_t at_ = 0;
};

/// Calls `work(element)` for each element of an Iterable, an Iterator or an array of objects, until one says false
/// (where it says anything) or Java fails.
template <class T, class Work>
result<void> try_for_each(const object& of, const Work& work) {
  auto all = elements<T>::open(of);
  if (all.why != nullptr) return failure(all.why);
  for (;;) {
    auto element = all.value.next();
    if (element.why != nullptr) return failure(element.why);
    if (!element.value) return {};
    if constexpr (std::is_convertible_v<decltype(work(*std::move(element.value))), bool>) {
      if (!work(*std::move(element.value))) return {};
    } else {
      work(*std::move(element.value));
    }
  }
}

/// All elements of an Iterable, an Iterator or an array of objects.
/// @throws qvjvm::error for anything else, or an element of another type.
template <class T>
[[nodiscard]] result<std::vector<T>> try_to_vector(const object& of) {
  std::vector<T> all;
  const auto done = try_for_each<T>(of, [&](T&& element) { all.push_back(std::move(element)); });
  if (!done) return done.reason();
  return all;
}
/// The same, thrown.
template <class T>
[[nodiscard]] std::vector<T> to_vector(const object& of) {
  return try_to_vector<T>(of).value();
}

/// All entries of a Map, in its order.
/// @throws qvjvm::error for anything else, or a key or value of another type.
template <class Key, class Value>
[[nodiscard]] result<std::vector<std::pair<Key, Value>>> try_entries(const object& map) {
  using entry_type = instance<"java/util/Map$Entry">;
  std::vector<std::pair<Key, Value>> all;
  const auto typed = map.try_as<instance<"java/util/Map">>();
  if (!typed) return typed.reason();
  if (!typed.value()) return failure(detail::invalid(L"a null object was used"));
  const auto set = typed.value().template try_call<"entrySet", instance<"java/util/Set">>();
  if (!set) return set.reason();
  failure inner;
  const auto done = try_for_each<entry_type>(set.value(), [&](const entry_type& entry) {
    auto key = entry.try_call<"getKey", object>();
    auto value = entry.try_call<"getValue", object>();
    if (!key || !value) {
      inner = key ? value.reason() : key.reason();
      return false;
    }
    auto key_read = detail::read_element<Key>(std::move(key).value());
    if (key_read.why != nullptr) {
      inner = failure(key_read.why);
      return false;
    }
    auto value_read = detail::read_element<Value>(std::move(value).value());
    if (value_read.why != nullptr) {
      inner = failure(value_read.why);
      return false;
    }
    all.emplace_back(std::move(key_read.value), std::move(value_read.value));
    return true;
  });
  if (!done) return done.reason();
  if (inner) return inner;
  return all;
}
/// The same, thrown.
template <class Key, class Value>
[[nodiscard]] std::vector<std::pair<Key, Value>> entries(const object& map) {
  return try_entries<Key, Value>(map).value();
}

namespace detail {

template <fixed_text Class, class Where, class Range>
result<instance<Class>> fill(const Where& where, const Range& range) {
  auto made = instance<Class>::try_create(where);
  if (!made) return made;
  for (const auto& element : range) {
    const auto added = made.value().template try_call<"add", bool(object)>(carried(element));
    if (!added) return added.reason();
  }
  return made;
}

}  // namespace detail

/// A new java.util.ArrayList of a range's elements, in its order.
template <detail::origin Where, class Range>
[[nodiscard]] result<instance<"java/util/ArrayList">> try_new_list(const Where& where, const Range& range) {
  return detail::fill<"java/util/ArrayList">(where, range);
}
/// The same, thrown.
template <detail::origin Where, class Range>
[[nodiscard]] instance<"java/util/ArrayList"> new_list(const Where& where, const Range& range) {
  return try_new_list(where, range).value();
}

/// A new java.util.LinkedHashSet of a range's elements, which keeps its order.
template <detail::origin Where, class Range>
[[nodiscard]] result<instance<"java/util/LinkedHashSet">> try_new_set(const Where& where, const Range& range) {
  return detail::fill<"java/util/LinkedHashSet">(where, range);
}
/// The same, thrown.
template <detail::origin Where, class Range>
[[nodiscard]] instance<"java/util/LinkedHashSet"> new_set(const Where& where, const Range& range) {
  return try_new_set(where, range).value();
}

/// A new java.util.LinkedHashMap of a range of pairs, which keeps its order.
template <detail::origin Where, class Range>
[[nodiscard]] result<instance<"java/util/LinkedHashMap">> try_new_map(const Where& where, const Range& range) {
  auto made = instance<"java/util/LinkedHashMap">::try_create(where);
  if (!made) return made;
  for (const auto& [key, value] : range) {
    const auto before =
        made.value().template try_call<"put", object(object, object)>(detail::carried(key), detail::carried(value));
    if (!before) return before.reason();
  }
  return made;
}
/// The same, thrown.
template <detail::origin Where, class Range>
[[nodiscard]] instance<"java/util/LinkedHashMap"> new_map(const Where& where, const Range& range) {
  return try_new_map(where, range).value();
}

}  // namespace qvjvm
