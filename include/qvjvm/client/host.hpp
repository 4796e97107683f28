/// @file
/// Java's half of the host's objects, once for each module (EXE or DLL): the classes of java/, defined in a class
/// loader of their own, so that no two modules share classes whose native methods are one module's code. And how
/// failures and exceptions of the host's code go into Java and come back.
///
/// Java counts the calls that are inside an object's host part and ends the part once, when none is and none can come;
/// java/HostPart.java. So nothing here counts, locks or waits while a callback runs.
#pragma once

#include <chrono>
#include <mutex>
#include <shared_mutex>

#include "qvjvm/qvjvm.hpp"

namespace qvjvm {

namespace detail {

/// A thread's context as the place where a call begins.
struct here {
  context java;
  /// The context itself.
  friend outcome<context> enter_from(const here& where) noexcept { return {nullptr, where.java}; }
};

// ---- calls from Java ----

/// The arguments of a call: the first three each as an object and as a primitive value's bits, and all in an array.
struct incoming {
  static constexpr size_t apart = 3;

  context java;
  void* all;
  void* objects[apart];
  int64_t bits[apart];
};

/// The host's part of an object that has functions.
class host_target : public host_part {
 public:
  /// Calls a function of the host; nothing unwinds out of it, failures are pending in Java.
  using entry = java_value (*)(host_target& target, const incoming& call) noexcept;

  host_target(const context& java, const entry* entries) noexcept
      : home_(realm_user::share(java.home)), entries_(entries) {}
  [[nodiscard]] realm* home() const noexcept { return home_.get(); }
  [[nodiscard]] java_value call(int32_t slot, const incoming& in) noexcept { return entries_[slot](*this, in); }

 protected:
  ~host_target() = default;

 private:
  realm_user home_;
  const entry* entries_;
};

inline int64_t to_bits(host_part* part) noexcept { return reinterpret_cast<intptr_t>(part); }
inline host_part* to_part(int64_t bits) noexcept { return reinterpret_cast<host_part*>(static_cast<intptr_t>(bits)); }

// ---- the native methods of HostPart ----

inline void native_release(qv_jnienv, void*, int64_t part) noexcept { to_part(part)->end(); }

inline java_value native_call(qv_jnienv env, int64_t part, int32_t slot, const incoming& in) noexcept {
  auto& target = *static_cast<host_target*>(to_part(part));
  incoming call = in;
  call.java = {target.home(), env};
  return target.call(slot, call);
}
inline void* native_call_object(qv_jnienv env, void*, int64_t part, int32_t slot, void* all, void* a, void* b, void* c,
                                int64_t x, int64_t y, int64_t z) noexcept {
  return native_call(env, part, slot, {{}, all, {a, b, c}, {x, y, z}}).l;
}
inline int64_t native_call_bits(qv_jnienv env, void*, int64_t part, int32_t slot, void* all, void* a, void* b, void* c,
                                int64_t x, int64_t y, int64_t z) noexcept {
  return native_call(env, part, slot, {{}, all, {a, b, c}, {x, y, z}}).j;
}

void* native_call_default(qv_jnienv env, void*, int64_t part, void* on, void* method, void* in, void* shape,
                          void* all) noexcept;

/// JNI's JNINativeMethod.
struct native_method {
  const char* name;
  const char* signature;
  void* function;
};

template <class Function>
native_method native_row(const char* name, const char* signature, Function* function) noexcept {
  return {name, signature, reinterpret_cast<void*>(function)};
}

/// Binds native methods of a class to functions; why not, else null.
inline failure_record* bind_natives(const context& java, void* cls, std::span<const native_method> methods) noexcept {
  const auto done =
      invoke<int32_t>(java.env, place::register_natives, 0, cls, methods.data(), static_cast<int32_t>(methods.size()));
  return done == 0 && !exception_pending(java.env) ? nullptr : take_exception(java);
}

// ---- the classes of the module ----

/// Java's half, found and defined. What it names lives as long as its realm, which looks up through its class loader.
struct host_kit {
  realm_user home;
  void* type_class = nullptr;       ///< HostType
  method_id create = nullptr;       ///< of HostType
  void* exception_class = nullptr;  ///< HostException
  method_id make_exception = nullptr;
  field_id thrown = nullptr;  ///< of HostException

