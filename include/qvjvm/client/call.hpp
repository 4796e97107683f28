/// @file
/// How a call is made: its arguments, the look-up of what it names, the call itself. Nothing here is for hosts.
#pragma once

#include "qvjvm/client/types.hpp"

namespace qvjvm::detail {

/// The type of a field that is written: the one named, or that of the value.
template <class Named, class From>
using field_type = std::conditional_t<std::is_void_v<Named>, plain<From>, Named>;

/// A signature that does not fit, told.
QVJVM_COLD inline failure_record* mistaken(const comparison& compared, const char* signature) {
  return new_failure(QV_E_INVALIDARG, to_utf16(tell(compared, signature)));
}

/// The signature that a call with those arguments may be given; deduced from the arguments alone.
template <class Result, class... Arguments>
using signature_for = std::type_identity_t<call_signature<Result, plain<Arguments>...>>;

// ---- arguments ----

/// The type that an argument of type T is passed as.
template <class T>
using argument_type = java_type<plain<T>>;

/// The references that are made for one call, at most so many; they end with this object.
template <size_t Most>
class made_references {
 public:
  explicit made_references(qv_jnienv env) noexcept : env_(env) {}
  ~made_references() {
    for (void* const reference : references_) delete_local(env_, reference);
  }
  made_references(const made_references&) = delete;
  made_references& operator=(const made_references&) = delete;
  void own(void* reference) noexcept { references_[count_++] = reference; }

 private:
  qv_jnienv env_;
  void* references_[Most] = {};
  size_t count_ = 0;
};
template <>
class made_references<0> {
 public:
  explicit made_references(qv_jnienv) noexcept {}
};

/// The arguments of one call as JNI wants them.
template <class... Arguments>
class arguments : made_references<(size_t{0} + ... + (argument_type<Arguments>::primitive ? 0 : 1))> {
 public:
  arguments(const context& java, const Arguments&... values) : arguments::made_references(java.env) {
    size_t at = 0;
    (void)(true && ... && add(java, values, values_[at++]));
  }
  arguments(const arguments&) = delete;
  arguments& operator=(const arguments&) = delete;

  /// Why an argument could not be made; the caller's.
  [[nodiscard]] failure_record* why() const noexcept { return why_; }
  [[nodiscard]] const java_value* values() const noexcept { return values_; }

 private:
  template <class T>
  bool add(const context& java, const T& value, java_value& out) {
    using type = argument_type<T>;
    if constexpr (type::primitive) {
      type::store(out, value);
    } else {
      static_assert(can_be_passed<plain<T>>, "qvjvm: this type can be a result, but no argument");
      if constexpr (can_be_passed<plain<T>>) {
        const passed reference = type::pass(java, value);
        if (reference.why != nullptr) [[unlikely]] {
          why_ = reference.why;
          return false;
        }
        out.l = reference.reference;
        if (reference.owned) this->own(reference.reference);
      }
    }
    return true;
  }

  java_value values_[sizeof...(Arguments) + 1] = {};
  failure_record* why_ = nullptr;
};

/// A parameter of type P that gets a value of type A.
template <class P, class A>
struct parameter {
  static constexpr bool derived = std::is_base_of_v<P, plain<A>>;
  static constexpr fit fitting = derived ? fit::yes : fits(own_signature<plain<A>>.view(), own_signature<P>.view());
  static constexpr bool number = java_type<P>::primitive && java_type<plain<A>>::primitive &&
                                 widens(own_signature<plain<A>>.text[0], own_signature<P>.text[0]);
  static constexpr bool ask = !number && fitting == fit::ask_java;

