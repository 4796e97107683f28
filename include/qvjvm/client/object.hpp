/// @file
/// Objects, classes, methods: everything that a host does with Java through the client API.
#pragma once

#include <memory>
#include <tuple>

#include "qvjvm/client/types.hpp"

namespace qvjvm {

class object;
class class_ref;

namespace detail {

/// A result of Java as the C++ type that was asked for; `java` is the thread's context.
template <class Result>
Result from_java(const context& java, local reference);

/// Calls the typed function of the family that begins at `family`.
template <class Result, class... Target>
result<Result> call_typed(const context& java, place family, Target... target) {
  using type = java_type<Result>;
  if constexpr (std::is_void_v<Result>) {
    invoke<void>(java.env, family, 3 * type::step, target...);
    if (exception_pending(java.env)) return take_exception(java);
    return {};
  } else if constexpr (type::primitive) {
    const auto value = invoke<typename type::stored>(java.env, family, 3 * type::step, target...);
    if (exception_pending(java.env)) return take_exception(java);
    return static_cast<Result>(value);
  } else {
    local reference(java, invoke<void*>(java.env, family, 3 * type::step, target...));
    if (exception_pending(java.env)) return take_exception(java);
    return from_java<Result>(java, std::move(reference));
  }
}

/// Looks a method up and says what is missing.
inline result<method_id> find_method(const context& java, void* cls, place lookup, const char* name,
                                     const char* signature) {
  const auto id = invoke<method_id>(java.env, lookup, 0, cls, name, signature);
  if (id == nullptr) return take_exception(java);
  return id;
}

/// The arguments of one call, converted for as long as this object lives.
template <class... Arguments>
class arguments {
 public:
  explicit arguments(const context& java, const Arguments&... values)
      : arguments(java, std::index_sequence_for<Arguments...>(), values...) {}
  [[nodiscard]] bool ok() const {
    return std::apply([](const auto&... each) { return (true && ... && each.ok()); }, holders_);
  }
  [[nodiscard]] const java_value* values() const noexcept { return values_.data(); }

 private:
  template <size_t... Index>
  arguments(const context& java, std::index_sequence<Index...>, const Arguments&... values)
      : holders_(argument<Arguments>(java, values, values_[Index])...) {}

  std::array<java_value, sizeof...(Arguments) + 1> values_{};
  std::tuple<argument<Arguments>...> holders_;
};

/// Converts the arguments and calls.
template <class Result, class... Arguments>
result<Result> call_with(const context& java, place family, void* target, method_id id, const Arguments&... values) {
  const arguments<Arguments...> converted(java, values...);
  if (!converted.ok()) return take_exception(java);
  return call_typed<Result>(java, family, target, id, converted.values());
}

}  // namespace detail

/// A local reference to a Java object; null is allowed. Move-only. It belongs to the thread that got it and must not
/// outlive the qvjvm::jvm it came from; use global to keep or to share an object.
class object {
 public:
  /// Null.
  object() = default;
  /// Takes over a local reference of this thread.
  explicit object(detail::local reference) noexcept : reference_(std::move(reference)) {}

  /// Whether it refers to an object.
  [[nodiscard]] explicit operator bool() const noexcept { return get() != nullptr; }
  /// The JNI reference; it stays this object's.
  [[nodiscard]] void* get() const noexcept { return reference_.get(); }
  /// What a call on this thread needs.
  [[nodiscard]] const detail::context& java() const noexcept { return reference_.java(); }
  /// Another local reference to the same object.
  [[nodiscard]] object copy() const {
    return object(detail::local(java(), detail::invoke<void*>(java().env, detail::place::new_local_ref, 0, get())));
  }
  /// The object's class. Throws qvjvm::error for null.
  [[nodiscard]] class_ref get_class() const;
  /// Whether the object is of the class or of one below it; null is of every class.
  [[nodiscard]] bool is_instance_of(const class_ref& cls) const;
  /// Whether both refer to the same object.
  [[nodiscard]] bool same_as(const object& other) const {
    return get() == other.get() ||
           (get() != nullptr && other.get() != nullptr &&
            detail::invoke<uint8_t>(java().env, detail::place::is_same_object, 0, get(), other.get()) != 0);
  }

