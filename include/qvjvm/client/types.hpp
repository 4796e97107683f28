/// @file
/// Which C++ type stands for which Java type.
///
///  - `bool`, `int8_t`, `int16_t`, `int32_t` (also `long`), `int64_t`: boolean, byte, short, int, long.
///  - `char16_t`, `wchar_t`: char.
///  - `float`, `double`: float, double.
///  - `void`, as a result: void.
///  - An enum, as an argument: its underlying type.
///  - `std::wstring`, `std::u16string`, their views and literals: String, unit for unit.
///  - `std::string`, `std::u8string`, their views and literals: String, from and to UTF-8.
///  - `std::vector`, and `std::span` as an argument, of a primitive type: an array of it; of `uint8_t` or `std::byte`:
///    byte[].
///  - `std::vector` of text, of objects, of vectors: an array of these.
///  - qvjvm::boxed<int32_t> and its like: Integer and its like.
///  - qvjvm::object, qvjvm::instance, qvjvm::class_ref, qvjvm::array: Object, the class named, Class, an array.
///  - `std::optional` of any of these: the same, with null for nothing; of a primitive type: its box.
///  - `nullptr`, as an argument: null, declared as Object.
///
/// A Java null as the result of a type that cannot say so is an empty text or vector, and a failure for `boxed`.
/// Unsigned integers have no counterpart; a plain `char` is neither byte nor char.
#pragma once

#include <array>
#include <cstddef>
#include <limits>
#include <span>
#include <string_view>
#include <type_traits>
#include <vector>

#include "qvjvm/client/error.hpp"

namespace qvjvm {

/// A primitive value in its box: `boxed<int32_t>` is an Integer.
template <class T>
struct boxed {
  T value{};  ///< what is in the box

