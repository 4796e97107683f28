/// @file
/// Objects and classes: what a host holds of Java, by name at run time or with the class's name in the C++ type.
#pragma once

#include <concepts>

#include "qvjvm/client/call.hpp"

namespace qvjvm {

class class_ref;
class jvm;
class thread_jvm;
/// The context of the calling thread. For the client itself.
inline detail::outcome<detail::context> enter_from(const thread_jvm& where) noexcept;

/// A local reference to a Java object; null is allowed. Move-only. It belongs to the thread that got it and must not
/// outlive the last qvjvm::jvm or other lasting handle of where it came from; use global to keep or to share an object.
class object {
 public:
  /// Null.
  object() = default;
  /// Takes over a local reference of this thread.
  explicit object(detail::local reference) noexcept : reference_(std::move(reference)) {}

  /// The type that signatures have for it.
  static consteval auto java_signature() { return detail::piece("Ljava/lang/Object;"); }

  /// Whether it refers to an object.
  [[nodiscard]] explicit operator bool() const noexcept { return get() != nullptr; }
  /// The JNI reference; it stays this object's.
  [[nodiscard]] void* get() const noexcept { return reference_.get(); }
  /// What a call on this thread needs.
  [[nodiscard]] const detail::context& java() const noexcept { return reference_.java(); }
  /// Another local reference to the same object; null for null.
  /// @throws qvjvm::error without memory in Java.
  [[nodiscard]] object copy() const { return detail::value_of(duplicate()); }
  /// The same with a result instead of an exception.
  [[nodiscard]] result<object> try_copy() const { return result<object>(duplicate()); }
  /// The object's class.
  /// @throws qvjvm::error for null.
  [[nodiscard]] class_ref get_class() const;
  /// Whether the object is of the class or of one below it. Null is of no class.
  [[nodiscard]] bool is_instance_of(const class_ref& cls) const;
  /// The same for a class by its JNI name: `is<"java/util/List">()`.
  /// @throws qvjvm::error when there is no such class.
  template <fixed_text Class>
  [[nodiscard]] bool is() const;
  /// Whether both refer to the same object.
  [[nodiscard]] bool same_as(const object& other) const noexcept {
    return get() == other.get() ||
           (get() != nullptr && other.get() != nullptr &&
            detail::invoke<uint8_t>(java().env, detail::place::is_same_object, 0, get(), other.get()) != 0);
  }

  /// The same object as another type of the client, checked: a typed object, or the value of a String, box or array.
  /// @throws qvjvm::error when it is of another class.
  template <class T>
  [[nodiscard]] T as() const {
    return detail::value_of(cast<T>());
  }
  /// The same with a result instead of an exception.
  template <class T>
  [[nodiscard]] result<T> try_as() const {
    return result<T>(cast<T>());
  }
  /// This object as a typed one that the host knows it to be; nothing is checked.
  template <std::derived_from<object> T>
  [[nodiscard]] T unchecked_as() && {
    return T(std::move(reference_));
  }

  /// Calls an instance method by name. Its signature is made of the C++ types: call<int32_t>("size").
  /// @throws qvjvm::error when there is no such method, java_error when Java raised an exception.
  template <class Result = void, class... Arguments>
  Result call(const char* name, const Arguments&... values) const {
    return detail::value_of(call_by_name<Result>(name, values...));
  }
  /// The same with a result instead of an exception.
  template <class Result = void, class... Arguments>
  result<Result> try_call(const char* name, const Arguments&... values) const {
    return result<Result>(call_by_name<Result>(name, values...));
  }
  /// Calls an instance method whose declared types are not those of the arguments, by its JNI signature. The types are
  /// compared before the call: a literal by the compiler, a qvjvm::signature at run time. A void Result drops what the
  /// method gives.
  template <class Result = void, class... Arguments>
  Result call_as(const char* name, detail::signature_for<Result, Arguments...> signature,
                 const Arguments&... values) const {
    return detail::value_of(call_by_signature<Result>(name, signature.text(), signature.compared(), values...));
  }
  /// The same with a result instead of an exception.
  template <class Result = void, class... Arguments>
  result<Result> try_call_as(const char* name, detail::signature_for<Result, Arguments...> signature,
                             const Arguments&... values) const {
    return result<Result>(call_by_signature<Result>(name, signature.text(), signature.compared(), values...));
  }