  /// Calls an instance method by name. Its signature is made of the C++ types: call<int32_t>("size").
  /// @throws qvjvm::error when there is no such method or Java raised an exception.
  template <class Result = void, class... Arguments>
  Result call(const char* name, const Arguments&... values) const {
    return try_call<Result>(name, values...).value();
  }
  /// The same with a result instead of an exception.
  template <class Result = void, class... Arguments>
  result<Result> try_call(const char* name, const Arguments&... values) const {
    return try_call_as<Result>(name, detail::signature_of<Result, Arguments...>.c_str(), values...);
  }
  /// Calls an instance method whose declared types are not those of the arguments, by its JNI signature.
  template <class Result = void, class... Arguments>
  Result call_as(const char* name, const char* signature, const Arguments&... values) const {
    return try_call_as<Result>(name, signature, values...).value();
  }
  /// The same with a result instead of an exception.
  template <class Result = void, class... Arguments>
  result<Result> try_call_as(const char* name, const char* signature, const Arguments&... values) const {
    if (get() == nullptr) return failure{QV_E_INVALIDARG, L"a call on a null object"};
    const detail::local cls(java(), detail::invoke<void*>(java().env, detail::place::get_object_class, 0, get()));
    auto id = detail::find_method(java(), cls.get(), detail::place::get_method_id, name, signature);
    if (!id) return id.reason();
    return detail::call_with<Result>(java(), detail::place::call_method_a, get(), id.value(), values...);
  }
  /// Reads an instance field.
  /// @throws qvjvm::error when there is no such field.
  template <class Value>
  Value field(const char* name) const;

 private:
  detail::local reference_;
};

/// An object whose class is known by its name: as a parameter it gives the signature its type.
template <fixed_text Name>
class instance : public object {
 public:
  using object::object;
  /// Takes an object that is known to be of this class; nothing is checked.
  explicit instance(object&& other) noexcept : object(std::move(other)) {}
};

namespace detail {

template <>
struct java_type<object> : reference_type {
  static consteval auto signature() { return piece("Ljava/lang/Object;"); }
  static void* reference(const object& value) noexcept { return value.get(); }
};

template <fixed_text Name>
struct java_type<instance<Name>> : reference_type {
  static consteval auto signature() { return piece("L") + piece(Name.text) + piece(";"); }
  static void* reference(const object& value) noexcept { return value.get(); }
};

template <class Result>
Result from_java(const context& java, local reference) {
  if constexpr (std::is_base_of_v<object, Result>) {
    return Result(std::move(reference));
  } else {
    return java_type<Result>::from(java, reference.get());
  }
}

}  // namespace detail

template <class Signature>
class method;
template <class Signature>
class static_method;

/// A Java class: makes objects, calls static methods, reads static fields, resolves methods. A local reference.
class class_ref : public object {
 public:
  using object::object;

  /// A new object from the constructor with the arguments' types.
  /// @throws qvjvm::error when there is no such constructor or it raised an exception.
  template <class... Arguments>
  [[nodiscard]] object create(const Arguments&... values) const {
    return std::move(try_create(values...).value());
  }
  /// The same with a result instead of an exception.
  template <class... Arguments>
  [[nodiscard]] result<object> try_create(const Arguments&... values) const {
    return try_create_as(detail::signature_of<void, Arguments...>.c_str(), values...);
  }
  /// A new object from the constructor of that JNI signature, "(Ljava/lang/Object;)V".
  template <class... Arguments>
  [[nodiscard]] result<object> try_create_as(const char* signature, const Arguments&... values) const {
    auto id = detail::find_method(java(), get(), detail::place::get_method_id, "<init>", signature);
    if (!id) return id.reason();
    const detail::arguments<Arguments...> converted(java(), values...);
    if (!converted.ok()) return detail::take_exception(java());
    detail::local made(java(), detail::invoke<void*>(java().env, detail::place::new_object_a, 0, get(), id.value(),
                                                     converted.values()));
    if (made.get() == nullptr || detail::exception_pending(java().env)) return detail::take_exception(java());
    return object(std::move(made));
  }

