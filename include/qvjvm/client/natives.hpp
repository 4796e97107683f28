/// @file
/// Native methods of the host's own Java classes, by functions of the host. The signature that Java wants is made of
/// the C++ types, and the function is a template argument, so a call costs what one by hand does.
///
/// @code
/// int32_t area(const shape& self, int32_t scale) { … }   // native int area(int scale);
/// int64_t now() { … }                                    // static native long now();
///
/// qvjvm::register_natives<"my/Shape">(java, qvjvm::native<"area", &area>, qvjvm::static_native<"now", &now>);
/// @endcode
///
/// A function's first parameter, but for a static method's, is the object. Failures cross as in callbacks.hpp, and what
/// is said there of threads and objects holds here.
///
/// Lifetime: Java keeps the functions' addresses as long as it keeps the class. A DLL that will be unloaded takes them
/// back by unregister_natives, and has to see itself that no call is inside.
#pragma once

#include "qvjvm/client/callbacks.hpp"

namespace qvjvm {

namespace detail {

/// What JNI passes and gets for a type.
template <class T>
using jni_stored = typename java_type<T>::stored;

/// The realm that a native method's objects belong to: that of its first registration, for ever.
template <auto Function>
inline constinit std::atomic<realm*> native_home{nullptr};

template <auto Function>
void keep_native_home(realm* home) noexcept {
  realm* before = nullptr;
  home->add_user();
  if (!native_home<Function>.compare_exchange_strong(before, home, std::memory_order_acq_rel)) home->drop_user();
}

/// A value as JNI passed it.
template <class T>
failure_record* read_stored(const context& java, jni_stored<T> stored, T& into) {
  if constexpr (java_type<T>::primitive) {
    into = static_cast<T>(stored);
    return nullptr;
  } else {
    local reference(java, stored);
    failure_record* const why = read_reference(std::move(reference), into);
    (void)reference.release();  // Java's to free
    return why;
  }
}

/// What Java calls. Signature is the whole function's, with the object of an instance method; Parameters are Java's.
template <auto Function, class Signature, class Result, class... Parameters>
struct native_entry {
  using result_type = typename content_of<std::remove_cvref_t<Result>>::type;
  static constexpr const auto& signature = signature_of<result_type, std::remove_cvref_t<Parameters>...>;
  static constexpr bool is_static = std::is_same_v<Signature, Result(Parameters...)>;

  static jni_stored<result_type> call(qv_jnienv env, void* on,
                                      jni_stored<std::remove_cvref_t<Parameters>>... given) noexcept {
    const context java{native_home<Function>.load(std::memory_order_acquire), env};
    const java_value result = run_for_java(java, [&] {
      const auto given_at = [&] {
        if constexpr (is_static) {
          return std::tuple(given...);
        } else {
          return std::tuple(on, given...);
        }
      }();
      auto function = Function;
      return function_call<Signature>::template run<sizeof...(Parameters) + 1>(
          java, function, [&]<size_t At, class T>(T& into) { return read_stored(java, std::get<At>(given_at), into); });
    });
    if constexpr (!std::is_void_v<result_type>) return load_stored(result);
  }

 private:
  static jni_stored<result_type> load_stored(const java_value& result) noexcept {
    if constexpr (java_type<result_type>::primitive) {
      return static_cast<jni_stored<result_type>>(java_type<result_type>::load(result));
    } else {
      return result.l;
    }
  }
};

template <auto Function, bool Static,
          class Signature = typename function_type<std::remove_cv_t<decltype(Function)>>::type>
struct native_entry_of;
template <auto Function, class Result, class... Parameters>
struct native_entry_of<Function, true, Result(Parameters...)> {
  using type = native_entry<Function, Result(Parameters...), Result, Parameters...>;
};
template <auto Function, class Result, class Receiver, class... Parameters>
struct native_entry_of<Function, false, Result(Receiver, Parameters...)> {
  static_assert(
      std::derived_from<std::remove_cvref_t<Receiver>, object>,
      "qvjvm: the first parameter of a native method's function is its object: static_native is for static ones");
  using type = native_entry<Function, Result(Receiver, Parameters...), Result, Parameters...>;
};

/// A native method and its function.
template <fixed_text Name, auto Function, bool Static>
struct native_function {
  using entry = typename native_entry_of<Function, Static>::type;

  static native_method row(realm* home) noexcept {
    keep_native_home<Function>(home);
    return native_row(Name.text, entry::signature.c_str(), &entry::call);
  }
  /// Whether the class has such a method, and not one of the other kind; why not, else null.
  static failure_record* verify(const context& java, void* cls) noexcept {
    constexpr member kind = Static ? member::static_method : member::method;
    return look_up(java.env, kind, cls, Name.text, entry::signature.c_str()) == nullptr ? take_exception(java)
                                                                                        : nullptr;
  }
};

/// The class, found through the realm; its native methods are bound, then looked at: that may initialise it.
template <fixed_text Class, class... Natives>
outcome<void> bind_class(const context& java) {
  void* const cls = class_site<Class>::find(java);
  if (cls == nullptr) return {take_exception(java)};
  const native_method rows[] = {Natives::row(java.home)...};
  failure_record* why = bind_natives(java, cls, rows);
  (void)((why == nullptr) && ... && ((why = Natives::verify(java, cls)) == nullptr));
  return {why};
}

inline outcome<void> unbind_class(const context& java, void* cls) {
  if (cls == nullptr) return {take_exception(java)};
  const auto done = invoke<int32_t>(java.env, place::unregister_natives, 0, cls);
  return {done == 0 && !exception_pending(java.env) ? nullptr : take_exception(java)};
}

}  // namespace detail

/// A native method and the function that it calls with its object and its arguments: native<"area", &area>.
template <fixed_text Name, auto Function>
inline constexpr detail::native_function<Name, Function, false> native{};
/// A static native method and the function that it calls with its arguments.
template <fixed_text Name, auto Function>
inline constexpr detail::native_function<Name, Function, true> static_native{};

/// Binds native methods of a class to functions of the host, until they are bound again or unregister_natives. The
/// class is looked up through `where`, and the objects that the functions get look up through what the first call for
/// them had. Any thread.
/// @throws qvjvm::error when there is no such class, java_error (NoSuchMethodError) when it has no such native method.
template <fixed_text Class, detail::origin Where, class... Natives>
result<void> try_register_natives(const Where& where, Natives...) {
  const auto java = enter_from(where);
  if (java.why != nullptr) return failure(java.why);
  return result<void>(detail::bind_class<Class, Natives...>(java.value));
}
/// The same, thrown.
template <fixed_text Class, detail::origin Where, class... Natives>
void register_natives(const Where& where, Natives... natives) {
  try_register_natives<Class>(where, natives...).value();
}

/// Takes all native methods of a class back: later calls are an UnsatisfiedLinkError in Java. Waits for no call.
/// @throws qvjvm::error when there is no such class.
template <fixed_text Class, detail::origin Where>
result<void> try_unregister_natives(const Where& where) {
  const auto java = enter_from(where);
  if (java.why != nullptr) return failure(java.why);
  return result<void>(detail::unbind_class(java.value, detail::class_site<Class>::find(java.value)));
}
/// The same, thrown.
template <fixed_text Class, detail::origin Where>
void unregister_natives(const Where& where) {
  try_unregister_natives<Class>(where).value();
}

}  // namespace qvjvm
