/// @file
/// What the headers that qvjvm-bind writes share: the base of their classes, what they take as arguments, and how the
/// arguments go to Java. Generated code includes it; a host uses null and wrapper's functions alone.
#pragma once

#include <algorithm>
#include <tuple>

#include "qvjvm/qvjvm.hpp"

namespace qvjvm {

/// The null of a class, where a call has to say which one is meant: `stream.print(qvjvm::null<java::lang::String>)`.
template <class Class>
struct typed_null {};
/// See typed_null.
template <class Class>
inline constexpr typed_null<Class> null{};

/// Where a static call can begin: a qvjvm::jvm, a qvjvm::thread_jvm, or an object of the thread.
template <class T>
concept origin = detail::origin<T>;

namespace detail {

template <class Class>
struct java_type<typed_null<Class>> : reference_type {
  static consteval auto signature() { return java_type<Class>::signature(); }
  static passed pass(const context&, const typed_null<Class>&) noexcept { return {}; }
};

/// An argument that C++ knows to be of the parameter's class; Java is not asked.
template <class Parameter>
struct known {
  const object& value;
};
template <class Parameter>
struct java_type<known<Parameter>> : reference_type {
  static consteval auto signature() { return java_type<Parameter>::signature(); }
  static passed pass(const context& java, const known<Parameter>& argument) noexcept {
    return java_type<object>::pass(java, argument.value);
  }
};

/// Whether a list of names, each between spaces, has one.
constexpr bool has_name(std::string_view list, std::string_view name) noexcept {
  for (size_t at = list.find(name); at != std::string_view::npos; at = list.find(name, at + 1)) {
    if (at > 0 && list[at - 1] == ' ' && at + name.size() < list.size() && list[at + name.size()] == ' ') return true;
  }
  return false;
}

template <class T>
concept typed_object = std::derived_from<T, object> && requires {
  T::java_interfaces;
};

/// Whether the class of T has an interface of that name, by the list that its wrapper carries.
template <class T, fixed_text Name>
concept has_interface = typed_object<T> && has_name(T::java_interfaces, Name.view());

/// The same for the interface's own wrapper.
template <class T, class Interface>
concept implements = typed_object<T> && typed_object<Interface> && !std::derived_from<T, Interface> &&
                     has_name(T::java_interfaces, class_name_of(own_signature<Interface>.view()));

// What an argument may be, asked without an error where it may not.
template <class T>
inline constexpr bool is_value = std::is_enum_v<T> && !std::is_same_v<T, std::byte>;
template <>
inline constexpr bool is_value<bool> = true;
template <>
inline constexpr bool is_value<int8_t> = true;
template <>
inline constexpr bool is_value<char16_t> = true;
template <>
inline constexpr bool is_value<wchar_t> = true;
template <>
inline constexpr bool is_value<int16_t> = true;
template <>
inline constexpr bool is_value<int32_t> = true;
template <>
inline constexpr bool is_value<long> = true;
template <>
inline constexpr bool is_value<int64_t> = true;
template <>
inline constexpr bool is_value<float> = true;
template <>
inline constexpr bool is_value<double> = true;

template <class T>
inline constexpr bool is_template_of_client = false;
template <class T>
inline constexpr bool is_template_of_client<boxed<T>> = is_value<T>;
template <class T>
inline constexpr bool is_template_of_client<typed_null<T>> = true;
template <class T>
inline constexpr bool is_text = wide_text<T> || utf16_text<T> || utf8_text<T> || char8_text<T>;
template <class T>
inline constexpr bool is_reference =
    std::derived_from<T, object> || std::is_same_v<T, global> || is_text<T> || is_template_of_client<T>;
template <class T>
inline constexpr bool is_reference<std::optional<T>> = is_value<T> || is_reference<T>;
template <class T>
inline constexpr bool is_reference<std::vector<T>> = array_element<T> || is_reference<T>;
template <class T, size_t Extent>
inline constexpr bool is_reference<std::span<T, Extent>> = array_element<std::remove_const_t<T>>;

/// What of an argument decides whether it fits: typed nulls are as their class, what may be missing as what it holds.
template <class T>
struct seen_as {
  using type = T;
};
template <class T>
struct seen_as<typed_null<T>> {
  using type = T;
};
template <class T>
struct seen_as<std::optional<T>> {
  using type = as_reference<T>;
};

template <class Parameter, class T>
constexpr bool fits_reference() noexcept;

/// The elements of arrays of references, where both are: an array goes where one of what is above its elements is
/// wanted.
template <class Parameter, class T>
inline constexpr bool elements_fit = false;
template <class P, class T>
inline constexpr bool elements_fit<array<P>, array<T>> = fits_reference<P, T>();
template <class P, class T>
inline constexpr bool elements_fit<std::vector<P>, array<T>> = fits_reference<P, T>();
template <class P, class T>
inline constexpr bool elements_fit<array<P>, std::vector<T>> = fits_reference<P, T>();

template <class Parameter, class T>
constexpr bool fits_reference() noexcept {
  if constexpr (std::is_same_v<T, std::nullptr_t>) {
    return true;
  } else if constexpr (!is_reference<T> || !is_reference<Parameter>) {
    return false;
  } else {
    using type = typename seen_as<T>::type;
    return std::derived_from<type, Parameter> || implements<type, Parameter> || elements_fit<Parameter, type> ||
           fits(own_signature<type>.view(), own_signature<Parameter>.view()) == fit::yes;
  }
}

template <class Parameter, class T>
constexpr bool fits_value() noexcept {
  if constexpr (!is_value<T>) {
    return false;
  } else if constexpr (std::is_same_v<Parameter, bool> || std::is_same_v<T, bool>) {
    return std::is_same_v<Parameter, T>;
  } else {
    return widens(own_signature<T>.text[0], own_signature<Parameter>.text[0]);
  }
}

/// An argument as the call gets it.
template <class Parameter, class T>
decltype(auto) to_java(const T& value) noexcept {
  using type = plain<T>;
  if constexpr (implements<type, Parameter>) {
    return known<Parameter>{value};
  } else if constexpr (std::derived_from<type, object> && elements_fit<Parameter, type>) {
    return known<Parameter>{value};
  } else {
    return (value);
  }
}

}  // namespace detail

/// What fits a parameter of a Java method: for a primitive type what widens to it, boolean only from bool; for a class
/// its objects and those of classes that C++ knows to be below it, null, and whatever of C++ stands for such an object,
/// as text for a String.
template <class T, class Parameter>
concept argument = (detail::is_value<Parameter> && detail::fits_value<Parameter, detail::plain<T>>()) ||
                   (!detail::is_value<Parameter> && detail::fits_reference<Parameter, detail::plain<T>>());

/// Whether arguments fit parameters, one for one.
template <class... Parameters>
struct takes {
  /// Whether they do.
  template <class... Arguments>
  static constexpr bool from = [] {
    if constexpr (sizeof...(Arguments) == sizeof...(Parameters)) {
      return (true && ... && argument<Arguments, Parameters>);
    } else {
      return false;
    }
  }();
};

/// The same where the last parameter stands for any number of arguments.
template <class... Parameters>
struct takes_more {
  /// Whether they do.
  template <class... Arguments>
  static constexpr bool from = [] {
    if constexpr (sizeof...(Arguments) + 1 >= sizeof...(Parameters)) {
      return []<size_t... I>(std::index_sequence<I...>) {
        return (true && ... &&
                argument<Arguments,
                         std::tuple_element_t<std::min(I, sizeof...(Parameters) - 1), std::tuple<Parameters...>>>);
      }
      (std::index_sequence_for<Arguments...>());
    } else {
      return false;
    }
  }();
};

/// The base of generated classes. Self is the class, Base the one of its superclass.
template <class Self, fixed_text Class, class Base = object>
class wrapper : public instance<Class, Base> {
 public:
  using instance<Class, Base>::instance;

