/// @file
/// Failures of the client: thrown as qvjvm::error, or handed back in a qvjvm::result by the functions whose names begin
/// with try_. Where Java raised an exception, the failure has the throwable itself; see throwable.hpp.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <optional>

#include "qvjvm/client/realm.hpp"
#include "qvjvm/client/text.hpp"

#if defined(__cpp_exceptions) || defined(_CPPUNWIND)
#define QVJVM_EXCEPTIONS 1
#else
/// 1 where the build has exceptions.
#define QVJVM_EXCEPTIONS 0
#endif

namespace qvjvm {

class failure;
class object;
class throwable;

namespace detail {

/// The host's part of a Java object. Java ends it once, on any thread.
class host_part {
 public:
  virtual void end() noexcept = 0;

 protected:
  host_part() = default;
  ~host_part() = default;
};

/// An exception of the host's code that goes through Java: shared by Java's exception and by the failures that are made
/// of it. Any thread.
class crossing final : public host_part {
 public:
  crossing(int32_t status, std::exception_ptr thrown) noexcept : status_(status), thrown_(std::move(thrown)) {}

  void add_user() noexcept { users_.fetch_add(1, std::memory_order_relaxed); }
  void end() noexcept override {
    if (users_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
  }
  [[nodiscard]] int32_t status() const noexcept { return status_; }
  /// Null in builds without exceptions.
  [[nodiscard]] const std::exception_ptr& thrown() const noexcept { return thrown_; }

 private:
  ~crossing() = default;

  std::atomic<uint32_t> users_{1};
  int32_t status_;
  std::exception_ptr thrown_;
};

/// Why something failed: what a failure and its copies share. Any thread.
struct failure_record {
  explicit constexpr failure_record(int32_t code) noexcept : status(code) {}

