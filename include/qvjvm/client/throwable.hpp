/// @file
/// Java's throwables: what a failure or a java_error carries.
#pragma once

#include "qvjvm/client/array.hpp"

namespace qvjvm {

/// A Java throwable; null is allowed. Its functions are for diagnosis: they fail with empty answers, never with another
/// exception.
class throwable : public java_class<throwable, "java/lang/Throwable"> {
 public:
  using java_class::java_class;

  /// Its toString(), as failure::message has it.
  [[nodiscard]] std::wstring text() const { return misused() ? std::wstring() : detail::describe(java(), get()); }
  /// The name of its class, "java.io.IOException".
  [[nodiscard]] std::wstring class_name() const {
    if (misused()) return {};
    const detail::scoped_local cls(java().env,
                                   detail::invoke<void*>(java().env, detail::place::get_object_class, 0, get()));
    return detail::ask_text(java().env, cls.get(), java().home->roots().get_name).value_or(std::wstring());
  }
  /// Its getMessage(); nothing for null.
  [[nodiscard]] std::optional<std::wstring> message() const {
    if (misused()) return std::nullopt;
    return detail::ask_text(java().env, get(), java().home->roots().get_message);
  }
  /// Its cause; null without one.
  [[nodiscard]] throwable cause() const { return try_call<"getCause", throwable>().value_or(throwable()); }
  /// The exceptions that were suppressed on its way, as by try-with-resources.
  [[nodiscard]] std::vector<throwable> suppressed() const {
    return try_call<"getSuppressed", std::vector<throwable>>().value_or({});
  }
  /// Where it was made, innermost call first.
  [[nodiscard]] std::vector<stack_frame> stack_trace() const {
    using element = instance<"java/lang/StackTraceElement">;
    std::vector<stack_frame> frames;
    const auto elements = try_call<"getStackTrace", std::vector<element>>();
    if (!elements) return frames;
    frames.reserve(elements.value().size());
    for (const element& each : elements.value()) {
      frames.push_back({each.try_call<"getClassName", std::wstring>().value_or(L""),
                        each.try_call<"getMethodName", std::wstring>().value_or(L""),
                        each.try_call<"getFileName", std::wstring>().value_or(L""),
                        each.try_call<"getLineNumber", int32_t>().value_or(-1)});
    }
    return frames;
  }
  /// Its stack and those of its causes and suppressed exceptions, as Java prints them.
  [[nodiscard]] std::wstring stack_text() const {
    using string_writer = instance<"java/io/StringWriter">;
    using print_writer = instance<"java/io/PrintWriter">;
    const auto text = string_writer::try_create(*this);
    if (!text) return {};
    const auto writer = print_writer::try_create_as<void(instance<"java/io/Writer">)>(*this, text.value());
    if (!writer || !try_call<"printStackTrace">(writer.value())) return {};
    return text.value().template try_call<"toString", std::wstring>().value_or(L"");
  }
  /// The exception that the host's own code threw in a callback, where this is what became of it in Java; else null. A
  /// cause, as in an ExecutionException, may be one.
  [[nodiscard]] std::exception_ptr host_exception() const noexcept {
    if (misused()) return nullptr;
    detail::crossing* const crossed = detail::find_crossing(java(), get());
    if (crossed == nullptr) return nullptr;
    std::exception_ptr thrown = crossed->thrown();
    crossed->end();
    return thrown;
  }
  /// Raises it in Java on the calling thread, where it stays pending.
  void throw_in_java() const {
    if (!misused()) detail::invoke<int32_t>(java().env, detail::place::throw_, 0, get());
  }

 private:
  [[nodiscard]] bool misused() const noexcept {
    auto* const why = misuse();
    detail::drop(why);
    return why != nullptr;
  }
};

inline throwable failure::exception() const noexcept {
  if (!is_java()) return {};
  const auto java = detail::enter(record_->home);
  if (java.why != nullptr) {
    detail::drop(java.why);
    return {};
  }
  return throwable(detail::local(
      java.value, detail::invoke<void*>(java.value.env, detail::place::new_local_ref, 0, record_->exception)));
}

inline throwable java_error::exception() const noexcept { return reason().exception(); }
inline std::wstring java_error::class_name() const { return exception().class_name(); }
inline std::wstring java_error::java_message() const { return exception().message().value_or(std::wstring()); }
inline std::wstring java_error::stack_text() const { return exception().stack_text(); }
inline void java_error::rethrow_in_java() const { exception().throw_in_java(); }

template <class Class>
std::optional<Class> java_error::catch_as() const {
  auto caught = exception().try_as<Class>();
  return caught ? std::optional(std::move(caught).value()) : std::nullopt;
}

template <fixed_text Class>
auto java_error::catch_as() const {
  return catch_as<instance<Class, throwable>>();
}

}  // namespace qvjvm