  [[nodiscard]] here on(qv_jnienv env) const noexcept { return {{home.get(), env}}; }
};

using java_part = instance<"qvjvm/HostPart">;
using java_watcher = instance<"qvjvm/HostWatcher">;

/// A slim reader-writer lock of Windows that is there before the first constructor and after the last destructor.
class slim_lock {
 public:
  void lock() noexcept { AcquireSRWLockExclusive(&lock_); }
  void unlock() noexcept { ReleaseSRWLockExclusive(&lock_); }
  void lock_shared() noexcept { AcquireSRWLockShared(&lock_); }
  void unlock_shared() noexcept { ReleaseSRWLockShared(&lock_); }

 private:
  SRWLOCK lock_ = SRWLOCK_INIT;
};

/// The module's classes, made by the first that wants them. They are never ended but by close: at process end Java's
/// threads may still use them. While the lock is held nothing is called.
class kit_holder {
 public:
  /// The classes as they are; with an empty realm where there are none.
  [[nodiscard]] host_kit get() noexcept {
    if (!there_.load(std::memory_order_acquire)) return {};
    const std::shared_lock guard(lock_);
    return there_.load(std::memory_order_relaxed) ? kit() : host_kit();
  }
  /// Keeps classes unless another thread was first; what is kept then.
  [[nodiscard]] host_kit keep(host_kit&& made) noexcept {
    const std::lock_guard guard(lock_);
    if (!there_.load(std::memory_order_relaxed)) {
      new (memory_) host_kit(std::move(made));
      there_.store(true, std::memory_order_release);
    }
    return kit();
  }
  /// Forgets these classes; the next user makes new ones.
  void forget(const host_kit& closed) noexcept {
    host_kit gone;  // ends without the lock
    const std::lock_guard guard(lock_);
    if (!there_.load(std::memory_order_relaxed) || kit().home.get() != closed.home.get()) return;
    gone = std::move(kit());
    kit().~host_kit();
    there_.store(false, std::memory_order_relaxed);
  }

 private:
  host_kit& kit() noexcept { return *std::launder(reinterpret_cast<host_kit*>(memory_)); }

