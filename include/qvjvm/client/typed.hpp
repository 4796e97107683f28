/// @file
/// Objects and classes whose names the compiler knows. What they name is looked up once for each class loader and kept,
/// so a call is as fast as one with a resolved method, and nobody resolves anything by hand.
///
/// @code
/// struct driver : qvjvm::java_class<driver, "org/apache/fop/apps/Driver"> {
///   using java_class::java_class;
///   void set_renderer(int32_t kind) const { call<"setRenderer">(kind); }
///   void set_output(const qvjvm::object& stream) const {
///     call<"setOutputStream", void(qvjvm::instance<"java/io/OutputStream">)>(stream);
///   }
/// };
/// driver fop = driver::create(java);
/// @endcode
#pragma once

#include "qvjvm/client/object.hpp"

namespace qvjvm {

namespace detail {

/// Where a call can begin: a jvm, a thread_jvm, or an object.
template <class T>
concept origin = requires(const T& where) {
  { enter_from(where) } -> std::same_as<outcome<context>>;
};

/// How a call is told: `bool` takes the parameters from the arguments, `bool(qvjvm::object)` declares them.
template <class Form, class... Arguments>
struct call_types {
  using result = Form;
  using signature = typed_signature<Form, detail::plain<Arguments>...>;
  static constexpr uint64_t ask = 0;
  template <class Call>
  static decltype(auto) apply(const Call& call, const Arguments&... values) {
    return call(values...);
  }
};
template <class Result, class... Parameters, class... Arguments>
struct call_types<Result(Parameters...), Arguments...> {
  using result = Result;
  using signature = typed_signature<Result, Parameters...>;
  static constexpr bool counted = sizeof...(Parameters) == sizeof...(Arguments);
  static constexpr uint64_t ask = [] {
    uint64_t marks = 0;
    if constexpr (counted) {
      size_t at = 0;
      ((marks |= uint64_t{parameter<Parameters, Arguments>::ask} << at++), ...);
    }
    return marks;
  }();
  template <class Call>
  static decltype(auto) apply(const Call& call, const Arguments&... values) {
    static_assert(counted, "qvjvm: the call gives more or fewer arguments than the method has parameters");
    if constexpr (counted) {
      return call(parameter<Parameters, Arguments>::carry(values)...);
    } else {
      return call(values...);
    }
  }
};

/// What of such a call the compiler could not know.
template <class Types>
inline constexpr doubt doubts_of{Types::signature::text.c_str(), Types::ask};

/// A call of a member that is known; `Types` is a call_types.
template <class Types, class... Arguments>
auto call_known(const context& java, place family, const target& what, const Arguments&... values) {
  return Types::apply(
      [&](const auto&... carried) {
        return call<typename Types::result>(java, family, what, doubts_of<Types>, carried...);
      },
      values...);
}

/// The same for a constructor.
template <class Object, class Types, class... Arguments>
outcome<Object> construct_known(const context& java, const target& what, const Arguments&... values) {
  return Types::apply(
      [&](const auto&... carried) { return construct<Object>(java, what, doubts_of<Types>, carried...); }, values...);
}

}  // namespace detail

/// An object whose class the compiler knows; null is allowed. It comes only from calls that promise the class, from
/// object::as, which asks, or from unchecked_as, which does not.
template <fixed_text Class, class Base = object>
class instance : public Base {
 public:
  /// Null.
  instance() = default;
  /// Takes over a local reference of this thread; for the client itself, which knows the class.
  explicit instance(detail::local reference) noexcept : Base(std::move(reference)) {}

  /// The type that signatures have for it. For the client itself.
  static consteval auto java_signature() {
    return detail::join(detail::piece("L"), detail::piece(Class.text), detail::piece(";"));
  }

  using Base::call;
  using Base::field;
  using Base::set_field;
  using Base::try_call;
  using Base::try_field;
  using Base::try_set_field;

  /// A new object. `where` is a qvjvm::jvm, qvjvm::thread_jvm or an object of the thread.
  /// @throws qvjvm::error when there is no such class or constructor, java_error when it raised an exception.
  template <detail::origin Where, class... Arguments>
  [[nodiscard]] static instance create(const Where& where, const Arguments&... values) {
    return detail::value_of(make<instance, void>(where, values...));
  }
  /// The same with a result instead of an exception.
  template <detail::origin Where, class... Arguments>
  [[nodiscard]] static result<instance> try_create(const Where& where, const Arguments&... values) {
    return result<instance>(make<instance, void>(where, values...));
  }
  /// A new object from the constructor with those parameters: create_as<void(qvjvm::object)>(java, text).
  template <class Signature, detail::origin Where, class... Arguments>
  [[nodiscard]] static instance create_as(const Where& where, const Arguments&... values) {
    return detail::value_of(make<instance, Signature>(where, values...));
  }
  /// The same with a result instead of an exception.
  template <class Signature, detail::origin Where, class... Arguments>
  [[nodiscard]] static result<instance> try_create_as(const Where& where, const Arguments&... values) {
    return result<instance>(make<instance, Signature>(where, values...));
  }

