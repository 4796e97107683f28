/// @file
/// Java interfaces implemented by the host: a lambda where an interface has one method to implement, or functions by
/// name. The types of a C++ function are those of the client's table; where Java's method has a class and the function
/// a primitive type, the value comes and goes in its box. What does not fit is told when the object is made.
///
/// @code
/// const auto tick = qvjvm::implement<"java/lang/Runnable">(java, [&] { ++ticks; });
/// executor.call<"execute">(tick);
/// const auto byLength = qvjvm::implement<"java/util/Comparator">(
///     java, [](const std::wstring& left, const std::wstring& right) { return int32_t(left.size() - right.size()); });
/// const auto words = qvjvm::implement<"java/util/Iterator">(
///     java, qvjvm::on<"hasNext">([&] { return at < all.size(); }), qvjvm::on<"next">([&] { return all[at++]; }));
/// @endcode
///
/// Lifetime: the functions, and what they hold, live until Java has forgotten the object or revoke takes it back. They
/// end on a thread of Java's, or the one that revokes, or that leaves last; what they do then must not wait for long. A
/// function that holds its own object by a qvjvm::global is never forgotten: revoke it.
///
/// Threads: Java calls on whatever thread it likes, on several at once, and within a call again. A function may do what
/// any code of the host may, but objects belong to one call: those that it gets end with it, and those that its thread
/// had before are Java's own until it returns. qvjvm::global carries them in and out. At process end Java's threads may
/// be inside until the end: take back what uses data that goes before.
///
/// Errors: what a function throws becomes an exception in Java that has its text, and when that comes back to C++ it is
/// the same C++ exception again; a java_error is its own throwable. A function may give a qvjvm::result instead.
/// Exceptions of Java that are neither unchecked nor declared by the method come out as Java's
/// UndeclaredThrowableException. Nothing may leave a function by longjmp or the end of its thread.
#pragma once

#include <functional>
#include <memory>
#include <tuple>

#include "qvjvm/client/host.hpp"

namespace qvjvm {

namespace detail {

// ---- the C++ function's type ----

/// Result and parameters of something that can be called in one way.
template <class Function>
struct function_type {
  using type = typename function_type<decltype(&Function::operator())>::type;
};
template <class Result, class... Parameters>
struct function_type<Result(Parameters...)> {
  using type = Result(Parameters...);
};
template <class Result, class... Parameters>
struct function_type<Result (*)(Parameters...)> {
  using type = Result(Parameters...);
};
template <class Result, class... Parameters>
struct function_type<Result (*)(Parameters...) noexcept> {
  using type = Result(Parameters...);
};
template <class Result, class Class, class... Parameters>
struct function_type<Result (Class::*)(Parameters...)> {
  using type = Result(Parameters...);
};
template <class Result, class Class, class... Parameters>
struct function_type<Result (Class::*)(Parameters...) const> {
  using type = Result(Parameters...);
};
template <class Result, class Class, class... Parameters>
struct function_type<Result (Class::*)(Parameters...) noexcept> {
  using type = Result(Parameters...);
};
template <class Result, class Class, class... Parameters>
struct function_type<Result (Class::*)(Parameters...) const noexcept> {
  using type = Result(Parameters...);
};

/// Whether the type can be known: it cannot for generic and overloaded functions.
template <class Function>
concept callable_in_one_way = std::is_pointer_v<Function> || std::is_member_function_pointer_v<Function> || requires {
  &Function::operator();
};

/// What a result has in it.
template <class T>
struct content_of {
  using type = std::remove_cvref_t<T>;
  static constexpr bool is_result = false;
};
template <class T>
struct content_of<result<T>> {
  using type = T;
  static constexpr bool is_result = true;
};

// ---- values across ----

/// Reads an argument.
template <class T>
failure_record* read_argument(const incoming& call, size_t at, T& into) {
  const auto element = [&] {
    return local(call.java,
                 invoke<void*>(call.java.env, place::get_object_array_element, 0, call.all, static_cast<int32_t>(at)));
  };
  if constexpr (is_primitive<T>) {
    java_value value{};
    if (at < incoming::apart) {
      value.j = call.bits[at];
    } else if (auto* const why = read_box(element(), java_type<T>::signature().text[0], value)) {
      return why;
    }
    into = static_cast<T>(java_type<T>::load(value));
    return nullptr;
  } else {
    local reference = at < incoming::apart ? local(call.java, call.objects[at]) : element();
    failure_record* const why = read_reference(std::move(reference), into);
    if (at < incoming::apart) (void)reference.release();
    return why;
  }
}

/// Puts a result where Java takes it from.
template <class T>
failure_record* store_result(const context& java, T&& value, java_value& into) {
  using type = std::remove_cvref_t<T>;
  if constexpr (is_primitive<type>) {
    java_type<type>::store(into, value);
    return nullptr;
  } else if constexpr (std::derived_from<type, object>) {
    if (!value) return nullptr;
    auto* const why = value.misuse();
    into.l = why != nullptr ? nullptr : value.take().release();
    return why;
  } else {
    const passed made = java_type<type>::pass(java, value);
    // What is not made for this call ends with the value.
    into.l = made.owned || made.reference == nullptr ? made.reference
                                                     : invoke<void*>(java.env, place::new_local_ref, 0, made.reference);
    return made.why;
  }
}

template <class Signature>
struct function_call;
/// How a function of the host is called from Java.
template <class Result, class... Parameters>
struct function_call<Result(Parameters...)> {
  using content = content_of<std::remove_cvref_t<Result>>;
  using result_type = typename content::type;
  static constexpr const auto& signature = signature_of<result_type, std::remove_cvref_t<Parameters>...>;