  /// Calls a static method by name.
  /// @throws qvjvm::error when there is no such method or Java raised an exception.
  template <class Result = void, class... Arguments>
  Result call_static(const char* name, const Arguments&... values) const {
    return try_call_static<Result>(name, values...).value();
  }
  /// The same with a result instead of an exception.
  template <class Result = void, class... Arguments>
  result<Result> try_call_static(const char* name, const Arguments&... values) const {
    auto id = detail::find_method(java(), get(), detail::place::get_static_method_id, name,
                                  detail::signature_of<Result, Arguments...>.c_str());
    if (!id) return id.reason();
    return detail::call_with<Result>(java(), detail::place::call_static_method_a, get(), id.value(), values...);
  }

  /// Reads a static field.
  /// @throws qvjvm::error when there is no such field.
  template <class Value>
  Value static_field(const char* name) const {
    const auto id = detail::invoke<detail::field_id>(java().env, detail::place::get_static_field_id, 0, get(), name,
                                                     detail::java_type<Value>::signature().c_str());
    if (id == nullptr) throw error(detail::take_exception(java()));
    return read_field<Value>(detail::place::get_static_field, get(), id);
  }

  /// A handle of an instance method: resolved once, called often. Signature is a C++ function type: int32_t(object).
  /// @throws qvjvm::error when there is no such method.
  template <class Signature>
  [[nodiscard]] method<Signature> find_method(const char* name) const;
  /// The same for a static method.
  template <class Signature>
  [[nodiscard]] static_method<Signature> find_static_method(const char* name) const;

  /// For object::field.
  template <class Value>
  Value read_field(detail::place family, void* target, detail::field_id id) const {
    using type = detail::java_type<Value>;
    if constexpr (type::primitive) {
      return static_cast<Value>(detail::invoke<typename type::stored>(java().env, family, type::step, target, id));
    } else {
      return detail::from_java<Value>(java(),
                                      detail::local(java(), detail::invoke<void*>(java().env, family, 0, target, id)));
    }
  }
};

inline class_ref object::get_class() const {
  if (get() == nullptr) throw error({QV_E_INVALIDARG, L"the class of a null object"});
  return class_ref(detail::local(java(), detail::invoke<void*>(java().env, detail::place::get_object_class, 0, get())));
}

inline bool object::is_instance_of(const class_ref& cls) const {
  return detail::invoke<uint8_t>(cls.java().env, detail::place::is_instance_of, 0, get(), cls.get()) != 0;
}

template <class Value>
Value object::field(const char* name) const {
  const class_ref cls = get_class();
  const auto id = detail::invoke<detail::field_id>(java().env, detail::place::get_field_id, 0, cls.get(), name,
                                                   detail::java_type<Value>::signature().c_str());
  if (id == nullptr) throw error(detail::take_exception(java()));
  return cls.read_field<Value>(detail::place::get_field, get(), id);
}

/// Keeps an object alive and may be used and destroyed on any thread. It must not outlive the qvjvm::jvm it came from.
class global {
 public:
  /// Null.
  global() = default;
  /// A global reference to the object.
  /// @throws qvjvm::error without memory in Java.
  explicit global(const object& from) : vm_(from.java().vm) {
    if (!from) return;
    reference_ = detail::invoke<void*>(from.java().env, detail::place::new_global_ref, 0, from.get());
    if (reference_ == nullptr) throw error({QV_E_OUTOFMEMORY, L"no memory for a global reference"});
  }
  /// Leaves null behind.
  global(global&& other) noexcept : vm_(other.vm_), reference_(std::exchange(other.reference_, nullptr)) {}
  /// Swaps, so the other object ends what this one held.
  global& operator=(global&& other) noexcept {
    std::swap(vm_, other.vm_);
    std::swap(reference_, other.reference_);
    return *this;
  }
  ~global() {
    if (reference_ != nullptr) vm_->DeleteGlobalRef(reference_);
  }
  global(const global&) = delete;
  global& operator=(const global&) = delete;