  /// Calls an instance method. Form is the result, whose parameters are the arguments' types, or the whole type:
  /// `call<"size", int32_t>()`, `call<"add", bool(qvjvm::object)>(text)`.
  /// @throws qvjvm::error when there is no such method, java_error when Java raised an exception.
  template <fixed_text Name, class Form = void, class... Arguments>
  auto call(const Arguments&... values) const -> typename detail::call_types<Form, Arguments...>::result {
    return detail::value_of(call_member<Name, Form>(values...));
  }
  /// The same with a result instead of an exception.
  template <fixed_text Name, class Form = void, class... Arguments>
  auto try_call(const Arguments&... values) const {
    return result<typename detail::call_types<Form, Arguments...>::result>(call_member<Name, Form>(values...));
  }
  /// Calls a static method.
  template <fixed_text Name, class Form = void, detail::origin Where, class... Arguments>
  static auto call_static(const Where& where, const Arguments&... values) ->
      typename detail::call_types<Form, Arguments...>::result {
    return detail::value_of(call_static_member<Name, Form>(where, values...));
  }
  /// The same with a result instead of an exception.
  template <fixed_text Name, class Form = void, detail::origin Where, class... Arguments>
  static auto try_call_static(const Where& where, const Arguments&... values) {
    return result<typename detail::call_types<Form, Arguments...>::result>(
        call_static_member<Name, Form>(where, values...));
  }

  /// Reads an instance field of that type: field<"x", int32_t>().
  template <fixed_text Name, class Value>
  [[nodiscard]] Value field() const {
    return detail::value_of(read<Name, Value>());
  }
  /// The same with a result instead of an exception.
  template <fixed_text Name, class Value>
  [[nodiscard]] result<Value> try_field() const {
    return result<Value>(read<Name, Value>());
  }
  /// Writes an instance field; its type is that of the value, unless it is named.
  template <fixed_text Name, class Value = void, class From>
  void set_field(const From& value) const {
    detail::value_of(write<Name, Value>(value));
  }
  /// The same with a result instead of an exception.
  template <fixed_text Name, class Value = void, class From>
  result<void> try_set_field(const From& value) const {
    return result<void>(write<Name, Value>(value));
  }
  /// Reads a static field of that type.
  template <fixed_text Name, class Value, detail::origin Where>
  [[nodiscard]] static Value static_field(const Where& where) {
    return detail::value_of(read_static<Name, Value>(where));
  }
  /// The same with a result instead of an exception.
  template <fixed_text Name, class Value, detail::origin Where>
  [[nodiscard]] static result<Value> try_static_field(const Where& where) {
    return result<Value>(read_static<Name, Value>(where));
  }
  /// Writes a static field; its type is that of the value, unless it is named.
  template <fixed_text Name, class Value = void, detail::origin Where, class From>
  static void set_static_field(const Where& where, const From& value) {
    detail::value_of(write_static<Name, Value>(where, value));
  }
  /// The same with a result instead of an exception.
  template <fixed_text Name, class Value = void, detail::origin Where, class From>
  static result<void> try_set_static_field(const Where& where, const From& value) {
    return result<void>(write_static<Name, Value>(where, value));
  }

  /// The class itself.
  /// @throws qvjvm::error when there is no such class.
  template <detail::origin Where>
  [[nodiscard]] static class_ref get_class_from(const Where& where) {
    const auto java = enter_from(where);
    if (java.why != nullptr) detail::raise(java.why);
    void* const cls = detail::class_site<Class>::find(java.value);
    if (cls == nullptr) detail::raise(detail::take_exception(java.value));
    return class_ref(
        detail::local(java.value, detail::invoke<void*>(java.value.env, detail::place::new_local_ref, 0, cls)));
  }

 protected:
  /// The class, null where the member does not need it, and the member. For the client itself.
  template <detail::member Kind, fixed_text Name, class Signature>
  static detail::outcome<detail::target> find(const detail::context& java) {
    detail::target found;
    if constexpr (Kind == detail::member::static_method || Kind == detail::member::static_field ||
                  Name.view() == "<init>") {
      found.reference = detail::class_site<Class>::find(java);
      if (found.reference == nullptr) [[unlikely]]
        return {detail::take_exception(java), {}};
    }
    found.method = detail::site<Class, Kind, Name, Signature>::find(java);
    if (found.method == nullptr) [[unlikely]]
      return {detail::take_exception(java), {}};
    return {nullptr, found};
  }