  /// What the call converts: numbers to the parameter's type, references not at all.
  static decltype(auto) carry(const A& value) noexcept {
    static_assert(number || fitting != fit::no, "qvjvm: an argument does not fit the declared parameter");
    if constexpr (number) {
      return static_cast<P>(value);
    } else if constexpr (java_type<P>::primitive) {
      return P{};  // the assertion has said it
    } else {
      return (value);
    }
  }
};

// ---- looking up ----

/// A class of the service's own class path in a joined JVM; what raised before stays pending when it is not there
/// either.
QVJVM_COLD inline void* load_class_of_service(const context& java, const char* name) noexcept {
  const scoped_local why(java.env, invoke<void*>(java.env, place::exception_occurred, 0));
  clear_exception(java.env);
  void* found = nullptr;
  if (java.home->vm()->FindClass(&found, name) >= 0) return found;
  clear_exception(java.env);
  if (why.get() != nullptr) invoke<int32_t>(java.env, place::throw_, 0, why.get());
  return nullptr;
}

/// The class of that name as a new local reference, or null with an exception pending: through the realm's class
/// loader, or as Java finds it for code without a loader of its own.
inline void* load_class(const context& java, const char* name) {
  const qv_jnienv env = java.env;
  if (java.home->loader() == nullptr) {
    void* const found = invoke<void*>(env, place::find_class, 0, name);
    return found != nullptr || !java.home->joined() ? found : load_class_of_service(java, name);
  }
  std::wstring dotted = to_utf16(name);
  for (wchar_t& unit : dotted) {
    if (unit == L'/') unit = L'.';
  }
  const passed text = pass_utf16(java, dotted.data(), dotted.size());
  const scoped_local owned(env, text.reference);
  drop(text.why);
  if (text.why != nullptr) return nullptr;
  java_value values[3] = {};
  values[0].l = text.reference;
  values[1].z = 1;
  values[2].l = java.home->loader();
  const root_classes& roots = java.home->roots();
  void* const found = invoke<void*>(env, place::call_static_method_a, 0, roots.cls, roots.for_name, values);
  return exception_pending(env) ? nullptr : found;
}

/// A class through the realm: found once, kept as a global reference until the realm ends. Null with the exception
/// pending.
inline void* find_or_keep_class(const context& java, std::string_view name) {
  if (void* const known = java.home->find(name)) return known;
  std::string text(name);
  const scoped_local found(java.env, load_class(java, text.c_str()));
  if (found.get() == nullptr) return nullptr;
  void* const global = invoke<void*>(java.env, place::new_global_ref, 0, found.get());
  return global != nullptr && java.home->keep(std::move(text), global) ? global : nullptr;
}

inline void* class_of_signature(const context& java, std::string_view type) {
  return find_or_keep_class(java, class_name_of(type));
}

constexpr place lookup_of(member kind) noexcept {
  switch (kind) {
    case member::static_method:
      return place::get_static_method_id;
    case member::field:
      return place::get_field_id;
    case member::static_field:
      return place::get_static_field_id;
    default:
      return place::get_method_id;
  }
}

/// A member of a class by name; null with the exception pending.
inline void* look_up(qv_jnienv env, member kind, void* cls, const char* name, const char* type) noexcept {
  return invoke<void*>(env, lookup_of(kind), 0, cls, name, type);
}

/// A site's value the first time: looked up without a lock, because a class that is initialised by it may come here
/// again, then published. Two threads may do the same work; the ids are the same. Null with the exception pending.
QVJVM_COLD inline void* look_up_site(const context& java, const site_name& site, std::atomic<void*>* where) {
  void* const cls = find_or_keep_class(java, site.cls);
  if (cls == nullptr) return nullptr;
  void* value = cls;
  if (site.kind != member::cls) value = look_up(java.env, site.kind, cls, site.name, site.type);
  if (value != nullptr && where != nullptr) where->store(value, std::memory_order_release);
  return value;
}

template <fixed_text Class, member Kind, fixed_text Name, class Signature>
struct site {
  static constexpr site_name name{Kind, Class.text, Name.text, Signature::text.c_str()};
  static inline const uint32_t number = take_site_number();