  /// Whether it refers to an object.
  [[nodiscard]] explicit operator bool() const noexcept { return reference_ != nullptr; }
  /// The JNI reference; it stays this object's.
  [[nodiscard]] void* get() const noexcept { return reference_; }
  /// A local reference of the calling thread to the same object; Type is object, class_ref or an instance.
  /// @throws qvjvm::error when the thread cannot be joined to the JVM.
  template <class Type = object>
  [[nodiscard]] Type on_this_thread() const {
    if (reference_ == nullptr) return Type();
    const detail::context java = detail::current(vm_).value();
    return Type(detail::local(java, detail::invoke<void*>(java.env, detail::place::new_local_ref, 0, reference_)));
  }

 private:
  IQV_JavaVM* vm_ = nullptr;
  void* reference_ = nullptr;
};

/// A resolved instance method. Copies share the class, which stays loaded as long as one of them lives; any thread may
/// call it on its own objects.
template <class Result, class... Arguments>
class method<Result(Arguments...)> {
 public:
  /// See class_ref::find_method.
  method(const class_ref& cls, const char* name)
      : id_(detail::find_method(cls.java(), cls.get(), detail::place::get_method_id, name,
                                detail::signature_of<Result, Arguments...>.c_str())
                .value()),
        cls_(std::make_shared<const global>(cls)) {}
  /// Calls it on an object of the calling thread.
  /// @throws qvjvm::error when the object is null or Java raised an exception.
  Result operator()(const object& target, const Arguments&... values) const {
    return try_call(target, values...).value();
  }
  /// The same with a result instead of an exception.
  result<Result> try_call(const object& target, const Arguments&... values) const {
    if (!target) return failure{QV_E_INVALIDARG, L"a call on a null object"};
    return detail::call_with<Result>(target.java(), detail::place::call_method_a, target.get(), id_, values...);
  }

 private:
  detail::method_id id_;
  std::shared_ptr<const global> cls_;
};

/// A resolved static method; see method.
template <class Result, class... Arguments>
class static_method<Result(Arguments...)> {
 public:
  /// See class_ref::find_static_method.
  static_method(const class_ref& cls, const char* name)
      : id_(detail::find_method(cls.java(), cls.get(), detail::place::get_static_method_id, name,
                                detail::signature_of<Result, Arguments...>.c_str())
                .value()),
        vm_(cls.java().vm),
        cls_(std::make_shared<const global>(cls)) {}
  /// Calls it on the calling thread.
  /// @throws qvjvm::error when the thread cannot be joined or Java raised an exception.
  Result operator()(const Arguments&... values) const { return try_call(values...).value(); }
  /// The same with a result instead of an exception.
  result<Result> try_call(const Arguments&... values) const {
    auto java = detail::current(vm_);
    if (!java) return java.reason();
    return detail::call_with<Result>(java.value(), detail::place::call_static_method_a, cls_->get(), id_, values...);
  }

 private:
  detail::method_id id_;
  IQV_JavaVM* vm_;
  std::shared_ptr<const global> cls_;
};

template <class Signature>
method<Signature> class_ref::find_method(const char* name) const {
  return method<Signature>(*this, name);
}

template <class Signature>
static_method<Signature> class_ref::find_static_method(const char* name) const {
  return static_method<Signature>(*this, name);
}

}  // namespace qvjvm