  /// Reads an instance field of that type.
  /// @throws qvjvm::error when there is no such field.
  template <class Value>
  [[nodiscard]] Value field(const char* name) const {
    return detail::value_of(read_by_name<Value>(name));
  }
  /// The same with a result instead of an exception.
  template <class Value>
  [[nodiscard]] result<Value> try_field(const char* name) const {
    return result<Value>(read_by_name<Value>(name));
  }
  /// Writes an instance field; its type is that of the value, unless it is named: set_field<qvjvm::object>("owner",
  /// text).
  /// @throws qvjvm::error when there is no such field.
  template <class Value = void, class From>
  void set_field(const char* name, const From& value) const {
    detail::value_of(write_by_name<Value>(name, value));
  }
  /// The same with a result instead of an exception.
  template <class Value = void, class From>
  result<void> try_set_field(const char* name, const From& value) const {
    return result<void>(write_by_name<Value>(name, value));
  }

  /// Why nothing can be done with it, or null. For the client itself.
  [[nodiscard]] detail::failure_record* misuse() const noexcept {
    if (get() == nullptr) [[unlikely]]
      return detail::invalid(L"a null object was used");
    if (reference_.foreign()) [[unlikely]] {
      return detail::invalid(L"an object was used on another thread than its own: qvjvm::global shares objects");
    }
    return detail::left_pending(java().env);
  }
  /// The context of the object's thread. For the client itself.
  friend detail::outcome<detail::context> enter_from(const object& where) noexcept {
    return {where.misuse(), where.java()};
  }
  /// Gives the reference away. For the client itself.
  [[nodiscard]] detail::local&& take() noexcept { return std::move(reference_); }

 private:
  [[nodiscard]] detail::outcome<object> duplicate() const {
    if (!*this) return {};
    if (auto* const why = misuse()) return detail::failed<object>(why);
    void* const again = detail::invoke<void*>(java().env, detail::place::new_local_ref, 0, get());
    if (again == nullptr) return detail::failed<object>(detail::new_failure(QV_E_OUTOFMEMORY, L"no memory in Java"));
    return {nullptr, object(detail::local(java(), again))};
  }

  template <class T>
  detail::outcome<T> cast() const {
    if (get() == nullptr) return detail::failed<T>(misuse());
    auto again = duplicate();
    if (again.why != nullptr) return detail::failed<T>(again.why);
    return detail::read_checked<T>(java(), again.value.take().release());
  }

  // The object's class and a member of it, for one use.
  template <class T, class Use>
  detail::outcome<T> with_member(detail::member kind, const char* name, const char* type, const Use& use) const {
    if (auto* const why = misuse()) [[unlikely]]
      return detail::failed<T>(why);
    const qv_jnienv env = java().env;
    void* const cls = detail::invoke<void*>(env, detail::place::get_object_class, 0, get());
    void* const id = detail::look_up(env, kind, cls, name, type);
    if (id == nullptr) [[unlikely]] {
      auto none = detail::failed<T>(detail::take_exception(java()));
      detail::delete_local(env, cls);
      return none;
    }
    detail::delete_local(env, cls);  // the object keeps its class
    return use(id);
  }

  template <class Result, class... Arguments>
  detail::outcome<Result> call_by_name(const char* name, const Arguments&... values) const {
    return with_member<Result>(
        detail::member::method, name, detail::signature_of<Result, detail::plain<Arguments>...>.c_str(), [&](void* id) {
          return detail::call<Result>(java(), detail::place::call_method_a, {get(), id}, {}, values...);
        });
  }

  template <class Result, class... Arguments>
  detail::outcome<Result> call_by_signature(const char* name, const char* signature, const detail::comparison& compared,
                                            const Arguments&... values) const {
    if (compared.found != detail::mistake::none) {
      return detail::failed<Result>(detail::mistaken(compared, signature));
    }
    return with_member<Result>(detail::member::method, name, signature, [&](void* id) {
      return detail::call_compared<Result>(java(), detail::place::call_method_a, {get(), id}, signature, compared,
                                           values...);
    });
  }

  template <class Value>
  detail::outcome<Value> read_by_name(const char* name) const {
    return with_member<Value>(detail::member::field, name, detail::own_signature<Value>.c_str(), [&](void* id) {
      return detail::get_field<Value>(java(), detail::place::get_field, get(), id);
    });
  }