  /// Whether the values are the same.
  friend bool operator==(const boxed&, const boxed&) = default;
};
/// A box of the value's own type.
template <class T>
boxed(T) -> boxed<T>;

namespace detail {

/// The type that a value is seen as: literals and arrays of characters are pointers to const ones.
template <class T>
using plain = std::decay_t<const T>;

// ---- primitive types ----

/// `step` is the distance of the type's entry from the object's in the tables of functions: boolean 1 ... double 8.
template <class T, char Letter, size_t Step, auto Member>
struct primitive_type {
  static constexpr bool primitive = true;
  static constexpr size_t step = Step;
  static consteval auto signature() {
    signature_text<1> result;
    result.text[0] = Letter;
    return result;
  }
  using stored = std::remove_reference_t<decltype(std::declval<java_value>().*Member)>;
  static void store(java_value& value, T argument) noexcept { value.*Member = static_cast<stored>(argument); }
  static T load(const java_value& value) noexcept { return static_cast<T>(value.*Member); }
};

template <>
struct java_type<bool> : primitive_type<bool, 'Z', 1, &java_value::z> {};
template <>
struct java_type<int8_t> : primitive_type<int8_t, 'B', 2, &java_value::b> {};
template <>
struct java_type<char16_t> : primitive_type<char16_t, 'C', 3, &java_value::c> {};
template <>
struct java_type<wchar_t> : primitive_type<wchar_t, 'C', 3, &java_value::c> {};
template <>
struct java_type<int16_t> : primitive_type<int16_t, 'S', 4, &java_value::s> {};
template <>
struct java_type<int32_t> : primitive_type<int32_t, 'I', 5, &java_value::i> {};
template <>
struct java_type<int64_t> : primitive_type<int64_t, 'J', 6, &java_value::j> {};
template <>
struct java_type<float> : primitive_type<float, 'F', 7, &java_value::f> {};
template <>
struct java_type<double> : primitive_type<double, 'D', 8, &java_value::d> {};
/// long is 32 bits wide on Windows.
template <>
struct java_type<long> : primitive_type<long, 'I', 5, &java_value::i> {};

template <>
struct java_type<void> {
  static constexpr bool primitive = true;
  static constexpr size_t step = 9;
  static consteval auto signature() { return piece("V"); }
  using stored = void;
};

template <class T>
concept enumeration = std::is_enum_v<T> && !std::is_same_v<T, std::byte>;

template <enumeration T>
struct java_type<T> : java_type<std::underlying_type_t<T>> {
  static void store(java_value& value, T argument) noexcept {
    java_type<std::underlying_type_t<T>>::store(value, static_cast<std::underlying_type_t<T>>(argument));
  }
};

// ---- what does not exist ----

/// Stands in where a type has no counterpart, so that the reason is the only error.
struct no_type : primitive_type<int32_t, 'I', 5, &java_value::i> {
  template <class T>
  static void store(java_value&, const T&) noexcept {}
};

template <class T>
inline constexpr bool is_character =
    std::is_same_v<T, char> || std::is_same_v<T, char8_t> || std::is_same_v<T, char32_t>;

template <class T>
struct java_type : no_type {
  static_assert(!(std::is_integral_v<T> && std::is_unsigned_v<T>) || is_character<T>,
                "qvjvm: Java has no unsigned integers: pass a signed type that holds the value");
  static_assert(!is_character<T>,
                "qvjvm: a lone character of this type has no Java counterpart: use char16_t or int8_t");
  static_assert(std::is_integral_v<T> || is_character<T>,
                "qvjvm: this C++ type has no Java counterpart: see the table in qvjvm/client/types.hpp");
  static_assert(!std::is_integral_v<T> || std::is_unsigned_v<T> || is_character<T>,
                "qvjvm: this integer type has no Java counterpart: use int8_t, int16_t, int32_t or int64_t");
};

// ---- references ----

/// A reference that stands for an argument. Where `why` is set there is none.
struct passed {
  void* reference = nullptr;
  bool owned = false;  ///< to be deleted after the call
  failure_record* why = nullptr;
};

/// What all reference types have. Each one adds `signature`; `pass`, when it can be an argument; `read`, when it can be
/// a result: it fills a value from a local reference that stays the caller's, or says why not.
struct reference_type {
  static constexpr bool primitive = false;
  static constexpr bool keeps_reference = false;  ///< whether values of the type hold local references
  static constexpr size_t step = 0;
  using stored = void*;
};

template <class T>
concept is_primitive = java_type<T>::primitive && !std::is_void_v<T>;

/// A new reference that Java made, or why it did not.
inline passed made(const context& java, void* reference) noexcept {
  if (reference == nullptr) [[unlikely]]
    return {nullptr, false, take_exception(java)};
  return {reference, true, nullptr};
}

inline constexpr size_t longest = static_cast<size_t>(std::numeric_limits<int32_t>::max());

inline passed pass_utf16(const context& java, const void* units, size_t count) noexcept {
  if (count > longest) return {nullptr, false, invalid(L"a Java string has at most 2,147,483,647 units")};
  return made(java, invoke<void*>(java.env, place::new_string, 0, static_cast<const uint16_t*>(units),
                                  static_cast<int32_t>(count)));
}

inline passed pass_utf8(const context& java, std::string_view bytes) {
  const std::wstring text = to_utf16(bytes);
  return pass_utf16(java, text.data(), text.size());
}

// ---- text ----

template <class T, class View>
concept text_like = !std::is_same_v<plain<T>, std::nullptr_t> && std::is_convertible_v<const T&, View>;

template <class T>
concept wide_text = text_like<T, std::wstring_view>;
template <class T>
concept utf16_text = text_like<T, std::u16string_view>;
template <class T>
concept utf8_text = text_like<T, std::string_view>;
template <class T>
concept char8_text = text_like<T, std::u8string_view>;

/// Reads of text end in one of these.
inline void take_text(std::wstring&& from, std::wstring& into) noexcept { into = std::move(from); }
inline void take_text(const std::wstring& from, std::u16string& into) { into.assign(from.begin(), from.end()); }
inline void take_text(const std::wstring& from, std::string& into) { into = to_utf8(from); }
inline void take_text(const std::wstring& from, std::u8string& into) {
  const std::string bytes = to_utf8(from);
  into.assign(bytes.begin(), bytes.end());
}

template <class T>
requires wide_text<T> || utf16_text<T> || utf8_text<T> || char8_text<T>
struct java_type<T> : reference_type {
  static consteval auto signature() { return piece("Ljava/lang/String;"); }

  static passed pass(const context& java, const T& text) {
    if constexpr (std::is_pointer_v<T>) {
      if (text == nullptr) return {};
    }
    if constexpr (wide_text<T>) {
      const std::wstring_view view = text;
      return pass_utf16(java, view.data(), view.size());
    } else if constexpr (utf16_text<T>) {
      const std::u16string_view view = text;
      return pass_utf16(java, view.data(), view.size());
    } else if constexpr (utf8_text<T>) {
      return pass_utf8(java, text);
    } else {
      const std::u8string_view view = text;
      return pass_utf8(java, {reinterpret_cast<const char*>(view.data()), view.size()});
    }
  }