  /// Calls it with the arguments that `read<place>(into)` reads, and raises in Java what fails. The references of the
  /// first `Lent` arguments are Java's to free.
  template <size_t Lent, class Function, class Read>
  static java_value run(const context& java, Function& function, const Read& read) {
    return run<Lent>(java, function, read, std::index_sequence_for<Parameters...>());
  }

 private:
  template <size_t Lent, class Function, class Read, size_t... At>
  static java_value run(const context& java, Function& function, const Read& read, std::index_sequence<At...>) {
    std::tuple<std::remove_cvref_t<Parameters>...> values;
    failure_record* why = nullptr;
    (void)(true && ... && ((why = read.template operator()<At>(std::get<At>(values))) == nullptr));
    java_value result{};
    if (why == nullptr)
      why = finish(java, result, [&]() -> Result {
        return std::invoke(function, static_cast<Parameters&&>(std::get<At>(values))...);
      });
    (give_back<(At < Lent)>(std::get<At>(values)), ...);
    if (why != nullptr) raise_in_java(java, failure(why));
    return why == nullptr ? result : java_value{};
  }

  template <bool Lent, class T>
  static void give_back(T& value) noexcept {
    if constexpr (Lent && std::derived_from<T, object>) (void)value.take().release();
  }

  template <class Work>
  static failure_record* finish(const context& java, java_value& into, const Work& work) {
    if constexpr (content::is_result) {
      auto done = work();
      if (!done) return failure(done.reason()).release();
      if constexpr (!std::is_void_v<result_type>) return store_result(java, std::move(done).value(), into);
    } else if constexpr (std::is_void_v<result_type>) {
      work();
    } else {
      return store_result(java, work(), into);
    }
    return nullptr;
  }
};

// ---- functions and their names ----

/// A function for the method of that name.
template <fixed_text Name, class Signature, class Function>
struct named_function {
  using signature = Signature;
  using function_of = Function;
  static constexpr const char* name = Name.text;
  Function function;
};

/// A function for the one method that has to be implemented.
template <class Function>
struct nameless_function {
  using signature = typename function_type<Function>::type;
  using function_of = Function;
  static constexpr const char* name = nullptr;
  Function function;
};

template <class T>
inline constexpr bool is_named = false;
template <fixed_text Name, class Signature, class Function>
inline constexpr bool is_named<named_function<Name, Signature, Function>> = true;

template <class Given>
auto as_function(Given&& given) {
  using type = std::remove_cvref_t<Given>;
  if constexpr (is_named<type>) {
    return type(std::forward<Given>(given));
  } else {
    static_assert(callable_in_one_way<type>,
                  "qvjvm: a generic or overloaded function cannot be taken for Java's method: give it with its types, "
                  "on<\"compare\", int32_t(qvjvm::object, qvjvm::object)>(…)");
    return nameless_function<type>{std::forward<Given>(given)};
  }
}

/// Which function of the host answers which method: a name, null for the one method, and the signature that it has.
struct host_slot {
  const char* name;
  std::string_view signature;
};

/// The functions of one object.
template <class... Named>
class host_functions final : public host_target {
 public:
  host_functions(const context& java, Named&&... functions)
      : host_target(java, entries), functions_(std::move(functions)...) {}
  void end() noexcept override { delete this; }