  std::atomic<uint32_t> users{1};
  int32_t status;
  realm_user home;              ///< where the throwable is from
  void* exception = nullptr;    ///< the throwable, a global reference, or null
  crossing* crossed = nullptr;  ///< what the throwable is in C++, or null
  std::atomic<const std::wstring*> text{nullptr};
  std::atomic<const std::string*> utf8{nullptr};
};

/// Stands for a failure that there was no memory to tell about.
inline constinit failure_record no_memory_for_a_record{QV_E_OUTOFMEMORY};
inline const std::wstring no_memory_text = L"no memory";
inline const std::wstring empty_text;

inline void drop(failure_record* record) noexcept {
  if (record == nullptr || record == &no_memory_for_a_record) return;
  if (record->users.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
  if (record->exception != nullptr) record->home.get()->vm()->DeleteGlobalRef(record->exception);
  if (record->crossed != nullptr) record->crossed->end();
  delete record->text.load(std::memory_order_relaxed);
  delete record->utf8.load(std::memory_order_relaxed);
#ifndef __clang_analyzer__  // which does not count the users and takes each for the last
  delete record;
#endif
}

/// Runs what may find no memory for a text; null then.
template <class Make>
auto* unless_out_of_memory(const Make& make) noexcept {
  decltype(make()) made = nullptr;
#if QVJVM_EXCEPTIONS
  try {
    made = make();
  } catch (const std::exception&) {
    made = nullptr;
  }
#else
  made = make();
#endif
  return made;
}

/// A failure of the client's own; the caller owns it.
[[nodiscard]] QVJVM_COLD inline failure_record* new_failure(int32_t status, std::wstring_view text) noexcept {
  auto* const record = new (std::nothrow) failure_record(status);
  if (record == nullptr) return &no_memory_for_a_record;
  record->text.store(unless_out_of_memory([&] { return new std::wstring(text); }), std::memory_order_release);
  return record;
}
[[nodiscard]] QVJVM_COLD inline failure_record* invalid(const wchar_t* text) noexcept {
  return new_failure(QV_E_INVALIDARG, text);
}

/// A Java string's text; empty for null.
inline std::wstring text_of(qv_jnienv env, void* string) {
  std::wstring text;
  if (string == nullptr) return text;
  const auto length = invoke<int32_t>(env, place::get_string_length, 0, string);
  text.resize(static_cast<size_t>(length));
  invoke<void>(env, place::get_string_region, 0, string, int32_t{0}, length, reinterpret_cast<uint16_t*>(text.data()));
  return text;
}

/// What a method without arguments gives, a text; nothing when it raises (the exception is cleared) or gives null.
inline std::optional<std::wstring> ask_text(qv_jnienv env, void* target, method_id method) {
  const java_value none{};
  const scoped_local text(env, invoke<void*>(env, place::call_method_a, 0, target, method, &none));
  if (exception_pending(env)) {
    clear_exception(env);
    return std::nullopt;
  }
  if (text.get() == nullptr) return std::nullopt;
  return text_of(env, text.get());
}

/// A throwable for people: its toString(). Java without memory or stack often cannot run that; then the class's name
/// and the message, which needs neither. A class that could not be initialised says why.
inline std::wstring describe(const context& java, void* exception) {
  const root_classes& roots = java.home->roots();
  const qv_jnienv env = java.env;
  const auto is = [&](void* cls) { return is_instance(env, exception, cls); };
  std::optional<std::wstring> text = ask_text(env, exception, roots.to_string);
  if (!text) {
    std::optional<std::wstring> name;
    if (is(roots.out_of_memory)) {
      name = L"java.lang.OutOfMemoryError";
    } else if (is(roots.stack_overflow)) {
      name = L"java.lang.StackOverflowError";
    } else {
      const scoped_local cls(env, invoke<void*>(env, place::get_object_class, 0, exception));
      name = ask_text(env, cls.get(), roots.get_name);
    }
    text = name ? *name : L"a Java exception that cannot say what it is";
    if (const auto message = ask_text(env, exception, roots.get_message)) *text += L": " + *message;
  }
  if (is(roots.initializer_error)) {
    const java_value none{};
    const scoped_local cause(env, invoke<void*>(env, place::call_method_a, 0, exception, roots.get_cause, &none));
    if (exception_pending(env)) {
      clear_exception(env);
    } else if (cause.get() != nullptr) {
      *text += L", caused by " + describe(java, cause.get());
    }
  }
  return *std::move(text);
}

/// The text of a record, read from its throwable at the first call. Null without memory.
inline const std::wstring* text_of_record(failure_record* record) noexcept {
  if (const std::wstring* text = record->text.load(std::memory_order_acquire)) return text;
  if (record->exception == nullptr) return nullptr;
  const context java{record->home.get(), thread_env(record->home.get())};
  if (java.env == nullptr) return nullptr;
  const exception_aside aside(java.env);  // the failure may already be raised in Java again
  const std::wstring* const made =
      unless_out_of_memory([&] { return new std::wstring(describe(java, record->exception)); });
  const std::wstring* before = nullptr;
  if (made == nullptr || record->text.compare_exchange_strong(before, made, std::memory_order_acq_rel)) return made;
  delete made;
  return before;
}

/// Why Java must not be called: an exception that the host's own JNI left pending. Only checked builds ask; else null.
[[nodiscard]] inline failure_record* left_pending([[maybe_unused]] qv_jnienv env) noexcept {
#if QVJVM_CHECKED
  if (exception_pending(env)) return invalid(L"the host's own JNI has left an exception pending");
#endif
  return nullptr;
}

/// What a throwable is in C++, with a count for the caller; null for Java's own ones. Set when this module first gives
/// something of the host's to Java (host.hpp); before, there are only Java's own ones.
using crossing_finder = crossing* (*)(const context& java, void* exception) noexcept;
inline constinit std::atomic<crossing_finder> g_find_crossing{nullptr};

inline crossing* find_crossing(const context& java, void* exception) noexcept {
  const crossing_finder find = g_find_crossing.load(std::memory_order_acquire);
  return find == nullptr ? nullptr : find(java, exception);
}

/// Takes the pending Java exception away; the caller owns the record.
[[nodiscard]] QVJVM_COLD inline failure_record* take_exception(const context& java) noexcept {
  const scoped_local exception(java.env, invoke<void*>(java.env, place::exception_occurred, 0));
  clear_exception(java.env);
  if (exception.get() == nullptr) return new_failure(QV_E_FAIL, L"Java gave no result");
  auto* const record = new (std::nothrow) failure_record(QV_E_FAIL);
  if (record == nullptr) return &no_memory_for_a_record;
  record->home = realm_user::share(java.home);
  record->exception = invoke<void*>(java.env, place::new_global_ref, 0, exception.get());
  record->crossed = find_crossing(java, exception.get());
  if (record->crossed != nullptr) record->status = record->crossed->status();
  if (record->exception == nullptr) {  // no memory in Java: its text at least
    record->text.store(unless_out_of_memory([&] { return new std::wstring(describe(java, exception.get())); }),
                       std::memory_order_release);
  }
  return record;
}

}  // namespace detail

/// One call of a Java stack trace.
struct stack_frame {
  std::wstring class_name;  ///< "org.apache.fop.apps.Driver"
  std::wstring method;      ///< "<init>" for a constructor
  std::wstring file;        ///< empty when it is not known
  int32_t line = -1;        ///< negative when it is not known; -2 for a native method
};

/// Why something failed. Copies share it; any thread may ask it.
class [[nodiscard]] failure {
 public:
  /// No failure: status 0 and no text.
  failure() = default;
  /// A failure of the host's own.
  failure(int32_t status, std::wstring_view text) noexcept : record_(detail::new_failure(status, text)) {}
  /// Takes over a record. For the client itself.
  explicit failure(detail::failure_record* record) noexcept : record_(record) {}
  /// Shares it.
  failure(const failure& other) noexcept : record_(other.record_) {
    if (record_ != nullptr && record_ != &detail::no_memory_for_a_record) record_->users.fetch_add(1);
  }
  /// Leaves no failure behind.
  failure(failure&& other) noexcept : record_(std::exchange(other.record_, nullptr)) {}
  /// Shares or takes over the other one.
  failure& operator=(failure other) noexcept {
    std::swap(record_, other.record_);
    return *this;
  }
  ~failure() { detail::drop(record_); }

