/// @file
/// Which C++ type stands for which Java type, and the signatures that follow, at compile time.
///
/// - `bool`, `int8_t`, `char16_t`, `int16_t`, `int32_t`, `int64_t`, `float`, `double`: the primitive types in order
/// - `void`, as a result: void
/// - `std::wstring`, `std::wstring_view`, wide literals, and the same of `char16_t`: String
/// - `std::optional` of `std::wstring`, as a result: a String that may be null
/// - `std::vector` and `std::span` of a primitive type: an array of it
/// - `std::vector` of `std::wstring`: String[]
/// - qvjvm::object: Object
/// - qvjvm::instance: the class that it names
#pragma once

#include <array>
#include <cstring>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "qvjvm/client/reference.hpp"

namespace qvjvm {

/// A text as a template argument: instance<"java/util/List">.
template <size_t Size>
struct fixed_text {
  /// Copies the literal.
  consteval fixed_text(const char (&literal)[Size]) {  // NOLINT(google-explicit-constructor)
    for (size_t i = 0; i < Size; ++i) text[i] = literal[i];
  }
  char text[Size] = {};  ///< With the terminator.
};

namespace detail {

/// A signature under construction at compile time.
template <size_t Length>
struct signature_text {
  std::array<char, Length + 1> text{};
  [[nodiscard]] constexpr const char* c_str() const { return text.data(); }
};

template <size_t Size>
consteval auto piece(const char (&literal)[Size]) {
  signature_text<Size - 1> result;
  for (size_t i = 0; i + 1 < Size; ++i) result.text[i] = literal[i];
  return result;
}

template <size_t Left, size_t Right>
consteval auto operator+(const signature_text<Left>& left, const signature_text<Right>& right) {
  signature_text<Left + Right> result;
  for (size_t i = 0; i < Left; ++i) result.text[i] = left.text[i];
  for (size_t i = 0; i < Right; ++i) result.text[Left + i] = right.text[i];
  return result;
}

/// What the table of a Java type looks like: `step` is its distance from the object entry of the call functions.
template <class T>
struct java_type;

template <class T, char Letter, size_t Step, auto Member>
struct primitive_type {
  static constexpr bool primitive = true;
  static consteval auto signature() {
    signature_text<1> result;
    result.text[0] = Letter;
    return result;
  }
  static constexpr size_t step = Step;  ///< in steps of one: boolean 1 ... double 8
  using stored = std::remove_reference_t<decltype(std::declval<java_value>().*Member)>;
  static void store(java_value& value, T argument) noexcept { value.*Member = static_cast<stored>(argument); }
};

template <>
struct java_type<bool> : primitive_type<bool, 'Z', 1, &java_value::z> {};
template <>
struct java_type<int8_t> : primitive_type<int8_t, 'B', 2, &java_value::b> {};
template <>
struct java_type<char16_t> : primitive_type<char16_t, 'C', 3, &java_value::c> {};
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
struct java_type<long> : java_type<int32_t> {};

template <>
struct java_type<void> {
  static constexpr bool primitive = true;
  static consteval auto signature() { return piece("V"); }
  static constexpr size_t step = 9;
};

template <class T>
concept primitive = requires {
  requires java_type<T>::primitive;
};

/// Everything that is a reference in Java: the signature, and how a value becomes one.
struct reference_type {
  static constexpr bool primitive = false;
  static constexpr size_t step = 0;
};

struct string_type : reference_type {
  static consteval auto signature() { return piece("Ljava/lang/String;"); }