  /// The same for one use on the calling thread. For the client itself.
  template <class T, detail::member Kind, fixed_text Name, class Signature, class Use>
  static detail::outcome<T> with_member(detail::failure_record* misuse, const detail::context& java, const Use& use) {
    if (misuse != nullptr) [[unlikely]]
      return detail::failed<T>(misuse);
    const auto found = find<Kind, Name, Signature>(java);
    if (found.why != nullptr) [[unlikely]]
      return detail::failed<T>(found.why);
    return use(found.value);
  }

  /// A new object. For the client itself.
  template <class Object, class Form, class Where, class... Arguments>
  static detail::outcome<Object> make(const Where& where, const Arguments&... values) {
    using types = detail::call_types<Form, Arguments...>;
    const auto java = enter_from(where);
    return with_member<Object, detail::member::method, "<init>", typename types::signature>(
        java.why, java.value, [&](const detail::target& what) {
          return detail::construct_known<Object, types>(java.value, what, values...);
        });
  }

 private:
  template <fixed_text Name, class Form, class... Arguments>
  auto call_member(const Arguments&... values) const {
    using types = detail::call_types<Form, Arguments...>;
    return with_member<typename types::result, detail::member::method, Name, typename types::signature>(
        object::misuse(), object::java(), [&](const detail::target& what) {
          return detail::call_known<types>(object::java(), detail::place::call_method_a, {object::get(), what.method},
                                           values...);
        });
  }

  template <fixed_text Name, class Form, class Where, class... Arguments>
  static auto call_static_member(const Where& where, const Arguments&... values) {
    using types = detail::call_types<Form, Arguments...>;
    const auto java = enter_from(where);
    return with_member<typename types::result, detail::member::static_method, Name, typename types::signature>(
        java.why, java.value, [&](const detail::target& what) {
          return detail::call_known<types>(java.value, detail::place::call_static_method_a, what, values...);
        });
  }

  template <fixed_text Name, class Value>
  detail::outcome<Value> read() const {
    return with_member<Value, detail::member::field, Name, detail::field_signature<Value>>(
        object::misuse(), object::java(), [&](const detail::target& what) {
          return detail::get_field<Value>(object::java(), detail::place::get_field, object::get(), what.method);
        });
  }

  template <fixed_text Name, class Named, class From>
  detail::outcome<void> write(const From& value) const {
    using type = detail::field_type<Named, From>;
    return with_member<void, detail::member::field, Name, detail::field_signature<type>>(
        object::misuse(), object::java(), [&](const detail::target& what) -> detail::outcome<void> {
          return {detail::set_field<type>(object::java(), detail::place::set_field, object::get(), what.method, value)};
        });
  }

  template <fixed_text Name, class Value, class Where>
  static detail::outcome<Value> read_static(const Where& where) {
    const auto java = enter_from(where);
    return with_member<Value, detail::member::static_field, Name, detail::field_signature<Value>>(
        java.why, java.value, [&](const detail::target& what) {
          return detail::get_field<Value>(java.value, detail::place::get_static_field, what.reference, what.method);
        });
  }

  template <fixed_text Name, class Named, class Where, class From>
  static detail::outcome<void> write_static(const Where& where, const From& value) {
    using type = detail::field_type<Named, From>;
    const auto java = enter_from(where);
    return with_member<void, detail::member::static_field, Name, detail::field_signature<type>>(
        java.why, java.value, [&](const detail::target& what) -> detail::outcome<void> {
          return {
              detail::set_field<type>(java.value, detail::place::set_static_field, what.reference, what.method, value)};
        });
  }
};

/// The base of a host's own type for a Java class; see the head of this file. Base is the host's type for a class
/// above, whose functions it then has and as which it is passed.
template <class Self, fixed_text Class, class Base = object>
class java_class : public instance<Class, Base> {
 public:
  using instance<Class, Base>::instance;

  /// A new object of the host's type; see instance::create.
  template <detail::origin Where, class... Arguments>
  [[nodiscard]] static Self create(const Where& where, const Arguments&... values) {
    return detail::value_of(java_class::template make<Self, void>(where, values...));
  }
  /// The same with a result instead of an exception.
  template <detail::origin Where, class... Arguments>
  [[nodiscard]] static result<Self> try_create(const Where& where, const Arguments&... values) {
    return result<Self>(java_class::template make<Self, void>(where, values...));
  }
  /// See instance::create_as.
  template <class Signature, detail::origin Where, class... Arguments>
  [[nodiscard]] static Self create_as(const Where& where, const Arguments&... values) {
    return detail::value_of(java_class::template make<Self, Signature>(where, values...));
  }
  /// The same with a result instead of an exception.
  template <class Signature, detail::origin Where, class... Arguments>
  [[nodiscard]] static result<Self> try_create_as(const Where& where, const Arguments&... values) {
    return result<Self>(java_class::template make<Self, Signature>(where, values...));
  }
};

}  // namespace qvjvm