  template <class Value, class From>
  detail::outcome<void> write_by_name(const char* name, const From& value) const {
    using type = detail::field_type<Value, From>;
    return with_member<void>(detail::member::field, name, detail::own_signature<type>.c_str(), [&](void* id) {
      return detail::outcome<void>{detail::set_field<type>(java(), detail::place::set_field, get(), id, value)};
    });
  }

  detail::local reference_;
};

namespace detail {

/// Objects of any kind.
template <std::derived_from<object> T>
struct java_type<T> : reference_type {
  static constexpr bool keeps_reference = true;
  static consteval auto signature() { return T::java_signature(); }
  // A host's own type may have functions of any name.
  static passed pass(const context&, const object& value) noexcept {
#if QVJVM_CHECKED
    if (value.get() != nullptr) return {value.get(), false, value.misuse()};
#endif
    return {value.get(), false, nullptr};
  }
  static failure_record* take(local&& from, T& into) noexcept {
    into = T(std::move(from));
    return nullptr;
  }
  static failure_record* read(const local& from, T& into) noexcept {
    void* const again = invoke<void*>(from.java().env, place::new_local_ref, 0, from.get());
    return take(local(from.java(), again), into);
  }
};

}  // namespace detail

/// A Java class by a name that is known when the program runs: makes objects, calls static methods, reads and writes
/// static fields. A local reference.
class class_ref : public object {
 public:
  using object::object;

  /// The type that signatures have for it. For the client itself.
  static consteval auto java_signature() { return detail::piece("Ljava/lang/Class;"); }

  /// A new object from the constructor with the arguments' types.
  /// @throws qvjvm::error when there is no such constructor, java_error when it raised an exception.
  template <class... Arguments>
  [[nodiscard]] object create(const Arguments&... values) const {
    return detail::value_of(construct(detail::signature_of<void, detail::plain<Arguments>...>.c_str(), {}, values...));
  }
  /// The same with a result instead of an exception.
  template <class... Arguments>
  [[nodiscard]] result<object> try_create(const Arguments&... values) const {
    return result<object>(construct(detail::signature_of<void, detail::plain<Arguments>...>.c_str(), {}, values...));
  }
  /// A new object from the constructor of that JNI signature, "(Ljava/lang/Object;)V".
  template <class... Arguments>
  [[nodiscard]] object create_as(detail::signature_for<void, Arguments...> signature,
                                 const Arguments&... values) const {
    return detail::value_of(construct(signature.text(), signature.compared(), values...));
  }
  /// The same with a result instead of an exception.
  template <class... Arguments>
  [[nodiscard]] result<object> try_create_as(detail::signature_for<void, Arguments...> signature,
                                             const Arguments&... values) const {
    return result<object>(construct(signature.text(), signature.compared(), values...));
  }

  /// Calls a static method by name; its signature is made of the C++ types.
  /// @throws qvjvm::error when there is no such method, java_error when Java raised an exception.
  template <class Result = void, class... Arguments>
  Result call_static(const char* name, const Arguments&... values) const {
    return detail::value_of(call_static_by_name<Result>(name, values...));
  }
  /// The same with a result instead of an exception.
  template <class Result = void, class... Arguments>
  result<Result> try_call_static(const char* name, const Arguments&... values) const {
    return result<Result>(call_static_by_name<Result>(name, values...));
  }
  /// Calls a static method by its JNI signature; see object::call_as.
  template <class Result = void, class... Arguments>
  Result call_static_as(const char* name, detail::signature_for<Result, Arguments...> signature,
                        const Arguments&... values) const {
    return detail::value_of(call_static_by_signature<Result>(name, signature.text(), signature.compared(), values...));
  }
  /// The same with a result instead of an exception.
  template <class Result = void, class... Arguments>
  result<Result> try_call_static_as(const char* name, detail::signature_for<Result, Arguments...> signature,
                                    const Arguments&... values) const {
    return result<Result>(call_static_by_signature<Result>(name, signature.text(), signature.compared(), values...));
  }