  slim_lock lock_;
  std::atomic<bool> there_{false};
  alignas(host_kit) std::byte memory_[sizeof(host_kit)] = {};
};
inline constinit kit_holder module_kit;

/// A class loader that has nothing but what is defined in it, and asks the system's: what the host's functions look up
/// through no loader of their own, Java looks up through this one.
inline outcome<object> make_empty_loader(const context& java) {
  using url = instance<"java/net/URL">;
  using class_loader = instance<"java/lang/ClassLoader">;
  const auto system = class_loader::try_call_static<"getSystemClassLoader", class_loader>(here{java});
  if (!system) return failed<object>(system.reason());
  const auto none = array<url>::try_make(here{java}, 0);
  if (!none) return failed<object>(none.reason());
  auto made = instance<"java/net/URLClassLoader">::try_create_as<void(array<url>, class_loader)>(
      here{java}, none.value(), system.value());
  if (!made) return failed<object>(made.reason());
  return {nullptr, std::move(made).value()};
}

/// A class file.
struct host_class {
  const char* name;
  const char* bytes;
  size_t size;
};
inline constexpr host_class host_classes[] = {
#include "qvjvm/client/host_classes.inc"
};

/// Defines the classes; why not, else null.
inline failure_record* define_host_classes(const context& java, void* loader) noexcept {
  for (const host_class& each : host_classes) {
    const scoped_local cls(java.env, invoke<void*>(java.env, place::define_class, 0, each.name, loader, each.bytes,
                                                   static_cast<int32_t>(each.size)));
    if (cls.get() == nullptr) return take_exception(java);
  }
  return nullptr;
}

inline failure_record* bind_host_part(const context& java) {
  void* const cls = class_site<"qvjvm/HostPart">::find(java);
  if (cls == nullptr) return take_exception(java);
  static constexpr auto arguments =
      piece("(JI[Ljava/lang/Object;Ljava/lang/Object;Ljava/lang/Object;Ljava/lang/Object;JJJ)");
  static constexpr auto call_object = join(arguments, piece("Ljava/lang/Object;"));
  static constexpr auto call_bits = join(arguments, piece("J"));
  const native_method methods[] = {
      native_row("release", "(J)V", &native_release),
      native_row("callObject", call_object.c_str(), &native_call_object),
      native_row("callBits", call_bits.c_str(), &native_call_bits),
      native_row("callDefault",
                 "(JLjava/lang/Object;Ljava/lang/reflect/Method;Ljava/lang/Class;Ljava/lang/String;"
                 "[Ljava/lang/Object;)Ljava/lang/Object;",
                 &native_call_default),
  };
  return bind_natives(java, cls, methods);
}

/// Looks up what failures need, because it is wanted when Java has no memory to look it up.
inline failure_record* fill_kit(const context& java, host_kit& kit) {
  kit.type_class = class_site<"qvjvm/HostType">::find(java);
  kit.exception_class = kit.type_class == nullptr ? nullptr : class_site<"qvjvm/HostException">::find(java);
  if (kit.exception_class == nullptr) return take_exception(java);
  kit.create = look_up(java.env, member::method, kit.type_class, "create", "(J)Ljava/lang/Object;");
  if (kit.create == nullptr) return take_exception(java);
  kit.make_exception = look_up(java.env, member::method, kit.exception_class, "<init>", "(Ljava/lang/String;J)V");
  if (kit.make_exception == nullptr) return take_exception(java);
  kit.thrown = look_up(java.env, member::field, kit.exception_class, "thrown", "J");
  return kit.thrown == nullptr ? take_exception(java) : nullptr;
}

inline crossing* find_host_crossing(const context& java, void* exception) noexcept {
  const host_kit kit = module_kit.get();
  if (!kit.home || !is_instance(java.env, exception, kit.exception_class)) return nullptr;
  const auto bits = invoke<int64_t>(java.env, place::get_field, java_type<int64_t>::step, exception, kit.thrown);
  auto* const crossed = static_cast<crossing*>(to_part(bits));
  crossed->add_user();
  return crossed;
}

/// The module's classes, made where there are none.
inline outcome<host_kit> need_kit(const context& java) {
  host_kit kit = module_kit.get();
  if (kit.home) return {nullptr, std::move(kit)};
  auto loader = make_empty_loader(java);
  failure_record* why = loader.why;
  if (why == nullptr) why = define_host_classes(java, loader.value.get());
  if (why != nullptr) return failed<host_kit>(why);
  void* const global = invoke<void*>(java.env, place::new_global_ref, 0, loader.value.get());
  if (global == nullptr) return failed<host_kit>(new_failure(QV_E_OUTOFMEMORY, L"no memory for a global reference"));
  java.home->vm()->AddRef();
  auto home = open_realm(java.home->vm(), global);
  if (home.why != nullptr) return failed<host_kit>(home.why);
  kit.home = std::move(home.value);
  const context own{kit.home.get(), java.env};
  why = bind_host_part(own);
  if (why == nullptr) why = fill_kit(own, kit);
  if (why != nullptr) return failed<host_kit>(why);
  g_find_crossing.store(find_host_crossing, std::memory_order_release);
  return {nullptr, module_kit.keep(std::move(kit))};
}

// ---- failures on their way into Java and back ----

/// Raises an exception of the host's in Java; one of Java's own where that cannot be.
QVJVM_COLD inline void raise_host_exception(const context& java, std::wstring_view text, int32_t status,
                                            std::exception_ptr thrown) {
  const auto kit = need_kit(java);
  drop(kit.why);
  auto* const crossed = kit.why != nullptr ? nullptr : new (std::nothrow) crossing(status, std::move(thrown));
  const passed message = crossed == nullptr ? passed() : pass_utf16(java, text.data(), text.size());
  const scoped_local owned(java.env, message.reference);
  drop(message.why);
  if (message.reference != nullptr) {
    java_value values[2] = {};
    values[0].l = message.reference;
    values[1].j = to_bits(crossed);
    const scoped_local made(java.env, invoke<void*>(java.env, place::new_object_a, 0, kit.value.exception_class,
                                                    kit.value.make_exception, values));
    if (made.get() != nullptr) {
      invoke<int32_t>(java.env, place::throw_, 0, made.get());
      return;
    }
  }
  if (crossed != nullptr) crossed->end();
  if (!exception_pending(java.env)) {
    invoke<int32_t>(java.env, place::throw_new, 0, java.home->roots().out_of_memory,
                    "no memory for what a host's function failed with");
  }
}

/// Raises a failure in Java: the same throwable where it has one.
QVJVM_COLD inline void raise_in_java(const context& java, const failure& why) {
  if (const throwable known = why.exception()) {
    invoke<int32_t>(java.env, place::throw_, 0, known.get());
    return;
  }
#if QVJVM_EXCEPTIONS
  raise_host_exception(java, why.message(), why.status(), std::make_exception_ptr(error(why)));
#else
  raise_host_exception(java, why.message(), why.status(), nullptr);
#endif
}

#if QVJVM_EXCEPTIONS
/// Raises in Java what is being caught.
QVJVM_COLD inline void raise_caught(const context& java) {
  try {
    throw;
  } catch (const java_error& error) {
    raise_in_java(java, error.reason());
  } catch (const error& error) {
    raise_host_exception(java, error.message(), error.status(), std::current_exception());
  } catch (const std::exception& error) {
    raise_host_exception(java, to_utf16(error.what()), QV_E_FAIL, std::current_exception());
  } catch (...) {
    raise_host_exception(java, L"a C++ exception that is no std::exception", QV_E_FAIL, std::current_exception());
  }
}
#endif

/// Runs the host's code for Java. Nothing unwinds: what it throws is pending in Java, and the result is zero then.
template <class Work>
java_value run_for_java([[maybe_unused]] const context& java, const Work& work) noexcept {
#if QVJVM_EXCEPTIONS
  try {
    return work();
  } catch (...) {
    // Memory can be out here once more, and for Java this is then all that there was.
    try {
      raise_caught(java);
    } catch (...) {
      invoke<int32_t>(java.env, place::throw_new, 0, java.home->roots().out_of_memory,
                      "no memory for what a host's function threw");
    }
    return {};
  }
#else
  return work();
#endif
}

// ---- default methods ----

/// An argument as JNI wants it; objects in `kept`.
inline failure_record* read_java_argument(const context& java, void* all, int32_t at, char letter, java_value& value,
                                          std::vector<local>& kept) {
  local element(java, invoke<void*>(java.env, place::get_object_array_element, 0, all, at));
  if (exception_pending(java.env)) return take_exception(java);
  if (letter != 'L') return read_box(element, letter, value);
  value.l = element.get();
  kept.push_back(std::move(element));
  return nullptr;
}

/// Calls a method of an interface and not what overrides it. An exception stays pending.
inline passed call_default(const context& java, void* on, void* in, method_id method, char letter,
                           const java_value* values) {
  constexpr auto family = place::call_nonvirtual_method_a;
  if (letter == 'L') return {invoke<void*>(java.env, family, 0, on, in, method, values), true, nullptr};
  if (letter == 'V') {
    invoke<void>(java.env, family, 3 * java_type<void>::step, on, in, method, values);
    return {};
  }
  java_value result{};
  with_box(letter, [&]<class T, fixed_text, fixed_text>() {
    using stored = typename java_type<T>::stored;
    java_type<T>::store(
        result, static_cast<T>(invoke<stored>(java.env, family, 3 * java_type<T>::step, on, in, method, values)));
    return 0;
  });
  return exception_pending(java.env) ? passed() : pass_box(java, letter, result);
}

inline java_value run_default(const context& java, void* on, void* method, void* in, void* shape, void* all) {
  const std::wstring letters = text_of(java.env, shape);
  const size_t count = letters.size() - 1;
  std::vector<java_value> values(count + 1);
  std::vector<local> kept;
  kept.reserve(count);
  expect_references(java.env, static_cast<int32_t>(count) + 16);
  failure_record* why = nullptr;
  for (size_t i = 0; i < count && why == nullptr; ++i) {
    why = read_java_argument(java, all, static_cast<int32_t>(i), static_cast<char>(letters[i]), values[i], kept);
  }
  passed result;
  if (why == nullptr) {
    const auto id = invoke<method_id>(java.env, place::from_reflected_method, 0, method);
    result = call_default(java, on, in, id, static_cast<char>(letters[count]), values.data());
    why = result.why;
  }
  if (why != nullptr) raise_in_java(java, failure(why));
  java_value value{};
  value.l = result.reference;
  return value;
}

inline void* native_call_default(qv_jnienv env, void*, int64_t part, void* on, void* method, void* in, void* shape,
                                 void* all) noexcept {
  const context java{static_cast<host_target*>(to_part(part))->home(), env};
  return run_for_java(java, [&] { return run_default(java, on, method, in, shape, all); }).l;
}

// ---- taking objects back ----

inline outcome<bool> close_kit(const context& java, std::chrono::milliseconds limit) {
  const host_kit kit = module_kit.get();
  if (!kit.home) return {nullptr, true};
  const auto closed = java_watcher::try_call_static<"close", bool>(kit.on(java.env), int64_t{limit.count()});
  if (!closed) return failed<bool>(closed.reason());
  if (closed.value()) module_kit.forget(kit);
  return {nullptr, closed.value()};
}

}  // namespace detail

/// An object of the host's in Java, for taking it back; from hosted::handle. Lasting; any thread.
class host_handle {
 public:
  /// Of no object.
  host_handle() = default;
  /// For the client itself.
  explicit host_handle(global part) noexcept : part_(std::move(part)) {}