  static constexpr host_slot slots[] = {{Named::name, function_call<typename Named::signature>::signature.view()}...};

 private:
  template <size_t At>
  static java_value run(host_target& target, const incoming& call) noexcept {
    using named = std::tuple_element_t<At, std::tuple<Named...>>;
    auto& function = std::get<At>(static_cast<host_functions&>(target).functions_).function;
    return run_for_java(call.java, [&] {
      return function_call<typename named::signature>::template run<incoming::apart>(
          call.java, function, [&]<size_t Place, class T>(T& into) { return read_argument(call, Place, into); });
    });
  }
  template <size_t... At>
  static constexpr std::array<entry, sizeof...(At)> all_of(std::index_sequence<At...>) {
    return {&run<At>...};
  }
  static constexpr std::array<entry, sizeof...(Named)> table = all_of(std::index_sequence_for<Named...>());
  static constexpr const entry* entries = table.data();

  std::tuple<Named...> functions_;
};

// ---- making the Java type and its objects ----

/// The arrays that HostType.make wants.
struct type_request {
  std::vector<class_ref> interfaces;
  std::vector<std::optional<std::string>> names;
  std::vector<std::string> shapes;
  std::vector<class_ref> types;
};

/// Another reference to a class that the realm keeps; null with the exception pending.
inline class_ref class_named(const context& java, std::string_view type) {
  void* const cls = class_of_signature(java, type);
  return class_ref(local(java, cls == nullptr ? nullptr : invoke<void*>(java.env, place::new_local_ref, 0, cls)));
}

/// Adds a function's shape and the classes in it; why one is not there, else null.
inline failure_record* add_slot(const context& java, const host_slot& slot, type_request& request) {
  request.names.push_back(slot.name == nullptr ? std::nullopt : std::optional<std::string>(slot.name));
  std::string& shape = request.shapes.emplace_back();
  const auto add = [&](std::string_view type) -> failure_record* {
    const bool object = type[0] == 'L' || type[0] == '[';
    shape.push_back(object ? 'L' : type[0]);
    auto& cls = request.types.emplace_back();
    if (object) cls = class_named(java, type);
    return object && !cls ? take_exception(java) : nullptr;
  };
  size_t at = 1;
  for (; slot.signature[at] != ')'; at += type_at(slot.signature, at).size()) {
    if (auto* const why = add(type_at(slot.signature, at))) return why;
  }
  return add(slot.signature.substr(at + 1));
}

/// What HostType.make says: a type, or a text.
inline outcome<object> make_host_type(const context& java, const host_kit& kit,
                                      std::span<const std::string_view> interfaces, std::span<const host_slot> slots) {
  type_request request;
  for (const std::string_view name : interfaces) {
    void* const cls = find_or_keep_class(java, name);
    if (cls == nullptr) return failed<object>(take_exception(java));
    request.interfaces.emplace_back(local(java, invoke<void*>(java.env, place::new_local_ref, 0, cls)));
  }
  for (const host_slot& slot : slots) {
    if (auto* const why = add_slot(java, slot, request)) return failed<object>(why);
  }
  using make = object(std::vector<class_ref>, std::vector<std::optional<std::string>>, std::vector<std::string>,
                      std::vector<class_ref>);
  auto made = instance<"qvjvm/HostType">::try_call_static<"make", make>(kit.on(java.env), request.interfaces,
                                                                        request.names, request.shapes, request.types);
  if (!made) return failed<object>(made.reason());
  if (is_instance(java.env, made.value().get(), kit.type_class)) return {nullptr, std::move(made).value()};
  const auto text = made.value().try_as<std::wstring>();
  return text ? failed<object>(invalid(text.value().c_str())) : failed<object>(text.reason());
}

/// The type of an implementation, made once for a realm and kept at that place of it; a global reference, or a local
/// one in `made` where the realm has no place.
inline outcome<void*> find_host_type(const context& java, const host_kit& kit, std::atomic<void*>* where,
                                     std::span<const std::string_view> interfaces, std::span<const host_slot> slots,
                                     object& made) {
  void* const known = where == nullptr ? nullptr : where->load(std::memory_order_acquire);
  // A type of classes that were closed is of another class.
  if (known != nullptr && is_instance(java.env, known, kit.type_class)) return {nullptr, known};
  auto fresh = make_host_type(java, kit, interfaces, slots);
  if (fresh.why != nullptr) return {fresh.why, nullptr};
  made = std::move(fresh.value);
  if (where == nullptr) return {nullptr, made.get()};
  void* const global = invoke<void*>(java.env, place::new_global_ref, 0, made.get());
  if (global == nullptr || !java.home->keep({}, global)) {
    return {new_failure(QV_E_OUTOFMEMORY, L"no memory for a global reference"), nullptr};
  }
  where->store(global, std::memory_order_release);
  return {nullptr, global};
}

/// A new object of that type, which takes the functions over, also when it cannot be made.
inline outcome<local> make_host_object(const context& java, const host_kit& kit, void* type, host_target* functions) {
  java_value argument{};
  argument.j = to_bits(functions);
  void* const made =
      invoke<void*>(java.env, place::call_method_a, 0, type, kit.create, static_cast<const java_value*>(&argument));
  if (made != nullptr && !exception_pending(java.env)) return {nullptr, local(java, made)};
  failure_record* const why = take_exception(java);
  functions->end();
  return failed<local>(why);
}

/// An implementation at compile time: where realms keep its type.
template <class Functions, fixed_text... Interfaces>
struct implementation {
  static inline const uint32_t number = take_site_number();
  static constexpr std::string_view interfaces[] = {Interfaces.view()...};

