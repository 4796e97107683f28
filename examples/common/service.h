// The service as the examples hold it: each operation checked, each reference given back. What fails is thrown as a
// Failure with the error record in it. Everything here belongs to one thread, like the local references themselves, and
// nothing may outlive its Service.
//
//   const Service service(OwnFolder());
//   const Object list = service.New("java/util/ArrayList", "(I)", capacity);
//   list.CallBoolean("add", "(Ljava/lang/Object;)Z", service.NewString(L"first"));
//
// Arguments follow the signature as in any variadic C call: int32_t for int, int64_t for long, double for float and
// double, int for what is smaller; a Ref or an Object for a reference.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "common/program.h"
#include "qvjvm/qvjvm.h"

namespace example {

/// Owns one local reference; may be null.
class Ref {
 public:
  explicit Ref(IQV_JavaVM* vm) noexcept : m_vm(vm) {}
  Ref(Ref&& other) noexcept : m_vm(other.m_vm), m_reference(std::exchange(other.m_reference, nullptr)) {}
  Ref& operator=(Ref&&) = delete;
  ~Ref() {
    if (m_reference != nullptr) m_vm->DeleteLocalRef(m_reference);
  }

  /// For an operation to fill.
  qv_jobject* Out() noexcept { return &m_reference; }
  qv_jobject Get() const noexcept { return m_reference; }

 private:
  IQV_JavaVM* m_vm;
  qv_jobject m_reference = nullptr;
};

class Object;

class Service {
 public:
  /// Loads qvjvm.dll from the folder and starts the JVM, or joins the one of this process. The library stays loaded
  /// until the process ends, as the JVM does.
  explicit Service(const std::wstring& folder);

  IQV_JavaVM* operator->() const noexcept { return m_vm.get(); }

  /// Nothing for a success; a Failure with the object's error record for a negative status.
  void Check(int32_t status, const char* operation) const;

  /// A null reference, for an operation to fill.
  Ref Empty() const noexcept { return Ref(m_vm.get()); }
  /// A class by its JNI name, "java/lang/String".
  Ref FindClass(const char* name) const;
  Ref NewString(const std::wstring& text) const;
  /// The text of a java.lang.String; null gives an empty text.
  std::wstring TextOf(qv_jstring string) const;
  std::wstring TextOf(const Ref& string) const { return TextOf(string.Get()); }

  /// A new object; `signature` is that of the constructor's arguments, "(Ljava/lang/String;)".
  template <class... Arguments>
  Object New(const char* cls, const char* signature, const Arguments&... arguments) const;
  template <class... Arguments>
  void CallStaticVoid(const char* cls, const char* name, const char* signature, const Arguments&... arguments) const;
  template <class... Arguments>
  Ref CallStaticObject(const char* cls, const char* name, const char* signature, const Arguments&... arguments) const;

 private:
  struct Releaser {
    void operator()(IQV_JavaVM* vm) const noexcept { vm->Release(); }
  };

  [[noreturn]] void FailWithPendingException(const char* operation) const;

  std::unique_ptr<IQV_JavaVM, Releaser> m_vm;
};

/// A Java object and the class or interface in which its methods are looked up.
class Object {
 public:
  Object(const Service& service, Ref cls, Ref object)
      : m_service(service), m_class(std::move(cls)), m_object(std::move(object)) {}

  qv_jobject Get() const noexcept { return m_object.Get(); }

