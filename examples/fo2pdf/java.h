// Java calls for a host program: every call is checked, and what fails is thrown as a JavaError with Java's own text.
// Ref owns one local reference and gives it back; class Java borrows the service object and must not outlive it.
// Use on one thread only, like the local references themselves.
#pragma once

#include <jni.h>

#include <string>
#include <utility>

#include "qvjvm/qvjvm.h"

namespace fo2pdf {

struct JavaError {
  std::wstring text;
};

/// One local reference; null is allowed.
class Ref {
 public:
  Ref(JNIEnv* env, jobject object) noexcept : m_env(env), m_object(object) {}
  Ref(Ref&& other) noexcept : m_env(other.m_env), m_object(std::exchange(other.m_object, nullptr)) {}
  Ref(const Ref&) = delete;
  Ref& operator=(const Ref&) = delete;
  Ref& operator=(Ref&&) = delete;
  ~Ref() {
    if (m_object) m_env->DeleteLocalRef(m_object);
  }

  jobject Get() const noexcept { return m_object; }
  jclass GetClass() const noexcept { return static_cast<jclass>(m_object); }
  jstring GetString() const noexcept { return static_cast<jstring>(m_object); }

 private:
  JNIEnv* m_env;
  jobject m_object;
};

class Java {
 public:
  /// @throws JavaError when this thread cannot be attached to the JVM.
  explicit Java(IQV_JavaVM* vm);

  /// A class by its JNI name, "java/lang/String".
  Ref FindClass(const char* name);
  Ref NewString(const std::wstring& text);
  /// The text of a java.lang.String; null gives an empty text.
  std::wstring GetText(const Ref& string);

  /// A new object; `signature` is that of the constructor's arguments, "(Ljava/lang/String;)".
  template <class... Arguments>
  Ref NewObject(const Ref& cls, const char* signature, Arguments... arguments) {
    const jmethodID method = Constructor(cls, signature);
    return Checked(m_env->NewObject(cls.GetClass(), method, arguments...));
  }

  template <class... Arguments>
  void CallVoidMethod(const Ref& cls, const Ref& object, const char* name, const char* signature,
                      Arguments... arguments) {
    const jmethodID method = Method(cls, name, signature);
    m_env->CallVoidMethod(object.Get(), method, arguments...);
    ThrowPending();
  }

  template <class... Arguments>
  Ref CallObjectMethod(const Ref& cls, const Ref& object, const char* name, const char* signature,
                       Arguments... arguments) {
    const jmethodID method = Method(cls, name, signature);
    return Checked(m_env->CallObjectMethod(object.Get(), method, arguments...));
  }

  template <class... Arguments>
  void CallStaticVoidMethod(const Ref& cls, const char* name, const char* signature, Arguments... arguments) {
    const jmethodID method = StaticMethod(cls, name, signature);
    m_env->CallStaticVoidMethod(cls.GetClass(), method, arguments...);
    ThrowPending();
  }

  template <class... Arguments>
  Ref CallStaticObjectMethod(const Ref& cls, const char* name, const char* signature, Arguments... arguments) {
    const jmethodID method = StaticMethod(cls, name, signature);
    return Checked(m_env->CallStaticObjectMethod(cls.GetClass(), method, arguments...));
  }

 private:
  jmethodID Constructor(const Ref& cls, const char* signature);
  jmethodID Method(const Ref& cls, const char* name, const char* signature);
  jmethodID StaticMethod(const Ref& cls, const char* name, const char* signature);
  Ref Checked(jobject object);
  void ThrowPending();

  JNIEnv* m_env;
};

}  // namespace fo2pdf