  template <class... Named>
  static outcome<local> make(const context& java, const host_kit& kit, Named&&... functions) {
    object fresh;
    std::atomic<void*>* const where = number == 0 ? nullptr : java.home->find_place(number);
    const auto type = find_host_type(java, kit, where, interfaces, Functions::slots, fresh);
    if (type.why != nullptr) return failed<local>(type.why);
    return make_host_object(java, kit, type.value, new Functions(java, std::move(functions)...));
  }
};

}  // namespace detail

/// A Java object that the host implements, as its first interface or its class: a local reference, and the way to take
/// it back. The object itself lives as long as Java can reach it.
template <fixed_text Interface>
class hosted : public instance<Interface> {
 public:
  /// Null.
  hosted() = default;
  /// For the client itself.
  hosted(detail::local reference, detail::realm_user kit) noexcept
      : instance<Interface>(std::move(reference)), kit_(std::move(kit)) {}

  /// What takes the object back from any thread and at any time.
  /// @throws qvjvm::error for null, or without memory in Java.
  [[nodiscard]] host_handle handle() const { return try_handle().value(); }
  /// The same with a result instead of an exception.
  [[nodiscard]] result<host_handle> try_handle() const {
    const auto part = find_part();
    if (!part) return part.reason();
    auto kept = global::try_make(part.value());
    if (!kept) return kept.reason();
    return host_handle(std::move(kept).value());
  }
  /// Takes the object back; see host_handle::revoke.
  /// @throws qvjvm::error for null.
  void revoke() const { try_revoke().value(); }
  /// The same with a result instead of an exception.
  result<void> try_revoke() const {
    const auto part = find_part();
    return part ? part.value().template try_call<"revoke">() : result<void>(part.reason());
  }