  template <class... Arguments>
  void CallVoid(const char* name, const char* signature, const Arguments&... arguments) const {
    m_service.Check(m_service->CallVoidMethod(m_class.Get(), m_object.Get(), name, signature, Variadic(arguments)...),
                    name);
  }
  template <class... Arguments>
  Ref CallObject(const char* name, const char* signature, const Arguments&... arguments) const {
    Ref result = m_service.Empty();
    Call(&IQV_JavaVM::CallObjectMethod, result.Out(), name, signature, arguments...);
    return result;
  }
  template <class... Arguments>
  bool CallBoolean(const char* name, const char* signature, const Arguments&... arguments) const {
    return CallNumber(&IQV_JavaVM::CallBooleanMethod, name, signature, arguments...) != 0;
  }
  template <class... Arguments>
  int8_t CallByte(const char* name, const char* signature, const Arguments&... arguments) const {
    return CallNumber(&IQV_JavaVM::CallByteMethod, name, signature, arguments...);
  }
  template <class... Arguments>
  int16_t CallShort(const char* name, const char* signature, const Arguments&... arguments) const {
    return CallNumber(&IQV_JavaVM::CallShortMethod, name, signature, arguments...);
  }
  template <class... Arguments>
  int32_t CallInt(const char* name, const char* signature, const Arguments&... arguments) const {
    return CallNumber(&IQV_JavaVM::CallIntMethod, name, signature, arguments...);
  }
  template <class... Arguments>
  int64_t CallLong(const char* name, const char* signature, const Arguments&... arguments) const {
    return CallNumber(&IQV_JavaVM::CallLongMethod, name, signature, arguments...);
  }
  template <class... Arguments>
  float CallFloat(const char* name, const char* signature, const Arguments&... arguments) const {
    return CallNumber(&IQV_JavaVM::CallFloatMethod, name, signature, arguments...);
  }
  template <class... Arguments>
  double CallDouble(const char* name, const char* signature, const Arguments&... arguments) const {
    return CallNumber(&IQV_JavaVM::CallDoubleMethod, name, signature, arguments...);
  }

  /// What goes into the variable part of a call: the reference itself, or the value.
  static qv_jobject Variadic(const Ref& reference) noexcept { return reference.Get(); }
  static qv_jobject Variadic(const Object& object) noexcept { return object.Get(); }
  template <class Value>
  static Value Variadic(const Value& value) noexcept {
    return value;
  }

 private:
  template <class Result>
  using Operation = int32_t (IQV_JavaVM::*)(Result*, qv_jclass, qv_jobject, const char*, const char*, ...) noexcept;

  template <class Result, class... Arguments>
  void Call(Operation<Result> operation, Result* result, const char* name, const char* signature,
            const Arguments&... arguments) const {
    IQV_JavaVM& vm = *m_service.operator->();
    m_service.Check((vm.*operation)(result, m_class.Get(), m_object.Get(), name, signature, Variadic(arguments)...),
                    name);
  }
  template <class Result, class... Arguments>
  Result CallNumber(Operation<Result> operation, const char* name, const char* signature,
                    const Arguments&... arguments) const {
    Result result{};
    Call(operation, &result, name, signature, arguments...);
    return result;
  }

  const Service& m_service;
  Ref m_class;
  Ref m_object;
};

/// The text of a string object that an operation handed out; gives the object back.
std::wstring TakeText(IQvString* string);

// NewObject reports a constructor that throws as a success with null, so both are looked at.
template <class... Arguments>
Object Service::New(const char* cls, const char* signature, const Arguments&... arguments) const {
  Ref found = FindClass(cls);
  Ref object = Empty();
  const int32_t status = m_vm->NewObject(object.Out(), found.Get(), signature, Object::Variadic(arguments)...);
  if (status < 0 || object.Get() == nullptr) FailWithPendingException(cls);
  return Object(*this, std::move(found), std::move(object));
}

template <class... Arguments>
void Service::CallStaticVoid(const char* cls, const char* name, const char* signature,
                             const Arguments&... arguments) const {
  const Ref found = FindClass(cls);
  Check(m_vm->CallStaticVoidMethod(found.Get(), name, signature, Object::Variadic(arguments)...), name);
}

template <class... Arguments>
Ref Service::CallStaticObject(const char* cls, const char* name, const char* signature,
                              const Arguments&... arguments) const {
  const Ref found = FindClass(cls);
  Ref result = Empty();
  Check(m_vm->CallStaticObjectMethod(result.Out(), found.Get(), name, signature, Object::Variadic(arguments)...), name);
  return result;
}

}  // namespace example
