/// @file
/// Java arrays as objects: parts of them copied straight between Java and the host's memory, or looked at in place.
#pragma once

#include "qvjvm/client/boxes.hpp"

namespace qvjvm {

template <class T>
class critical_elements;

/// A Java array; null is allowed, and is of no length. T is the element type: a primitive type, a type of a byte, or
/// anything that can be an object in Java.
template <class T>
class array : public object {
 public:
  using object::object;

  /// The type that signatures have for it. For the client itself.
  static consteval auto java_signature() { return detail::java_type<std::vector<T>>::signature(); }

  /// A new array of so many elements, 0 or null each.
  /// @throws qvjvm::error for a length that is negative or too large for Java's memory.
  template <detail::origin Where>
  [[nodiscard]] static array make(const Where& where, int32_t length) {
    return detail::value_of(create(where, length));
  }
  /// The same with a result instead of an exception.
  template <detail::origin Where>
  [[nodiscard]] static result<array> try_make(const Where& where, int32_t length) {
    return result<array>(create(where, length));
  }
  /// A new array with the elements of a vector, or of memory.
  template <detail::origin Where, class Elements>
  requires(!std::is_arithmetic_v<Elements>) [[nodiscard]] static array
      make(const Where& where, const Elements& elements) {
    return detail::value_of(create_of(where, elements));
  }
  /// The same with a result instead of an exception.
  template <detail::origin Where, class Elements>
  requires(!std::is_arithmetic_v<Elements>)
      [[nodiscard]] static result<array> try_make(const Where& where, const Elements& elements) {
    return result<array>(create_of(where, elements));
  }

  /// The number of elements.
  [[nodiscard]] int32_t length() const noexcept {
    return *this ? detail::invoke<int32_t>(java().env, detail::place::get_array_length, 0, get()) : 0;
  }
  /// One element.
  /// @throws java_error for an index that is not there.
  [[nodiscard]] T at(int32_t index) const { return detail::value_of(read_element(index)); }
  /// The same with a result instead of an exception.
  [[nodiscard]] result<T> try_at(int32_t index) const { return result<T>(read_element(index)); }
  /// Writes one element.
  /// @throws java_error for an index that is not there, or an object that the array does not take.
  template <class From>
  void set(int32_t index, const From& value) const {
    detail::value_of(write_element(index, value));
  }
  /// The same with a result instead of an exception.
  template <class From>
  result<void> try_set(int32_t index, const From& value) const {
    return result<void>(write_element(index, value));
  }

  /// Copies elements from `first` on into the host's memory.
  /// @throws java_error when the array has not that many; nothing is copied then.
  void get_region(int32_t first, std::span<T> into) const requires detail::array_element<T> {
    detail::value_of(region(detail::place::get_array_region, first, into));
  }
  /// The same with a result instead of an exception.
  result<void> try_get_region(int32_t first, std::span<T> into) const requires detail::array_element<T> {
    return result<void>(region(detail::place::get_array_region, first, into));
  }
  /// Copies the host's memory to the elements from `first` on.
  /// @throws java_error when the array has not that many; nothing is copied then.
  void set_region(int32_t first, std::span<const T> from) const requires detail::array_element<T> {
    detail::value_of(region(detail::place::set_array_region, first, from));
  }
  /// The same with a result instead of an exception.
  result<void> try_set_region(int32_t first, std::span<const T> from) const requires detail::array_element<T> {
    return result<void>(region(detail::place::set_array_region, first, from));
  }
  /// All elements.
  [[nodiscard]] std::vector<T> to_vector() const { return as<std::vector<T>>(); }

  /// The elements in place, without a copy; see critical_elements.
  /// @throws qvjvm::error for null, or without memory in Java.
  [[nodiscard]] critical_elements<T> critical() const requires detail::array_element<T> {
    return detail::value_of(detail::outcome<critical_elements<T>>(critical_elements<T>::open(*this)));
  }
  /// The same with a result instead of an exception.
  [[nodiscard]] result<critical_elements<T>> try_critical() const requires detail::array_element<T> {
    return result<critical_elements<T>>(critical_elements<T>::open(*this));
  }

 private:
  template <class Where>
  static detail::outcome<array> create(const Where& where, int32_t length) {
    const auto java = enter_from(where);
    if (java.why != nullptr) return detail::failed<array>(java.why);
    void* made = nullptr;
    if constexpr (detail::array_element<T>) {
      made = detail::invoke<void*>(java.value.env, detail::place::new_array, detail::array_step<T>, length);
    } else {
      void* const cls = detail::class_of_signature(java.value, detail::own_signature<T>.view());
      if (cls != nullptr) {
        made = detail::invoke<void*>(java.value.env, detail::place::new_object_array, 0, length, cls,
                                     static_cast<void*>(nullptr));
      }
    }
    if (made == nullptr) return detail::failed<array>(detail::take_exception(java.value));
    return {nullptr, array(detail::local(java.value, made))};
  }