  static failure_record* read(const local& from, T& into) {
    static_assert(
        requires { take_text(std::wstring(), into); },
        "qvjvm: a result of text is a std::wstring, std::u16string, std::string or std::u8string: a view would "
        "have nothing to look at");
    if constexpr (requires { take_text(std::wstring(), into); }) {
      take_text(text_of(from.java().env, from.get()), into);
    }
    return nullptr;
  }
};

template <>
struct java_type<std::nullptr_t> : reference_type {
  static consteval auto signature() { return piece("Ljava/lang/Object;"); }
  static passed pass(const context&, std::nullptr_t) noexcept { return {}; }
};

// ---- boxes: the calls themselves are in boxes.hpp ----

passed pass_box(const context& java, char letter, java_value value);
failure_record* read_box(const local& from, char letter, java_value& value);

template <char Letter>
consteval auto box_signature() {
  if constexpr (Letter == 'Z') return piece("Ljava/lang/Boolean;");
  if constexpr (Letter == 'B') return piece("Ljava/lang/Byte;");
  if constexpr (Letter == 'C') return piece("Ljava/lang/Character;");
  if constexpr (Letter == 'S') return piece("Ljava/lang/Short;");
  if constexpr (Letter == 'I') return piece("Ljava/lang/Integer;");
  if constexpr (Letter == 'J') return piece("Ljava/lang/Long;");
  if constexpr (Letter == 'F') return piece("Ljava/lang/Float;");
  if constexpr (Letter == 'D') return piece("Ljava/lang/Double;");
}

template <is_primitive T>
struct java_type<boxed<T>> : reference_type {
  static constexpr char letter = java_type<T>::signature().text[0];
  static consteval auto signature() { return box_signature<letter>(); }

  static passed pass(const context& java, const boxed<T>& box) {
    java_value value{};
    java_type<T>::store(value, box.value);
    return pass_box(java, letter, value);
  }
  static failure_record* read(const local& from, boxed<T>& into) {
    java_value value{};
    failure_record* const why = read_box(from, letter, value);
    if (why == nullptr) into.value = java_type<T>::load(value);
    return why;
  }
};

/// The reference that carries a value where only an object can be: a primitive one in its box.
template <class T>
using as_reference = std::conditional_t<is_primitive<T>, boxed<T>, T>;

template <class T>
struct java_type<std::optional<T>> : reference_type {
  using content = java_type<as_reference<T>>;
  static consteval auto signature() { return content::signature(); }

  static passed pass(const context& java, const std::optional<T>& value) {
    if (!value) return {};
    if constexpr (is_primitive<T>) {
      return content::pass(java, boxed<T>{*value});
    } else {
      return content::pass(java, *value);
    }
  }
  static failure_record* read(const local& from, std::optional<T>& into) {
    into.reset();
    if (from.get() == nullptr) return nullptr;
    as_reference<T> content_value{};
    if (failure_record* const why = content::read(from, content_value)) return why;
    if constexpr (is_primitive<T>) {
      into = content_value.value;
    } else {
      into = std::move(content_value);
    }
    return nullptr;
  }
};

// ---- arrays ----

/// The Java type that an array's elements have: bytes may be any C++ type of a byte.
template <class T>
struct element_type {
  using java = T;
};
template <>
struct element_type<uint8_t> {
  using java = int8_t;
};
template <>
struct element_type<std::byte> {
  using java = int8_t;
};

template <class T>
concept array_element = is_primitive<typename element_type<T>::java> && !std::is_enum_v<typename element_type<T>::java>;

/// The place of an element type among the functions of arrays: boolean 0 ... double 7.
template <class T>
inline constexpr size_t array_step = java_type<typename element_type<T>::java>::step - 1;

inline passed pass_array(const context& java, size_t step, const void* elements, size_t count) noexcept {
  if (count > longest) return {nullptr, false, invalid(L"a Java array has at most 2,147,483,647 elements")};
  const auto length = static_cast<int32_t>(count);
  const passed array = made(java, invoke<void*>(java.env, place::new_array, step, length));
  if (array.why == nullptr) {
    invoke<void>(java.env, place::set_array_region, step, array.reference, int32_t{0}, length, elements);
    if (exception_pending(java.env)) [[unlikely]] {
      const passed none{nullptr, false, take_exception(java)};
      delete_local(java.env, array.reference);
      return none;
    }
  }
  return array;
}

inline int32_t array_length(const local& array) noexcept {
  return array.get() == nullptr ? 0 : invoke<int32_t>(array.java().env, place::get_array_length, 0, array.get());
}

/// Copies all elements; the stored form of a boolean is a byte.
inline failure_record* read_elements(const local& array, size_t step, int32_t count, void* into) noexcept {
  if (count == 0) return nullptr;
  invoke<void>(array.java().env, place::get_array_region, step, array.get(), int32_t{0}, count, into);
  return exception_pending(array.java().env) ? take_exception(array.java()) : nullptr;
}

template <array_element T>
struct java_type<std::vector<T>> : reference_type {
  static consteval auto signature() { return join(piece("["), java_type<typename element_type<T>::java>::signature()); }