  /// Whether something failed.
  [[nodiscard]] explicit operator bool() const noexcept { return record_ != nullptr; }
  /// A status of qvjvm.h, or of Windows where the service could not be loaded; 0 when nothing failed.
  [[nodiscard]] int32_t status() const noexcept { return record_ == nullptr ? QV_S_OK : record_->status; }
  /// For people, of any length: what the Java exception's toString() says, where there was one. The text of an
  /// exception is read by the first call, which may join the thread to the JVM. It lives as long as a copy of this
  /// failure.
  [[nodiscard]] const std::wstring& message() const noexcept {
    if (record_ == nullptr) return detail::empty_text;
    const std::wstring* const text = detail::text_of_record(record_);
    return text == nullptr ? detail::no_memory_text : *text;
  }
  /// The message as UTF-8.
  [[nodiscard]] const char* what() const noexcept {
    if (record_ == nullptr) return "";
    if (const std::string* made = record_->utf8.load(std::memory_order_acquire)) return made->c_str();
    const std::string* const made =
        detail::unless_out_of_memory([&] { return new std::string(detail::to_utf8(message())); });
    const std::string* before = nullptr;
    if (made == nullptr) return "no memory";
    if (record_->utf8.compare_exchange_strong(before, made, std::memory_order_acq_rel)) return made->c_str();
    delete made;
    return before->c_str();
  }