  template <class Where, class Elements>
  static detail::outcome<array> create_of(const Where& where, const Elements& elements) {
    const auto java = enter_from(where);
    if (java.why != nullptr) return detail::failed<array>(java.why);
    detail::passed made;
    if constexpr (detail::array_element<T> && !std::is_same_v<Elements, std::vector<T>>) {
      made = detail::java_type<std::span<const T>>::pass(java.value, elements);
    } else {
      made = detail::java_type<std::vector<T>>::pass(java.value, elements);
    }
    if (made.why != nullptr) return detail::failed<array>(made.why);
    return {nullptr, array(detail::local(java.value, made.reference))};
  }

  template <class Memory>
  detail::outcome<void> region(detail::place way, int32_t first, std::span<Memory> memory) const {
    if (auto* const why = misuse()) [[unlikely]]
      return {why};
    if (memory.size() > detail::longest) return {detail::invalid(L"a Java array has at most 2,147,483,647 elements")};
    detail::invoke<void>(java().env, way, detail::array_step<T>, get(), first, static_cast<int32_t>(memory.size()),
                         memory.data());
    if (detail::exception_pending(java().env)) [[unlikely]]
      return {detail::take_exception(java())};
    return {};
  }

  [[nodiscard]] detail::outcome<T> read_element(int32_t index) const {
    if (auto* const why = misuse()) return detail::failed<T>(why);
    if constexpr (detail::array_element<T>) {
      detail::outcome<T> element;
      if constexpr (std::is_same_v<T, bool>) {
        uint8_t stored = 0;
        element.why = region(detail::place::get_array_region, index, std::span(&stored, 1)).why;
        element.value = stored != 0;
      } else {
        element.why = region(detail::place::get_array_region, index, std::span(&element.value, 1)).why;
      }
      return element;
    } else {
      void* const element = detail::invoke<void*>(java().env, detail::place::get_object_array_element, 0, get(), index);
      if (detail::exception_pending(java().env)) return detail::failed<T>(detail::take_exception(java()));
      return detail::finish<T>(java(), element, {});
    }
  }

  template <class From>
  detail::outcome<void> write_element(int32_t index, const From& value) const {
    if (auto* const why = misuse()) return {why};
    if constexpr (detail::array_element<T>) {
      const T element = static_cast<T>(value);
      return region(detail::place::set_array_region, index, std::span(&element, 1));
    } else {
      const detail::arguments<From> made(java(), value);
      if (made.why() != nullptr) return {made.why()};
      // Java itself refuses objects that the array does not take.
      detail::invoke<void>(java().env, detail::place::set_object_array_element, 0, get(), index, made.values()[0].l);
      if (detail::exception_pending(java().env)) return {detail::take_exception(java())};
      return {};
    }
  }
};

/// The elements of an array in place, for as short as possible: while it lives Java's collector may wait, and the
/// thread must not call Java, take locks or block. It must not outlive its array. What is written is in the array at
/// the end.
template <class T>
class critical_elements {
 public:
  /// No elements.
  critical_elements() = default;
  /// For array::critical.
  static detail::outcome<critical_elements> open(const array<T>& from) {
    if (auto* const why = from.misuse()) return detail::failed<critical_elements>(why);
    critical_elements opened;
    opened.env_ = from.java().env;
    opened.array_ = from.get();
    opened.count_ = static_cast<size_t>(from.length());
    opened.memory_ = static_cast<T*>(detail::invoke<void*>(opened.env_, detail::place::get_primitive_array_critical, 0,
                                                           opened.array_, static_cast<uint8_t*>(nullptr)));
    if (opened.memory_ == nullptr) return detail::failed<critical_elements>(detail::take_exception(from.java()));
    return {nullptr, std::move(opened)};
  }
  /// Leaves no elements behind.
  critical_elements(critical_elements&& other) noexcept
      : env_(other.env_), array_(other.array_), memory_(std::exchange(other.memory_, nullptr)), count_(other.count_) {}
  critical_elements& operator=(critical_elements&&) = delete;
  ~critical_elements() {
    if (memory_ == nullptr) return;
    detail::invoke<void>(env_, detail::place::release_primitive_array_critical, 0, array_, static_cast<void*>(memory_),
                         int32_t{0});
  }

  /// The elements.
  [[nodiscard]] std::span<T> elements() const noexcept { return {memory_, memory_ == nullptr ? 0 : count_}; }

 private:
  qv_jnienv env_ = nullptr;
  void* array_ = nullptr;
  T* memory_ = nullptr;
  size_t count_ = 0;
};

}  // namespace qvjvm
