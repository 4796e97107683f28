// The parts of class Java that do not depend on the arguments of a call: look-up, texts, and exceptions.

#include "java.h"

namespace fo2pdf {
namespace {

/// Why the service could not do something, in its own words.
std::wstring ServiceError(IQV_JavaVM* vm, const wchar_t* otherwise) {
  IQvString* string = nullptr;
  if (vm->GetErrorText(&string) < 0 || !string) return otherwise;
  std::wstring text = string->GetText();
  string->Release();
  return text;
}

}  // namespace

Java::Java(IQV_JavaVM* vm) : m_env(static_cast<JNIEnv*>(QV_AcquireThreadEnv(vm))) {
  if (!m_env) throw JavaError{ServiceError(vm, L"this thread could not be attached to the JVM")};
}

Ref Java::FindClass(const char* name) { return Checked(m_env->FindClass(name)); }

Ref Java::NewString(const std::wstring& text) {
  static_assert(sizeof(wchar_t) == sizeof(jchar), "Windows texts and Java texts are both UTF-16");
  return Checked(m_env->NewString(reinterpret_cast<const jchar*>(text.data()), static_cast<jsize>(text.size())));
}

std::wstring Java::GetText(const Ref& string) {
  if (!string.Get()) return {};
  std::wstring text(static_cast<size_t>(m_env->GetStringLength(string.GetString())), L'\0');
  m_env->GetStringRegion(string.GetString(), 0, static_cast<jsize>(text.size()), reinterpret_cast<jchar*>(text.data()));
  ThrowPending();
  return text;
}

jmethodID Java::Constructor(const Ref& cls, const char* signature) {
  return Method(cls, "<init>", (std::string(signature) + "V").c_str());
}

jmethodID Java::Method(const Ref& cls, const char* name, const char* signature) {
  const jmethodID method = m_env->GetMethodID(cls.GetClass(), name, signature);
  ThrowPending();
  return method;
}

jmethodID Java::StaticMethod(const Ref& cls, const char* name, const char* signature) {
  const jmethodID method = m_env->GetStaticMethodID(cls.GetClass(), name, signature);
  ThrowPending();
  return method;
}

Ref Java::Checked(jobject object) {
  Ref owner(m_env, object);
  ThrowPending();
  return owner;
}

void Java::ThrowPending() {
  const Ref exception(m_env, m_env->ExceptionOccurred());
  if (!exception.Get()) return;
  m_env->ExceptionClear();
  const Ref cls(m_env, m_env->GetObjectClass(exception.Get()));
  const jmethodID toString = m_env->GetMethodID(cls.GetClass(), "toString", "()Ljava/lang/String;");
  const Ref text(m_env, toString ? m_env->CallObjectMethod(exception.Get(), toString) : nullptr);
  if (m_env->ExceptionCheck()) m_env->ExceptionClear();
  throw JavaError{text.Get() ? GetText(text) : L"a Java exception without a text"};
}

}  // namespace fo2pdf