  static passed pass(const context& java, const std::vector<T>& elements) {
    if constexpr (std::is_same_v<T, bool>) {  // a vector of it has no elements to point to
      const std::vector<uint8_t> bytes(elements.begin(), elements.end());
      return pass_array(java, array_step<T>, bytes.data(), bytes.size());
    } else {
      return pass_array(java, array_step<T>, elements.data(), elements.size());
    }
  }
  static failure_record* read(const local& from, std::vector<T>& into) {
    const int32_t length = array_length(from);
    if constexpr (std::is_same_v<T, bool>) {
      std::vector<uint8_t> bytes(static_cast<size_t>(length));
      auto* const why = read_elements(from, array_step<T>, length, bytes.data());
      into.assign(bytes.begin(), bytes.end());
      return why;
    } else {
      into.resize(static_cast<size_t>(length));
      return read_elements(from, array_step<T>, length, into.data());
    }
  }
};

template <class T, size_t Extent>
requires array_element<std::remove_const_t<T>>
struct java_type<std::span<T, Extent>> : reference_type {
  static consteval auto signature() { return java_type<std::vector<std::remove_const_t<T>>>::signature(); }
  static passed pass(const context& java, std::span<const T> elements) noexcept {
    return pass_array(java, array_step<std::remove_const_t<T>>, elements.data(), elements.size());
  }
  static failure_record* read(const local&, std::span<T, Extent>&) noexcept {
    static_assert(!sizeof(T*),
                  "qvjvm: a span cannot be a result, it would have nothing to look at: use std::vector, or "
                  "qvjvm::array and its get_region");
    return nullptr;
  }
};

/// The class that a type's signature names, found through the realm of the context and kept there: a global reference,
/// or null with the exception pending.
void* class_of_signature(const context& java, std::string_view type);

/// Room for that many local references, which is advice to Java.
inline void expect_references(qv_jnienv env, int32_t count) noexcept {
  if (invoke<int32_t>(env, place::ensure_local_capacity, 0, count) < 0) clear_exception(env);
}

template <class T>
concept can_be_passed = requires(const context& java, const T& value) {
  java_type<T>::pass(java, value);
};

/// Arrays of references: of text, of objects, of boxes, of arrays.
template <class T>
requires(!array_element<T>) struct java_type<std::vector<T>> : reference_type {
  static consteval auto signature() { return join(piece("["), java_type<T>::signature()); }

  static passed pass(const context& java, const std::vector<T>& elements) {
    if (elements.size() > longest) {
      return {nullptr, false, invalid(L"a Java array has at most 2,147,483,647 elements")};
    }
    void* const cls = class_of_signature(java, own_signature<T>.view());
    if (cls == nullptr) return {nullptr, false, take_exception(java)};
    const passed array =
        made(java, invoke<void*>(java.env, place::new_object_array, 0, static_cast<int32_t>(elements.size()), cls,
                                 static_cast<void*>(nullptr)));
    if (array.why != nullptr) return array;
    for (size_t i = 0; i < elements.size(); ++i) {
      passed element = java_type<T>::pass(java, elements[i]);
      if (element.why == nullptr) {
        invoke<void>(java.env, place::set_object_array_element, 0, array.reference, static_cast<int32_t>(i),
                     element.reference);
        if (element.owned) delete_local(java.env, element.reference);
        if (exception_pending(java.env)) element.why = take_exception(java);
      }
      if (element.why != nullptr) {
        delete_local(java.env, array.reference);
        return {nullptr, false, element.why};
      }
    }
    return array;
  }

  static failure_record* read(const local& from, std::vector<T>& into) {
    const context& java = from.java();
    const int32_t length = array_length(from);
    into.clear();
    into.reserve(static_cast<size_t>(length));
    if constexpr (java_type<T>::keeps_reference) expect_references(java.env, length + 16);
    for (int32_t i = 0; i < length; ++i) {
      local element(java, invoke<void*>(java.env, place::get_object_array_element, 0, from.get(), i));
      if (element.get() == nullptr && exception_pending(java.env)) return take_exception(java);
      T value{};
      if (failure_record* const why = read_reference(std::move(element), value)) return why;
      into.push_back(std::move(value));
    }
    return nullptr;
  }
  static constexpr bool keeps_reference = java_type<T>::keeps_reference;
};

/// Reads a result: objects take the reference over, everything else is copied from it.
template <class T>
failure_record* read_reference(local&& from, T& into) {
  if constexpr (requires { java_type<T>::take(std::move(from), into); }) {
    return java_type<T>::take(std::move(from), into);
  } else {
    return java_type<T>::read(from, into);
  }
}

}  // namespace detail
}  // namespace qvjvm
