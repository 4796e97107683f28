/// @file
/// Handles of members that were looked up once, for classes whose names are known only when the program runs: methods,
/// constructors, fields. Copies share the class, which stays loaded as long as one of them lives, and the way to the
/// service; any thread may use any handle, on its own objects.
#pragma once

#include "qvjvm/client/typed.hpp"

namespace qvjvm {

namespace detail {

/// What copies of a handle share.
struct bound_member {
  std::atomic<uint32_t> users{1};
  realm_user home;
  void* cls = nullptr;  ///< global
};

/// An owner of a bound member, and the member's id beside it.
class handle {
 public:
  /// No member; using it is an error.
  handle() = default;
  static outcome<handle> make(const class_ref& cls, member kind, const char* name, const char* type) {
    if (auto* const why = cls.misuse()) return failed<handle>(why);
    handle made;
    made.id_ = look_up(cls.java().env, kind, cls.get(), name, type);
    if (made.id_ == nullptr) return failed<handle>(take_exception(cls.java()));
    void* const kept = invoke<void*>(cls.java().env, place::new_global_ref, 0, cls.get());
    if (kept != nullptr) made.shared_ = new (std::nothrow) bound_member;
    if (made.shared_ == nullptr) {
      if (kept != nullptr) cls.java().home->vm()->DeleteGlobalRef(kept);
      return failed<handle>(new_failure(QV_E_OUTOFMEMORY, L"no memory for a handle"));
    }
    made.shared_->home = realm_user::share(cls.java().home);
    made.shared_->cls = kept;
    return {nullptr, std::move(made)};
  }
  handle(const handle& other) noexcept : id_(other.id_), shared_(other.shared_) {
    if (shared_ != nullptr) shared_->users.fetch_add(1, std::memory_order_relaxed);
  }
  handle(handle&& other) noexcept : id_(other.id_), shared_(std::exchange(other.shared_, nullptr)) {}
  handle& operator=(handle other) noexcept {
    std::swap(id_, other.id_);
    std::swap(shared_, other.shared_);
    return *this;
  }
  ~handle() {
    if (shared_ == nullptr || shared_->users.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
    shared_->home.get()->vm()->DeleteGlobalRef(shared_->cls);
    delete shared_;
  }

  /// The class on the calling thread and the member. `where` need not be asked for the thread.
  [[nodiscard]] outcome<context> enter_class() const noexcept {
    if (shared_ == nullptr) [[unlikely]]
      return {invalid(L"this qvjvm handle is empty"), {}};
    return enter(shared_->home);
  }
  /// Why the member cannot be used on the object, or null.
  [[nodiscard]] failure_record* misuse(const object& on) const noexcept {
    if (shared_ == nullptr) [[unlikely]]
      return invalid(L"this qvjvm handle is empty");
    if (auto* const why = on.misuse()) [[unlikely]]
      return why;
#if QVJVM_CHECKED
    if (!is_instance(on.java().env, on.get(), shared_->cls)) {
      return invalid(L"a resolved member was used on an object of another class");
    }
#endif
    return nullptr;
  }
  [[nodiscard]] void* id() const noexcept { return id_; }
  [[nodiscard]] target on_class() const noexcept { return {shared_->cls, id_}; }

 private:
  void* id_ = nullptr;
  bound_member* shared_ = nullptr;
};

}  // namespace detail

/// What all kinds of handles are.
class bound_handle {
 public:
  /// Empty; class_ref makes usable ones.
  bound_handle() = default;
  /// For class_ref.
  explicit bound_handle(detail::handle bound) noexcept : handle_(std::move(bound)) {}

 protected:
  /// The member. For the client itself.
  detail::handle handle_;
};

/// What is called on a class: on the calling thread, or, which is faster, on that of a qvjvm::thread_jvm.
/// Self has `run(context, target, values...)`.
template <class Self, class Result>
class class_handle : public bound_handle {
 public:
  using bound_handle::bound_handle;
  /// Calls it on the calling thread.
  /// @throws qvjvm::error when the thread cannot be joined, java_error when Java raised an exception.
  template <class... Arguments>
  Result operator()(const Arguments&... values) const {
    return detail::value_of(enter_and_run(handle_.enter_class(), values...));
  }
  /// The same for the thread of `here`.
  template <class... Arguments>
  Result operator()(const thread_jvm& here, const Arguments&... values) const {
    return detail::value_of(enter_and_run(enter_from(here), values...));
  }
  /// The same with a result instead of an exception.
  template <class... Arguments>
  result<Result> try_call(const Arguments&... values) const {
    return result<Result>(enter_and_run(handle_.enter_class(), values...));
  }
  /// The same for the thread of `here`.
  template <class... Arguments>
  result<Result> try_call(const thread_jvm& here, const Arguments&... values) const {
    return result<Result>(enter_and_run(enter_from(here), values...));
  }