  /// An object as one of its interfaces; Java is not asked. The name is looked at first: while Self is being defined
  /// nothing may be asked of it.
  template <class From>
  requires(detail::has_interface<From, Class> && !std::derived_from<From, Self>)
      wrapper(const From& from)  // NOLINT(google-explicit-constructor)
      : wrapper(from.object::copy().take()) {}
  /// The same, which leaves null behind.
  template <class From>
  requires(!std::is_reference_v<From> && !std::is_const_v<From> && detail::has_interface<From, Class> &&
           !std::derived_from<From, Self>) wrapper(From&& from)  // NOLINT(google-explicit-constructor)
      : wrapper(static_cast<object&&>(from).take()) {}

  /// There is no constructor for such arguments, or none at all.
  template <class... Arguments>
  static Self create(const Arguments&...) = delete;
  /// The same with a result instead of an exception.
  template <class... Arguments>
  static result<Self> try_create(const Arguments&...) = delete;

 protected:
  /// A call of a method. For generated code, as what follows.
  template <fixed_text Name, class Signature, class... Arguments>
  auto java_call(const Arguments&... values) const {
    return send(
        std::type_identity<Signature>(),
        [&](const auto&... carried) { return this->template call<Name, Signature>(carried...); }, values...);
  }
  /// The same with a result instead of an exception.
  template <fixed_text Name, class Signature, class... Arguments>
  auto try_java_call(const Arguments&... values) const {
    return send(
        std::type_identity<Signature>(),
        [&](const auto&... carried) { return this->template try_call<Name, Signature>(carried...); }, values...);
  }
  /// A call of a static method.
  template <fixed_text Name, class Signature, class Where, class... Arguments>
  static auto java_static(const Where& where, const Arguments&... values) {
    return send(
        std::type_identity<Signature>(),
        [&](const auto&... carried) {
          return instance<Class, Base>::template call_static<Name, Signature>(where, carried...);
        },
        values...);
  }
  /// The same with a result instead of an exception.
  template <fixed_text Name, class Signature, class Where, class... Arguments>
  static auto try_java_static(const Where& where, const Arguments&... values) {
    return send(
        std::type_identity<Signature>(),
        [&](const auto&... carried) {
          return instance<Class, Base>::template try_call_static<Name, Signature>(where, carried...);
        },
        values...);
  }
  /// A new object.
  template <class Signature, class Where, class... Arguments>
  static Self java_new(const Where& where, const Arguments&... values) {
    return send(
        std::type_identity<Signature>(),
        [&](const auto&... carried) {
          return detail::value_of(wrapper::template make<Self, Signature>(where, carried...));
        },
        values...);
  }
  /// The same with a result instead of an exception.
  template <class Signature, class Where, class... Arguments>
  static result<Self> try_java_new(const Where& where, const Arguments&... values) {
    return send(
        std::type_identity<Signature>(),
        [&](const auto&... carried) {
          return result<Self>(wrapper::template make<Self, Signature>(where, carried...));
        },
        values...);
  }
  /// The array that a method with a variable number of arguments gets.
  template <class Element, class Where, class... Arguments>
  static auto java_varargs(const Where& where, const Arguments&... values) {
    if constexpr (detail::array_element<Element>) {
      return std::vector<Element>{static_cast<Element>(values)...};
    } else {
      auto made = array<Element>::make(where, static_cast<int32_t>(sizeof...(Arguments)));
      int32_t at = 0;
      (made.set(at++, values), ...);
      return made;
    }
  }

 private:
  template <class Result, class... Parameters, class Call, class... Arguments>
  static auto send(std::type_identity<Result(Parameters...)>, const Call& call, const Arguments&... values) {
    return call(detail::to_java<Parameters>(values)...);
  }
};

}  // namespace qvjvm
