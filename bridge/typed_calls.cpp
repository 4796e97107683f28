// Java methods by name and signature, one operation per result type, and static fields. One algorithm; a row says which
// JNI functions it uses and how wide the host's result is. A slot is its row and, where it has them, its arguments.
#include <cstdarg>
#include <type_traits>

#include "bridge/java_call.h"

namespace {

using qv::As;

// Looked up with GetMethodID, called on the object.
template <class HostResult, auto Function>
struct InstanceCall {
  using Result = HostResult;
  static jmethodID Find(JNIEnv* env, jclass cls, const char* name, const char* signature) {
    return env->GetMethodID(cls, name, signature);
  }
  static auto Call(JNIEnv* env, void* target, jmethodID id, va_list arguments) {
    return (env->*Function)(As<jobject>(target), id, arguments);
  }
};

// Looked up with GetStaticMethodID, called on the class.
template <class HostResult, auto Function>
struct StaticCall {
  using Result = HostResult;
  static jmethodID Find(JNIEnv* env, jclass cls, const char* name, const char* signature) {
    return env->GetStaticMethodID(cls, name, signature);
  }
  static auto Call(JNIEnv* env, void* target, jmethodID id, va_list arguments) {
    return (env->*Function)(As<jclass>(target), id, arguments);
  }
};

template <class HostResult, auto Function>
struct StaticField {
  using Result = HostResult;
  static jfieldID Find(JNIEnv* env, jclass cls, const char* name, const char* signature) {
    return env->GetStaticFieldID(cls, name, signature);
  }
  static auto Call(JNIEnv* env, void* target, jfieldID id, va_list) { return (env->*Function)(As<jclass>(target), id); }
};

using IntCall = InstanceCall<int32_t, &JNIEnv::CallIntMethodV>;
using ShortCall = InstanceCall<int16_t, &JNIEnv::CallShortMethodV>;
using FloatCall = InstanceCall<float, &JNIEnv::CallFloatMethodV>;
using DoubleCall = InstanceCall<double, &JNIEnv::CallDoubleMethodV>;
using ByteCall = InstanceCall<int8_t, &JNIEnv::CallByteMethodV>;
using VoidCall = InstanceCall<void, &JNIEnv::CallVoidMethodV>;
using ObjectCall = InstanceCall<qv_jobject, &JNIEnv::CallObjectMethodV>;
using BooleanCall = InstanceCall<int32_t, &JNIEnv::CallBooleanMethodV>;  // 8 bits, widened with zeros
using LongCall = InstanceCall<int64_t, &JNIEnv::CallLongMethodV>;
using StaticBooleanCall = StaticCall<int32_t, &JNIEnv::CallStaticBooleanMethodV>;
using StaticObjectCall = StaticCall<qv_jobject, &JNIEnv::CallStaticObjectMethodV>;
// Deliberate: the object-returning static call with its result dropped, not JNI's void one.
using StaticVoidCall = StaticCall<void, &JNIEnv::CallStaticObjectMethodV>;
using StaticIntField = StaticField<int32_t, &JNIEnv::GetStaticIntField>;
using StaticShortField = StaticField<int16_t, &JNIEnv::GetStaticShortField>;

// `target` is the object, or the class for what is static. Deliberate: the signature is not checked, and the result is
// stored before the exception is looked at. Without a method the result stays as it was.
template <class Row>
int32_t Run(CQV_JNIVMManager& vm, typename Row::Result* result, qv_jclass cls, void* target, const char* name,
            const char* signature, va_list arguments) noexcept {
  constexpr bool kHasResult = !std::is_void_v<typename Row::Result>;
  qv::JavaCall call(vm);
  if (!call || cls == nullptr || target == nullptr || name == nullptr) return call.Reject();
  if (kHasResult && result == nullptr) return call.Reject();
  if (const auto id = Row::Find(call.Env(), As<jclass>(cls), name, signature)) {
    if constexpr (kHasResult) {
      *result = Row::Call(call.Env(), target, id, arguments);
    } else {
      Row::Call(call.Env(), target, id, arguments);
    }
  }
  return call.Finish();
}

}  // namespace

// The body of a variadic slot: its own arguments, begun and ended in the slot's frame as the language wants it.
#define QV_RUN(Row, result, cls, target)                                                   \
  va_list arguments;                                                                       \
  va_start(arguments, signature);                                                          \
  const int32_t status = Run<Row>(*this, result, cls, target, name, signature, arguments); \
  va_end(arguments);                                                                       \
  return status

int32_t CQV_JNIVMManager::CallIntMethod(int32_t* result, qv_jclass cls, qv_jobject object, const char* name,
                                        const char* signature, ...) noexcept {
  QV_RUN(IntCall, result, cls, object);
}

int32_t CQV_JNIVMManager::CallIntMethod2(int32_t* result, qv_jclass cls, qv_jobject object, const char* name,
                                         const char* signature, ...) noexcept {
  QV_RUN(IntCall, result, cls, object);
}