  /// Whether Java raised an exception, which the functions below then tell about.
  [[nodiscard]] bool is_java() const noexcept { return record_ != nullptr && record_->exception != nullptr; }
  /// The throwable, an object of the calling thread; null without one.
  [[nodiscard]] throwable exception() const noexcept;

  /// The exception that the host's own code threw in a callback, when it has come back through Java; else null.
  [[nodiscard]] std::exception_ptr host_exception() const noexcept {
    return record_ == nullptr || record_->crossed == nullptr ? nullptr : record_->crossed->thrown();
  }
  /// Throws what the throwing functions throw: an exception of the host's own code again, else a java_error or an
  /// error. There must be a failure. Without exceptions in the build it ends the process with the text.
  [[noreturn]] void rethrow() const;

  /// The record, which is the caller's now. For the client itself.
  [[nodiscard]] detail::failure_record* release() noexcept { return std::exchange(record_, nullptr); }

 private:
  detail::failure_record* record_ = nullptr;
};

/// The exception of the throwing functions. A copy costs nothing and cannot fail.
class error : public std::exception {
 public:
  /// Takes the failure over.
  explicit error(failure reason) noexcept : reason_(std::move(reason)) {}
  /// Takes over a record. For the client itself.
  explicit error(detail::failure_record* record) noexcept : reason_(record) {}
  /// The message as UTF-8.
  [[nodiscard]] const char* what() const noexcept override { return reason_.what(); }
  /// The message as Java or the service gave it.
  [[nodiscard]] const std::wstring& message() const noexcept { return reason_.message(); }
  /// The status of the operation.
  [[nodiscard]] int32_t status() const noexcept { return reason_.status(); }
  /// The failure itself.
  [[nodiscard]] const failure& reason() const noexcept { return reason_; }

 private:
  failure reason_;
};

/// A Java exception in C++. Its functions work on any thread.
class java_error : public error {
 public:
  using error::error;
  /// The throwable, an object of the calling thread.
  [[nodiscard]] throwable exception() const noexcept;
  /// The name of the throwable's class, "java.io.IOException".
  [[nodiscard]] std::wstring class_name() const;
  /// What its getMessage() says; empty for null.
  [[nodiscard]] std::wstring java_message() const;
  /// Its stack and those of its causes and suppressed exceptions, as Java prints them.
  [[nodiscard]] std::wstring stack_text() const;
  /// The throwable as that class, or nothing when it is of another:
  /// `if (auto io = e.catch_as<"java/io/IOException">())`.
  template <fixed_text Class>
  [[nodiscard]] auto catch_as() const;
  /// The same with a class of C++: `e.catch_as<java::sql::SQLException>()`.
  template <class Class>
  [[nodiscard]] std::optional<Class> catch_as() const;
  /// Raises the same throwable in Java on the calling thread, where it stays pending: the last thing that a native
  /// method does before it returns to Java.
  void rethrow_in_java() const;
};

namespace detail {

#if QVJVM_EXCEPTIONS
/// Throws the host's own exception again and takes the record over.
[[noreturn]] QVJVM_COLD inline void raise_crossed(failure_record* record) {
  const std::exception_ptr thrown = record->crossed->thrown();
  drop(record);
  std::rethrow_exception(thrown);
}
#endif

/// Throws what a record tells and takes it over. Without exceptions in the build it ends the process with the text, as
/// the standard library does.
[[noreturn]] QVJVM_COLD inline void raise(failure_record* record) {
#if QVJVM_EXCEPTIONS
  // Nothing here has a destructor: each one on the way of an exception costs microseconds.
  if (record->crossed != nullptr && record->crossed->thrown() != nullptr) raise_crossed(record);
  if (record->exception != nullptr) {
    (void)text_of_record(record);  // so that what() need not enter Java
    throw java_error(record);
  }
  throw error(record);
#else
  std::fprintf(stderr, "qvjvm: %s\n", failure(record).what());
  std::abort();
#endif
}

}  // namespace detail

inline void failure::rethrow() const { detail::raise(failure(*this).release()); }

namespace detail {

/// What an operation comes to, before it is thrown or handed back.
template <class T>
struct outcome {
  failure_record* why = nullptr;
  T value{};
};
template <>
struct outcome<void> {
  failure_record* why = nullptr;
};

}  // namespace detail

/// A value or the reason why there is none. Asking for a value that is not there throws qvjvm::error.
template <class T>
class [[nodiscard]] result {
 public:
  /// A success.
  result(T value) : value_(std::move(value)) {}  // NOLINT(google-explicit-constructor)
  /// A failure.
  result(failure reason) noexcept : reason_(std::move(reason)) {}  // NOLINT(google-explicit-constructor)
  /// Takes an outcome over. For the client itself.
  explicit result(detail::outcome<T>&& from) : reason_(from.why) {
    if (from.why == nullptr) value_.emplace(std::move(from.value));
  }