  /// Reads a static field of that type.
  /// @throws qvjvm::error when there is no such field.
  template <class Value>
  [[nodiscard]] Value static_field(const char* name) const {
    return detail::value_of(read_static<Value>(name));
  }
  /// The same with a result instead of an exception.
  template <class Value>
  [[nodiscard]] result<Value> try_static_field(const char* name) const {
    return result<Value>(read_static<Value>(name));
  }
  /// Writes a static field; see object::set_field.
  template <class Value = void, class From>
  void set_static_field(const char* name, const From& value) const {
    detail::value_of(write_static<Value>(name, value));
  }
  /// The same with a result instead of an exception.
  template <class Value = void, class From>
  result<void> try_set_static_field(const char* name, const From& value) const {
    return result<void>(write_static<Value>(name, value));
  }

  // Looked up once, used often; see handles.hpp. Signature is a C++ function type: int32_t(qvjvm::object). The
  // functions throw qvjvm::error when there is no such member, or hand back a result.

  /// A handle of an instance method.
  template <class Signature>
  [[nodiscard]] auto find_method(const char* name) const;
  /// The same with a result instead of an exception.
  template <class Signature>
  [[nodiscard]] auto try_find_method(const char* name) const;
  /// A handle of a static method.
  template <class Signature>
  [[nodiscard]] auto find_static_method(const char* name) const;
  /// The same with a result instead of an exception.
  template <class Signature>
  [[nodiscard]] auto try_find_static_method(const char* name) const;
  /// A handle of a constructor; the result of Signature is the type of the objects.
  template <class Signature>
  [[nodiscard]] auto find_constructor() const;
  /// The same with a result instead of an exception.
  template <class Signature>
  [[nodiscard]] auto try_find_constructor() const;
  /// A handle of an instance field.
  template <class Value>
  [[nodiscard]] auto find_field(const char* name) const;
  /// The same with a result instead of an exception.
  template <class Value>
  [[nodiscard]] auto try_find_field(const char* name) const;
  /// A handle of a static field.
  template <class Value>
  [[nodiscard]] auto find_static_field(const char* name) const;
  /// The same with a result instead of an exception.
  template <class Value>
  [[nodiscard]] auto try_find_static_field(const char* name) const;

 private:
  // A member of the class, for one use.
  template <class T, class Use>
  detail::outcome<T> with_member(detail::member kind, const char* name, const char* type, const Use& use) const {
    if (auto* const why = misuse()) [[unlikely]]
      return detail::failed<T>(why);
    void* const id = detail::look_up(java().env, kind, get(), name, type);
    if (id == nullptr) [[unlikely]]
      return detail::failed<T>(detail::take_exception(java()));
    return use(id);
  }

  template <class... Arguments>
  detail::outcome<object> construct(const char* signature, const detail::comparison& compared,
                                    const Arguments&... values) const {
    if (compared.found != detail::mistake::none) return detail::failed<object>(detail::mistaken(compared, signature));
    return with_member<object>(detail::member::method, "<init>", signature, [&](void* id) {
      return detail::construct<object>(java(), {get(), id}, {signature, compared.ask_java}, values...);
    });
  }

  template <class Result, class... Arguments>
  detail::outcome<Result> call_static_by_name(const char* name, const Arguments&... values) const {
    return with_member<Result>(
        detail::member::static_method, name, detail::signature_of<Result, detail::plain<Arguments>...>.c_str(),
        [&](void* id) {
          return detail::call<Result>(java(), detail::place::call_static_method_a, {get(), id}, {}, values...);
        });
  }

  template <class Result, class... Arguments>
  detail::outcome<Result> call_static_by_signature(const char* name, const char* signature,
                                                   const detail::comparison& compared,
                                                   const Arguments&... values) const {
    if (compared.found != detail::mistake::none) {
      return detail::failed<Result>(detail::mistaken(compared, signature));
    }
    return with_member<Result>(detail::member::static_method, name, signature, [&](void* id) {
      return detail::call_compared<Result>(java(), detail::place::call_static_method_a, {get(), id}, signature,
                                           compared, values...);
    });
  }

  template <class Value>
  detail::outcome<Value> read_static(const char* name) const {
    return with_member<Value>(detail::member::static_field, name, detail::own_signature<Value>.c_str(), [&](void* id) {
      return detail::get_field<Value>(java(), detail::place::get_static_field, get(), id);
    });
  }