  /// Whether there is an object.
  [[nodiscard]] explicit operator bool() const noexcept { return static_cast<bool>(part_); }
  /// Takes the object back: later calls of it are an IllegalStateException in Java. The host's functions end here, or
  /// on the thread of the last call that is still inside, when that leaves. Once is enough; waits for nothing.
  /// @throws qvjvm::error when the thread cannot be joined to the JVM.
  void revoke() const { try_revoke().value(); }
  /// The same with a result instead of an exception.
  result<void> try_revoke() const {
    const auto part = part_.try_on_this_thread<detail::java_part>();
    if (!part) return part.reason();
    return part.value() ? part.value().try_call<"revoke">() : result<void>();
  }
  /// Waits until the functions of an object that was revoked have ended. Whether they have within that time; from one
  /// of its own functions they cannot. The caller must hold no lock that a function waits for.
  /// @throws qvjvm::error when the thread cannot be joined to the JVM.
  [[nodiscard]] bool wait(std::chrono::milliseconds limit) const { return try_wait(limit).value(); }
  /// The same with a result instead of an exception.
  [[nodiscard]] result<bool> try_wait(std::chrono::milliseconds limit) const {
    const auto part = part_.try_on_this_thread<detail::java_part>();
    if (!part) return part.reason();
    if (!part.value()) return true;
    return detail::java_watcher::try_call_static<"await", bool>(part.value(), part.value(), int64_t{limit.count()});
  }

 private:
  global part_;
};

/// Takes back all objects that this module (EXE or DLL) has given to Java, and waits until no call and no thread is in
/// its code: what a DLL does before it is unloaded. Objects that are made meanwhile are refused; afterwards new ones
/// may be made. Native methods that it has registered are not among them.
/// @return whether it was done within that time; from one of the module's own functions it cannot be. Never from
/// DllMain or a static destructor, and needless at process end.
/// @throws qvjvm::error when the thread cannot be joined to the JVM.
template <detail::origin Where>
[[nodiscard]] result<bool> try_close_callbacks(const Where& where, std::chrono::milliseconds limit) {
  const auto java = enter_from(where);
  if (java.why != nullptr) return failure(java.why);
  return result<bool>(detail::close_kit(java.value, limit));
}
/// The same, thrown.
template <detail::origin Where>
[[nodiscard]] bool close_callbacks(const Where& where, std::chrono::milliseconds limit) {
  return try_close_callbacks(where, limit).value();
}

}  // namespace qvjvm