  /// Whether there is a value.
  [[nodiscard]] explicit operator bool() const noexcept { return value_.has_value(); }
  /// The value; throws qvjvm::error when there is none.
  [[nodiscard]] T& value() & {
    need();
    return *value_;
  }
  /// The value; throws qvjvm::error when there is none.
  [[nodiscard]] const T& value() const& {
    need();
    return *value_;
  }
  /// The value, moved out; throws qvjvm::error when there is none.
  [[nodiscard]] T value() && {
    need();
    return std::move(*value_);
  }
  /// The value, or the given one when there is none.
  [[nodiscard]] T value_or(T other) const& { return value_ ? *value_ : std::move(other); }
  /// The value, or the given one when there is none.
  [[nodiscard]] T value_or(T other) && { return value_ ? std::move(*value_) : std::move(other); }
  /// The reason of a failure; one with status 0 and no text on success.
  [[nodiscard]] const failure& reason() const noexcept { return reason_; }

 private:
  void need() const {
    if (!value_) reason_.rethrow();
  }
  std::optional<T> value_;
  failure reason_;
};

/// Success without a value, or the reason of the failure.
template <>
class [[nodiscard]] result<void> {
 public:
  /// A success.
  result() = default;
  /// A failure.
  result(failure reason) noexcept : reason_(std::move(reason)) {}  // NOLINT(google-explicit-constructor)
  /// Takes an outcome over. For the client itself.
  explicit result(detail::outcome<void>&& from) noexcept : reason_(from.why) {}

  /// Whether it succeeded.
  [[nodiscard]] explicit operator bool() const noexcept { return !reason_; }
  /// Throws qvjvm::error unless it succeeded.
  void value() const {
    if (reason_) reason_.rethrow();
  }
  /// The reason of a failure; one with status 0 and no text on success.
  [[nodiscard]] const failure& reason() const noexcept { return reason_; }

 private:
  failure reason_;
};

namespace detail {

/// The throwing form of an outcome.
template <class T>
T value_of(outcome<T> from) {
  if (from.why != nullptr) [[unlikely]] {
    raise(from.why);
  }
  if constexpr (!std::is_void_v<T>) return std::move(from.value);
}

/// The thread's context, or why it has none.
inline outcome<context> enter(const realm_user& home) noexcept {
  if (!home) return {invalid(L"this qvjvm handle was moved from"), {}};
  const qv_jnienv env = thread_env(home.get());
  if (env == nullptr) return {new_failure(QV_E_FAIL, L"this thread cannot be joined to the Java VM"), {}};
  return {left_pending(env), {home.get(), env}};
}

/// The same for a call that has no outcome of its own to fail with.
template <class T>
outcome<T> failed(failure_record* why) {
  outcome<T> result;
  result.why = why;
  return result;
}
template <class T>
outcome<T> failed(failure why) {
  return failed<T>(why.release());
}

}  // namespace detail
}  // namespace qvjvm