 private:
  template <class... Arguments>
  detail::outcome<Result> enter_and_run(const detail::outcome<detail::context>& java,
                                        const Arguments&... values) const {
    if (java.why != nullptr) [[unlikely]]
      return detail::failed<Result>(java.why);
    return Self::run(java.value, handle_.on_class(), values...);
  }
};

template <class Signature>
class method;
template <class Signature>
class static_method;
template <class Signature>
class constructor;

/// A resolved instance method: `auto size = list.find_method<int32_t()>("size"); size(object)`.
template <class Result, class... Parameters>
class method<Result(Parameters...)> : public bound_handle {
 public:
  using bound_handle::bound_handle;
  /// Calls it on an object of the calling thread.
  /// @throws qvjvm::error when the object is null, java_error when Java raised an exception.
  template <class... Arguments>
  Result operator()(const object& on, const Arguments&... values) const {
    return detail::value_of(run(on, values...));
  }
  /// The same with a result instead of an exception.
  template <class... Arguments>
  result<Result> try_call(const object& on, const Arguments&... values) const {
    return result<Result>(run(on, values...));
  }

 private:
  template <class... Arguments>
  detail::outcome<Result> run(const object& on, const Arguments&... values) const {
    if (auto* const why = handle_.misuse(on)) [[unlikely]]
      return detail::failed<Result>(why);
    return detail::call_known<detail::call_types<Result(Parameters...), Arguments...>>(
        on.java(), detail::place::call_method_a, {on.get(), handle_.id()}, values...);
  }
};

/// A resolved static method: `parse(L"12")`, or `parse(here, L"12")` with the thread's qvjvm::thread_jvm.
template <class Result, class... Parameters>
class static_method<Result(Parameters...)> : public class_handle<static_method<Result(Parameters...)>, Result> {
  using base = class_handle<static_method, Result>;
  friend base;

 public:
  using base::base;

 private:
  template <class... Arguments>
  static detail::outcome<Result> run(const detail::context& java, const detail::target& what,
                                     const Arguments&... values) {
    return detail::call_known<detail::call_types<Result(Parameters...), Arguments...>>(
        java, detail::place::call_static_method_a, what, values...);
  }
};

/// A resolved constructor; Object is the type of the objects it makes: constructor<qvjvm::object(int32_t)>.
template <class Object, class... Parameters>
class constructor<Object(Parameters...)> : public class_handle<constructor<Object(Parameters...)>, Object> {
  using base = class_handle<constructor, Object>;
  friend base;

 public:
  using base::base;

 private:
  template <class... Arguments>
  static detail::outcome<Object> run(const detail::context& java, const detail::target& what,
                                     const Arguments&... values) {
    return detail::construct_known<Object, detail::call_types<void(Parameters...), Arguments...>>(java, what,
                                                                                                  values...);
  }
};

/// A resolved instance field.
template <class Value>
class field_handle : public bound_handle {
 public:
  using bound_handle::bound_handle;
  /// Reads it from an object of the calling thread.
  [[nodiscard]] Value get(const object& from) const { return detail::value_of(read(from)); }
  /// The same with a result instead of an exception.
  [[nodiscard]] result<Value> try_get(const object& from) const { return result<Value>(read(from)); }
  /// Writes it to an object of the calling thread.
  template <class From>
  void set(const object& to, const From& value) const {
    detail::value_of(write(to, value));
  }
  /// The same with a result instead of an exception.
  template <class From>
  result<void> try_set(const object& to, const From& value) const {
    return result<void>(write(to, value));
  }

 private:
  [[nodiscard]] detail::outcome<Value> read(const object& from) const {
    if (auto* const why = handle_.misuse(from)) [[unlikely]]
      return detail::failed<Value>(why);
    return detail::get_field<Value>(from.java(), detail::place::get_field, from.get(), handle_.id());
  }
  template <class From>
  detail::outcome<void> write(const object& to, const From& value) const {
    if (auto* const why = handle_.misuse(to)) [[unlikely]]
      return {why};
    return {detail::set_field<Value>(to.java(), detail::place::set_field, to.get(), handle_.id(), value)};
  }
};

/// A resolved static field.
template <class Value>
class static_field_handle : public bound_handle {
 public:
  using bound_handle::bound_handle;
  /// Reads it on the calling thread.
  [[nodiscard]] Value get() const { return detail::value_of(read()); }
  /// The same with a result instead of an exception.
  [[nodiscard]] result<Value> try_get() const { return result<Value>(read()); }
  /// Writes it on the calling thread.
  template <class From>
  void set(const From& value) const {
    detail::value_of(write(value));
  }
  /// The same with a result instead of an exception.
  template <class From>
  result<void> try_set(const From& value) const {
    return result<void>(write(value));
  }

