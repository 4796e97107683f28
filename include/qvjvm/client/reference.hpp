/// @file
/// Owners of Java references.
#pragma once

#include <utility>

#include "qvjvm/client/error.hpp"
#include "qvjvm/client/jni_table.hpp"

namespace qvjvm {

namespace detail {

/// The service object and the calling thread's environment: what every call needs.
struct context {
  IQV_JavaVM* vm = nullptr;
  qv_jnienv env = nullptr;

  friend bool operator==(const context&, const context&) = default;
};

/// The text of an IQvString, which is released.
inline std::wstring take_text(IQvString* text) {
  if (text == nullptr) return {};
  std::wstring copy = text->GetText();
  text->Release();
  return copy;
}

/// The service object's last error.
inline failure last_failure(IQV_JavaVM* vm, int32_t status, const wchar_t* fallback) {
  IQvString* text = nullptr;
  if (vm->GetErrorText(&text) < 0 || text == nullptr) return {status, fallback};
  return {status, take_text(text)};
}

/// The calling thread's context.
inline result<context> current(IQV_JavaVM* vm) {
  qv_jnienv env = nullptr;
  const int32_t status = vm->GetJNIEnv(&env);
  if (status < 0) return last_failure(vm, status, L"this thread cannot be joined to the Java VM");
  return context{vm, env};
}

/// A local reference, deleted at the end of its life. It belongs to the thread that made it.
class local {
 public:
  local() = default;
  local(const context& java, void* reference) noexcept : java_(java), reference_(reference) {}
  local(local&& other) noexcept : java_(other.java_), reference_(std::exchange(other.reference_, nullptr)) {}
  local& operator=(local&& other) noexcept {
    std::swap(java_, other.java_);
    std::swap(reference_, other.reference_);
    return *this;
  }
  ~local() {
    if (reference_ != nullptr) delete_local(java_.env, reference_);
  }
  local(const local&) = delete;
  local& operator=(const local&) = delete;

  [[nodiscard]] const context& java() const noexcept { return java_; }
  [[nodiscard]] void* get() const noexcept { return reference_; }

 private:
  context java_;
  void* reference_ = nullptr;
};

/// A Java string's text; empty for null.
inline std::wstring text_of(qv_jnienv env, void* string) {
  if (string == nullptr) return {};
  const auto length = invoke<int32_t>(env, place::get_string_length, 0, string);
  std::wstring text(static_cast<size_t>(length), L'\0');
  invoke<void>(env, place::get_string_region, 0, string, int32_t{0}, length, reinterpret_cast<uint16_t*>(text.data()));
  return text;
}

/// Takes the pending Java exception away and gives its text, whole: what its toString() says.
inline failure take_exception(const context& java) {
  failure reason{QV_E_FAIL, L"an unknown Java exception"};
  const local exception(java, invoke<void*>(java.env, place::exception_occurred, 0));
  invoke<void>(java.env, place::exception_clear, 0);
  if (exception.get() == nullptr) return {QV_E_FAIL, L"Java gave no result"};
  const local cls(java, invoke<void*>(java.env, place::get_object_class, 0, exception.get()));
  const auto to_string =
      invoke<method_id>(java.env, place::get_method_id, 0, cls.get(), "toString", "()Ljava/lang/String;");
  if (to_string != nullptr) {
    const java_value none{};
    const local text(java, invoke<void*>(java.env, place::call_method_a, 0, exception.get(), to_string, &none));
    if (!exception_pending(java.env) && text.get() != nullptr) reason.message = text_of(java.env, text.get());
  }
  invoke<void>(java.env, place::exception_clear, 0);  // that toString() may have raised
  return reason;
}

}  // namespace detail
}  // namespace qvjvm