int32_t CQV_JNIVMManager::CallShortMethod(int16_t* result, qv_jclass cls, qv_jobject object, const char* name,
                                          const char* signature, ...) noexcept {
  QV_RUN(ShortCall, result, cls, object);
}

int32_t CQV_JNIVMManager::CallShortMethod2(int16_t* result, qv_jclass cls, qv_jobject object, const char* name,
                                           const char* signature, ...) noexcept {
  QV_RUN(ShortCall, result, cls, object);
}

int32_t CQV_JNIVMManager::CallFloatMethod(float* result, qv_jclass cls, qv_jobject object, const char* name,
                                          const char* signature, ...) noexcept {
  QV_RUN(FloatCall, result, cls, object);
}

int32_t CQV_JNIVMManager::CallFloatMethod2(float* result, qv_jclass cls, qv_jobject object, const char* name,
                                           const char* signature, ...) noexcept {
  QV_RUN(FloatCall, result, cls, object);
}

int32_t CQV_JNIVMManager::CallDoubleMethod(double* result, qv_jclass cls, qv_jobject object, const char* name,
                                           const char* signature, ...) noexcept {
  QV_RUN(DoubleCall, result, cls, object);
}

int32_t CQV_JNIVMManager::CallDoubleMethod2(double* result, qv_jclass cls, qv_jobject object, const char* name,
                                            const char* signature, ...) noexcept {
  QV_RUN(DoubleCall, result, cls, object);
}

int32_t CQV_JNIVMManager::CallByteMethod(int8_t* result, qv_jclass cls, qv_jobject object, const char* name,
                                         const char* signature, ...) noexcept {
  QV_RUN(ByteCall, result, cls, object);
}

int32_t CQV_JNIVMManager::CallByteMethod2(int8_t* result, qv_jclass cls, qv_jobject object, const char* name,
                                          const char* signature, ...) noexcept {
  QV_RUN(ByteCall, result, cls, object);
}

int32_t CQV_JNIVMManager::CallVoidMethod(qv_jclass cls, qv_jobject object, const char* name, const char* signature,
                                         ...) noexcept {
  QV_RUN(VoidCall, nullptr, cls, object);
}

int32_t CQV_JNIVMManager::CallVoidMethod2(qv_jclass cls, qv_jobject object, const char* name, const char* signature,
                                          ...) noexcept {
  QV_RUN(VoidCall, nullptr, cls, object);
}

int32_t CQV_JNIVMManager::CallObjectMethod(qv_jobject* result, qv_jclass cls, qv_jobject object, const char* name,
                                           const char* signature, ...) noexcept {
  QV_RUN(ObjectCall, result, cls, object);
}

int32_t CQV_JNIVMManager::CallObjectMethod2(qv_jobject* result, qv_jclass cls, qv_jobject object, const char* name,
                                            const char* signature, ...) noexcept {
  QV_RUN(ObjectCall, result, cls, object);
}

int32_t CQV_JNIVMManager::CallBooleanMethod(int32_t* result, qv_jclass cls, qv_jobject object, const char* name,
                                            const char* signature, ...) noexcept {
  QV_RUN(BooleanCall, result, cls, object);
}

int32_t CQV_JNIVMManager::CallBooleanMethod2(int32_t* result, qv_jclass cls, qv_jobject object, const char* name,
                                             const char* signature, ...) noexcept {
  QV_RUN(BooleanCall, result, cls, object);
}

int32_t CQV_JNIVMManager::CallLongMethod(int64_t* result, qv_jclass cls, qv_jobject object, const char* name,
                                         const char* signature, ...) noexcept {
  QV_RUN(LongCall, result, cls, object);
}

int32_t CQV_JNIVMManager::CallLongMethod2(int64_t* result, qv_jclass cls, qv_jobject object, const char* name,
                                          const char* signature, ...) noexcept {
  QV_RUN(LongCall, result, cls, object);
}

int32_t CQV_JNIVMManager::CallStaticBooleanMethod(int32_t* result, qv_jclass cls, const char* name,
                                                  const char* signature, ...) noexcept {
  QV_RUN(StaticBooleanCall, result, cls, cls);
}

int32_t CQV_JNIVMManager::CallStaticObjectMethod(qv_jobject* result, qv_jclass cls, const char* name,
                                                 const char* signature, ...) noexcept {
  QV_RUN(StaticObjectCall, result, cls, cls);
}

int32_t CQV_JNIVMManager::CallStaticVoidMethod(qv_jclass cls, const char* name, const char* signature, ...) noexcept {
  QV_RUN(StaticVoidCall, nullptr, cls, cls);
}

#undef QV_RUN

int32_t CQV_JNIVMManager::GetStaticIntField(int32_t* result, qv_jclass cls, const char* name) noexcept {
  return Run<StaticIntField>(*this, result, cls, cls, name, "I", nullptr);
}

int32_t CQV_JNIVMManager::GetStaticShortField(int16_t* result, qv_jclass cls, const char* name) noexcept {
  return Run<StaticShortField>(*this, result, cls, cls, name, "S", nullptr);
}