  /// The class or id; null with the exception pending. Where the realm has no place for the site it is looked up again.
  static void* find(const context& java) {
    std::atomic<void*>* const where = java.home->find_place(number);
    if (where != nullptr) {
      if (void* const known = where->load(std::memory_order_acquire)) [[likely]]
        return known;
    }
    return look_up_site(java, name, number == 0 ? nullptr : where);
  }
};

/// The signature of a site, a type with a text.
template <class Result, class... Arguments>
struct typed_signature {
  static constexpr const auto& text = signature_of<Result, Arguments...>;
};
template <class Value>
struct field_signature {
  static constexpr const auto& text = own_signature<Value>;
};
struct no_signature {
  static constexpr auto text = piece("");
};

template <fixed_text Class>
using class_site = site<Class, member::cls, "", no_signature>;

// ---- calling ----

/// What to call on what.
struct target {
  void* reference = nullptr;  ///< an object, or the class of a static method
  method_id method = nullptr;
};

/// The check of call_as that only Java can make: whether each marked argument is of the class that the signature has.
QVJVM_COLD inline failure_record* verify_arguments(const context& java, std::string_view signature, uint64_t marked,
                                                   const java_value* values) {
  size_t at = 1;
  for (size_t i = 0; (marked >> i) != 0; ++i) {
    const std::string_view declared = type_at(signature, at);
    at += declared.size();
    if (((marked >> i) & 1) == 0 || values[i].l == nullptr) continue;
    void* const cls = class_of_signature(java, declared);
    if (cls == nullptr) return take_exception(java);
    if (!is_instance(java.env, values[i].l, cls)) {
      return new_failure(QV_E_INVALIDARG, to_utf16("argument " + std::to_string(i + 1) + " is no " +
                                                   std::string(declared) + ", which the method wants"));
    }
  }
  return nullptr;
}

/// Whether a result is of the class that it is taken for; null is of every class.
QVJVM_COLD inline failure_record* verify_result(const context& java, void* reference, std::string_view type) {
  if (reference == nullptr) return nullptr;
  void* const cls = class_of_signature(java, type);
  if (cls == nullptr) return take_exception(java);
  if (is_instance(java.env, reference, cls)) return nullptr;
  const scoped_local own(java.env, invoke<void*>(java.env, place::get_object_class, 0, reference));
  const auto name = ask_text(java.env, own.get(), java.home->roots().get_name);
  return new_failure(QV_E_FAIL,
                     L"a " + name.value_or(L"Java object") + L" was taken for a " + to_utf16(class_name_of(type)));
}

/// Whether a class is the one that a type names, or below it.
QVJVM_COLD inline failure_record* verify_subclass(const context& java, void* cls, std::string_view type) {
  void* const wanted = class_of_signature(java, type);
  if (wanted == nullptr) return take_exception(java);
  if (invoke<uint8_t>(java.env, place::is_assignable_from, 0, cls, wanted) != 0) return nullptr;
  return invalid(L"a constructor was taken for one of another class");
}

/// The raw result as the C++ type; `type` is what an object has to be checked against, empty for nothing.
template <class Result>
outcome<Result> finish(const context& java, typename java_type<Result>::stored raw, std::string_view type) {
  if constexpr (java_type<Result>::primitive) {
    return {nullptr, static_cast<Result>(raw)};
  } else {
    outcome<Result> done;
    local reference(java, raw);
    if (!type.empty()) done.why = verify_result(java, raw, type);
    if (done.why == nullptr) done.why = read_reference(std::move(reference), done.value);
    return done;
  }
}

/// An owned reference as a T, once Java has said that it is one; primitive types from their boxes.
template <class T>
outcome<T> read_checked(const context& java, void* reference) {
  using type = as_reference<T>;
  constexpr std::string_view wanted = own_signature<type>.view();
  auto done = finish<type>(java, reference, wanted == object_signature ? std::string_view() : wanted);
  if constexpr (std::is_same_v<type, T>) {
    return done;
  } else {
    return {done.why, done.value.value};
  }
}

/// Which arguments of a call Java has to be asked about; see verify_arguments.
struct doubt {
  const char* signature = nullptr;
  uint64_t arguments = 0;
};

/// Makes the arguments, calls the function at a place, and takes what was raised.
template <class Stored, class... Arguments>
QVJVM_HOT outcome<Stored> perform(const context& java, place family, size_t step, const target& what,
                                  const doubt& about, const Arguments&... values) {
  const arguments<Arguments...> made(java, values...);
  failure_record* why = made.why();
  if (why == nullptr && about.arguments != 0) [[unlikely]] {
    why = verify_arguments(java, about.signature, about.arguments, made.values());
  }
  if (why != nullptr) [[unlikely]] {
    return failed<Stored>(why);
  }
  outcome<Stored> done;
  if constexpr (std::is_void_v<Stored>) {
    invoke<void>(java.env, family, step, what.reference, what.method, made.values());
  } else {
    done.value = invoke<Stored>(java.env, family, step, what.reference, what.method, made.values());
  }
  if (exception_pending(java.env)) [[unlikely]] {
    done.why = take_exception(java);
  }
  return done;
}

/// A call whose result is what the C++ type says.
template <class Result, class... Arguments>
QVJVM_HOT outcome<Result> call(const context& java, place family, const target& what, const doubt& about,
                               const Arguments&... values) {
  using type = java_type<Result>;
  auto raw = perform<typename type::stored>(java, family, 3 * type::step, what, about, values...);
  if constexpr (std::is_void_v<Result>) {
    return raw;
  } else {
    if (raw.why != nullptr) [[unlikely]] {
      return failed<Result>(raw.why);
    }
    constexpr bool ask = QVJVM_CHECKED && !type::primitive;
    return finish<Result>(java, raw.value, ask ? own_signature<Result>.view() : std::string_view());
  }
}

/// The distance of a declared result's function, for results that nobody wants.
constexpr size_t step_of(std::string_view declared) noexcept {
  const size_t known = std::string_view("ZBCSIJFDV").find(declared[0]);
  return 3 * (known == std::string_view::npos ? 0 : known + 1);
}

/// A call by a given signature, which was compared with the types before.
template <class Result, class... Arguments>
outcome<Result> call_compared(const context& java, place family, const target& what, const char* signature,
                              const comparison& compared, const Arguments&... values) {
  using stored = std::conditional_t<std::is_void_v<Result>, void*, typename java_type<Result>::stored>;
  const std::string_view declared = compared.declared;
  const auto raw = perform<stored>(java, family, step_of(declared), what, {signature, compared.ask_java}, values...);
  if (raw.why != nullptr) return failed<Result>(raw.why);
  if constexpr (std::is_void_v<Result>) {
    if (declared[0] == 'L' || declared[0] == '[') delete_local(java.env, raw.value);
    return {};
  } else {
    return finish<Result>(java, raw.value, compared.ask_result ? compared.own : std::string_view());
  }
}

/// A new object by a constructor.
template <class Object, class... Arguments>
QVJVM_HOT outcome<Object> construct(const context& java, const target& what, const doubt& about,
                                    const Arguments&... values) {
  auto raw = perform<void*>(java, place::new_object_a, 0, what, about, values...);
  if (raw.why == nullptr && raw.value == nullptr) raw.why = take_exception(java);
  if (raw.why != nullptr) [[unlikely]] {
    return failed<Object>(raw.why);
  }
  return {nullptr, Object(local(java, raw.value))};
}

/// Reads a field; its id is known, so nothing is raised.
template <class Value>
outcome<Value> get_field(const context& java, place family, void* target, field_id id) {
  using stored = typename java_type<Value>::stored;
  constexpr bool ask = QVJVM_CHECKED && !java_type<Value>::primitive;
  return finish<Value>(java, invoke<stored>(java.env, family, java_type<Value>::step, target, id),
                       ask ? own_signature<Value>.view() : std::string_view());
}

/// Writes a field.
template <class Value, class From>
failure_record* set_field(const context& java, place family, void* target, field_id id, const From& value) {
  using given = parameter<Value, From>;
  if constexpr (java_type<Value>::primitive) {
    invoke<void>(java.env, family, java_type<Value>::step, target, id,
                 static_cast<typename java_type<Value>::stored>(given::carry(value)));
  } else {
    const arguments<From> made(java, given::carry(value));
    if (made.why() != nullptr) return made.why();
    if constexpr (given::ask) {
      auto* const why = verify_result(java, made.values()[0].l, own_signature<Value>.view());
      if (why != nullptr) return why;
    }
    invoke<void>(java.env, family, 0, target, id, made.values()[0].l);
  }
  return nullptr;
}

}  // namespace qvjvm::detail