 private:
  [[nodiscard]] detail::outcome<Value> read() const {
    const auto java = handle_.enter_class();
    if (java.why != nullptr) return detail::failed<Value>(java.why);
    const auto on = handle_.on_class();
    return detail::get_field<Value>(java.value, detail::place::get_static_field, on.reference, on.method);
  }
  template <class From>
  detail::outcome<void> write(const From& value) const {
    const auto java = handle_.enter_class();
    if (java.why != nullptr) return {java.why};
    const auto on = handle_.on_class();
    return {detail::set_field<Value>(java.value, detail::place::set_static_field, on.reference, on.method, value)};
  }
};

namespace detail {

/// How each kind of handle is looked up.
template <class Handle>
struct handle_kind;
template <class Result, class... Parameters>
struct handle_kind<method<Result(Parameters...)>> {
  static constexpr member kind = member::method;
  static constexpr const auto& type = signature_of<Result, Parameters...>;
};
template <class Result, class... Parameters>
struct handle_kind<static_method<Result(Parameters...)>> {
  static constexpr member kind = member::static_method;
  static constexpr const auto& type = signature_of<Result, Parameters...>;
};
template <class Object, class... Parameters>
struct handle_kind<constructor<Object(Parameters...)>> {
  static constexpr member kind = member::method;
  static constexpr const auto& type = signature_of<void, Parameters...>;
  using object_type = Object;
};
template <class Value>
struct handle_kind<field_handle<Value>> {
  static constexpr member kind = member::field;
  static constexpr const auto& type = own_signature<Value>;
};
template <class Value>
struct handle_kind<static_field_handle<Value>> {
  static constexpr member kind = member::static_field;
  static constexpr const auto& type = own_signature<Value>;
};

template <class Handle>
outcome<Handle> find_handle(const class_ref& cls, const char* name) {
  using kind = handle_kind<Handle>;
  auto bound = handle::make(cls, kind::kind, name, kind::type.c_str());
  if (bound.why == nullptr) {
    if constexpr (requires { typename kind::object_type; }) {
      // The objects are of the class, so that has to be the type's or below it.
      bound.why = verify_subclass(cls.java(), cls.get(), own_signature<typename kind::object_type>.view());
    }
  }
  if (bound.why != nullptr) return failed<Handle>(bound.why);
  return {nullptr, Handle(std::move(bound.value))};
}

}  // namespace detail

template <class Signature>
auto class_ref::find_method(const char* name) const {
  return detail::value_of(detail::find_handle<method<Signature>>(*this, name));
}
template <class Signature>
auto class_ref::try_find_method(const char* name) const {
  return result<method<Signature>>(detail::find_handle<method<Signature>>(*this, name));
}
template <class Signature>
auto class_ref::find_static_method(const char* name) const {
  return detail::value_of(detail::find_handle<static_method<Signature>>(*this, name));
}
template <class Signature>
auto class_ref::try_find_static_method(const char* name) const {
  return result<static_method<Signature>>(detail::find_handle<static_method<Signature>>(*this, name));
}
template <class Signature>
auto class_ref::find_constructor() const {
  return detail::value_of(detail::find_handle<constructor<Signature>>(*this, "<init>"));
}
template <class Signature>
auto class_ref::try_find_constructor() const {
  return result<constructor<Signature>>(detail::find_handle<constructor<Signature>>(*this, "<init>"));
}
template <class Value>
auto class_ref::find_field(const char* name) const {
  return detail::value_of(detail::find_handle<field_handle<Value>>(*this, name));
}
template <class Value>
auto class_ref::try_find_field(const char* name) const {
  return result<field_handle<Value>>(detail::find_handle<field_handle<Value>>(*this, name));
}
template <class Value>
auto class_ref::find_static_field(const char* name) const {
  return detail::value_of(detail::find_handle<static_field_handle<Value>>(*this, name));
}
template <class Value>
auto class_ref::try_find_static_field(const char* name) const {
  return result<static_field_handle<Value>>(detail::find_handle<static_field_handle<Value>>(*this, name));
}

}  // namespace qvjvm