  template <class Value, class From>
  detail::outcome<void> write_static(const char* name, const From& value) const {
    using type = detail::field_type<Value, From>;
    return with_member<void>(detail::member::static_field, name, detail::own_signature<type>.c_str(), [&](void* id) {
      return detail::outcome<void>{detail::set_field<type>(java(), detail::place::set_static_field, get(), id, value)};
    });
  }
};

inline class_ref object::get_class() const {
  if (auto* const why = misuse()) detail::raise(why);
  return class_ref(detail::local(java(), detail::invoke<void*>(java().env, detail::place::get_object_class, 0, get())));
}

inline bool object::is_instance_of(const class_ref& cls) const {
  if (get() == nullptr) return false;
  if (auto* const why = misuse()) detail::raise(why);
  if (auto* const why = cls.misuse()) detail::raise(why);
  return detail::is_instance(java().env, get(), cls.get());
}

template <fixed_text Class>
bool object::is() const {
  if (get() == nullptr) return false;
  if (auto* const why = misuse()) detail::raise(why);
  void* const cls = detail::class_site<Class>::find(java());
  if (cls == nullptr) detail::raise(detail::take_exception(java()));
  return detail::is_instance(java().env, get(), cls);
}

/// Keeps an object alive; may be used, moved and destroyed on any thread, and outlive the qvjvm::jvm it came from.
class global {
 public:
  /// Null.
  global() = default;
  /// A global reference to the object.
  /// @throws qvjvm::error without memory in Java.
  explicit global(const object& from) : global(detail::value_of(make(from))) {}
  /// The same with a result instead of an exception.
  [[nodiscard]] static result<global> try_make(const object& from) { return result<global>(make(from)); }
  /// Leaves null behind.
  global(global&& other) noexcept
      : home_(std::move(other.home_)), reference_(std::exchange(other.reference_, nullptr)) {}
  /// Swaps, so the other object ends what this one held.
  global& operator=(global&& other) noexcept {
    std::swap(home_, other.home_);
    std::swap(reference_, other.reference_);
    return *this;
  }
  ~global() {
    if (reference_ != nullptr) home_.get()->vm()->DeleteGlobalRef(reference_);
  }
  global(const global&) = delete;
  global& operator=(const global&) = delete;

  /// The type that signatures have for it. For the client itself.
  static consteval auto java_signature() { return detail::piece("Ljava/lang/Object;"); }

  /// Whether it refers to an object.
  [[nodiscard]] explicit operator bool() const noexcept { return reference_ != nullptr; }
  /// The JNI reference; it stays this object's.
  [[nodiscard]] void* get() const noexcept { return reference_; }
  /// The object on the calling thread; Type is object, class_ref, a typed object or anything that object::as gives.
  /// @throws qvjvm::error when the thread cannot be joined to the JVM or the object is of another class.
  template <class Type = object>
  [[nodiscard]] Type on_this_thread() const {
    return detail::value_of(get_here<Type>());
  }
  /// The same with a result instead of an exception.
  template <class Type = object>
  [[nodiscard]] result<Type> try_on_this_thread() const {
    return result<Type>(get_here<Type>());
  }

 private:
  static detail::outcome<global> make(const object& from) noexcept {
    if (!from) return {};
    if (auto* const why = from.misuse()) return detail::failed<global>(why);
    detail::outcome<global> made;
    made.value.home_ = detail::realm_user::share(from.java().home);
    made.value.reference_ = detail::invoke<void*>(from.java().env, detail::place::new_global_ref, 0, from.get());
    if (made.value.reference_ == nullptr) {
      made.why = detail::new_failure(QV_E_OUTOFMEMORY, L"no memory for a global reference");
    }
    return made;
  }

  template <class Type>
  detail::outcome<Type> get_here() const {
    if (reference_ == nullptr) return {};
    const auto java = detail::enter(home_);
    if (java.why != nullptr) return detail::failed<Type>(java.why);
    void* const here = detail::invoke<void*>(java.value.env, detail::place::new_local_ref, 0, reference_);
    if (here == nullptr) return detail::failed<Type>(detail::new_failure(QV_E_OUTOFMEMORY, L"no memory in Java"));
    return detail::read_checked<Type>(java.value, here);
  }

  detail::realm_user home_;
  void* reference_ = nullptr;
};

namespace detail {

template <>
struct java_type<global> : reference_type {
  static consteval auto signature() { return piece("Ljava/lang/Object;"); }
  static passed pass(const context&, const global& value) noexcept { return {value.get(), false, nullptr}; }
};

}  // namespace detail
}  // namespace qvjvm