  static local make(const context& java, std::wstring_view text) {
    return {java, invoke<void*>(java.env, place::new_string, 0, reinterpret_cast<const uint16_t*>(text.data()),
                                static_cast<int32_t>(text.size()))};
  }
  static local make(const context& java, std::u16string_view text) {
    return {java, invoke<void*>(java.env, place::new_string, 0, reinterpret_cast<const uint16_t*>(text.data()),
                                static_cast<int32_t>(text.size()))};
  }
};

template <class T>
concept wide_text = std::is_convertible_v<const T&, std::wstring_view>;
template <class T>
concept utf16_text = std::is_convertible_v<const T&, std::u16string_view>;

template <class T>
requires(wide_text<T> || utf16_text<T>) struct java_type<T> : string_type {
  static T from(const context& java,
                void* reference) requires(std::is_same_v<T, std::wstring> || std::is_same_v<T, std::u16string>) {
    const std::wstring text = text_of(java.env, reference);
    return T(text.begin(), text.end());
  }
};

template <>
struct java_type<std::optional<std::wstring>> : string_type {
  static std::optional<std::wstring> from(const context& java, void* reference) {
    if (reference == nullptr) return std::nullopt;
    return text_of(java.env, reference);
  }
};

/// Arrays of primitive types; bool is the exception, because a vector of it has no elements to point to.
template <class Element>
requires(primitive<Element> && !std::is_same_v<Element, bool> && !std::is_void_v<Element>) struct primitive_array_type
    : reference_type {
  static constexpr size_t array_step = java_type<Element>::step - 1;
  static consteval auto signature() { return piece("[") + java_type<Element>::signature(); }

  static local make(const context& java, std::span<const Element> elements) {
    const auto length = static_cast<int32_t>(elements.size());
    local array(java, invoke<void*>(java.env, place::new_array, array_step, length));
    if (array.get() != nullptr) {
      invoke<void>(java.env, place::set_array_region, array_step, array.get(), int32_t{0}, length, elements.data());
    }
    return array;
  }
  static std::vector<Element> from(const context& java, void* reference) {
    if (reference == nullptr) return {};
    const auto length = invoke<int32_t>(java.env, place::get_array_length, 0, reference);
    std::vector<Element> elements(static_cast<size_t>(length));
    invoke<void>(java.env, place::get_array_region, array_step, reference, int32_t{0}, length, elements.data());
    return elements;
  }
};

template <primitive Element>
struct java_type<std::vector<Element>> : primitive_array_type<Element> {};
template <class Element, size_t Extent>
requires primitive<std::remove_const_t<Element>>
struct java_type<std::span<Element, Extent>> : primitive_array_type<std::remove_const_t<Element>> {
};

template <>
struct java_type<std::vector<std::wstring>> : reference_type {
  static consteval auto signature() { return piece("[Ljava/lang/String;"); }

  static local make(const context& java, const std::vector<std::wstring>& texts) {
    void* string_class = nullptr;
    if (java.vm->FindClass(&string_class, "java/lang/String") < 0) return {};
    const local cls(java, string_class);
    local array(java, invoke<void*>(java.env, place::new_object_array, 0, static_cast<int32_t>(texts.size()), cls.get(),
                                    static_cast<void*>(nullptr)));
    for (size_t i = 0; array.get() != nullptr && i < texts.size(); ++i) {
      const local text = string_type::make(java, texts[i]);
      if (text.get() == nullptr) return {};
      invoke<void>(java.env, place::set_object_array_element, 0, array.get(), static_cast<int32_t>(i), text.get());
    }
    return array;
  }
  static std::vector<std::wstring> from(const context& java, void* reference) {
    std::vector<std::wstring> texts;
    if (reference == nullptr) return texts;
    const auto length = invoke<int32_t>(java.env, place::get_array_length, 0, reference);
    for (int32_t i = 0; i < length; ++i) {
      const local text(java, invoke<void*>(java.env, place::get_object_array_element, 0, reference, i));
      texts.push_back(text_of(java.env, text.get()));
    }
    return texts;
  }
};

/// The type that an argument of type T is passed as: literals and plain arrays of characters are text.
template <class T>
using argument_type = java_type<std::decay_t<T>>;

/// "(" arguments ")" result.
template <class Result, class... Arguments>
inline constexpr auto signature_of = (piece("(") + ... + argument_type<Arguments>::signature()) +
                                     piece(")") + java_type<Result>::signature();

/// One argument as JNI wants it; a reference made for the call lives as long as this object.
template <class T>
class argument {
 public:
  using type = argument_type<T>;
  argument(const context& java, const T& value, java_value& out) {
    if constexpr (type::primitive) {
      type::store(out, value);
    } else if constexpr (requires { type::reference(value); }) {
      out.l = type::reference(value);
    } else {
      made_ = type::make(java, value);
      out.l = made_.get();
      ok_ = out.l != nullptr;
    }
  }
  [[nodiscard]] bool ok() const noexcept { return ok_; }

 private:
  struct nothing {};
  std::conditional_t < type::primitive || requires(const T& value) { type::reference(value); }
  , nothing, local > made_;
  bool ok_ = true;
};

}  // namespace detail
}  // namespace qvjvm