 private:
  [[nodiscard]] result<detail::java_part> find_part() const {
    if (auto* const why = object::misuse()) return failure(why);
    const detail::here kit{{kit_.get(), object::java().env}};
    return detail::java_part::try_call_static<"of", detail::java_part(object)>(kit, *this);
  }

  detail::realm_user kit_;
};

/// A function for the method of that name: `on<"compare">(less)`, or with its types where they cannot be known from the
/// function, `on<"compare", int32_t(qvjvm::object, qvjvm::object)>(less)`. Among overloads the types choose.
template <fixed_text Name, class Signature = void, class Function>
[[nodiscard]] auto on(Function function) {
  if constexpr (std::is_void_v<Signature>) {
    static_assert(detail::callable_in_one_way<Function>,
                  "qvjvm: the types of a generic or overloaded function are not known: on<\"name\", int32_t(…)>(…)");
    using type = typename detail::function_type<Function>::type;
    return detail::named_function<Name, type, Function>{std::move(function)};
  } else {
    return detail::named_function<Name, Signature, Function>{std::move(function)};
  }
}
/// A member function of an object that is kept: `on<"compare">(sorter, &Sorter::compare)`.
template <fixed_text Name, class Object, class Member>
[[nodiscard]] auto on(std::shared_ptr<Object> object, Member member) {
  using type = typename detail::function_type<Member>::type;
  auto bound = [object = std::move(object), member](auto&&... values) -> decltype(auto) {
    return std::invoke(member, *object, std::forward<decltype(values)>(values)...);
  };
  return detail::named_function<Name, type, decltype(bound)>{std::move(bound)};
}

/// A Java object that implements the interfaces by functions of the host: one function, where one method has to be
/// implemented, or functions by name from on. Default methods that have none run as they are; so do equals, hashCode
/// and toString, by identity. `where` is a qvjvm::jvm, qvjvm::thread_jvm or an object, whose class loader is asked for
/// the interfaces.
/// @throws qvjvm::error, with QV_E_INVALIDARG, when a method is not there, has no function or other types, or when Java
/// cannot have such an object; java_error when an interface is not there.
template <fixed_text... Interfaces, detail::origin Where, class... Functions>
[[nodiscard]] auto try_implement(const Where& where, Functions&&... functions) {
  static_assert(sizeof...(Interfaces) > 0, "qvjvm: implement<\"java/lang/Runnable\">(…) names the interfaces");
  static_assert(sizeof...(Functions) > 0, "qvjvm: an implementation has at least one function");
  return [&]<fixed_text First, fixed_text... More, class... Named>(Named && ... named)->result<hosted<First>> {
    using all = detail::host_functions<Named...>;
    const auto java = enter_from(where);
    if (java.why != nullptr) return failure(java.why);
    const auto kit = detail::need_kit(java.value);
    if (kit.why != nullptr) return failure(kit.why);
    auto made = detail::implementation<all, First, More...>::make(java.value, kit.value, std::move(named)...);
    if (made.why != nullptr) return failure(made.why);
    return hosted<First>(std::move(made.value), kit.value.home);
  }
  .template operator()<Interfaces...>(detail::as_function(std::forward<Functions>(functions))...);
}
/// The same, thrown.
template <fixed_text... Interfaces, detail::origin Where, class... Functions>
[[nodiscard]] auto implement(const Where& where, Functions&&... functions) {
  return try_implement<Interfaces...>(where, std::forward<Functions>(functions)...).value();
}
/// The same with the interfaces as classes of C++: implement<java::lang::Runnable>(java, [] {}).
template <std::derived_from<object>... Interfaces, detail::origin Where, class... Functions>
requires(sizeof...(Interfaces) > 0) [[nodiscard]] auto try_implement(const Where& where, Functions&&... functions) {
  return try_implement<detail::class_text_of<Interfaces>...>(where, std::forward<Functions>(functions)...);
}
/// The same, thrown.
template <std::derived_from<object>... Interfaces, detail::origin Where, class... Functions>
requires(sizeof...(Interfaces) > 0) [[nodiscard]] auto implement(const Where& where, Functions&&... functions) {
  return try_implement<Interfaces...>(where, std::forward<Functions>(functions)...).value();
}

}  // namespace qvjvm
