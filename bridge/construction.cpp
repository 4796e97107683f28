// New objects. Deliberate: neither operation looks for a pending exception; a constructor that throws gives S_OK with a
// null object and leaves the exception for the next call.
#include <cstdarg>

#include "bridge/java_call.h"

using qv::As;

namespace {

constexpr size_t kSignatureCharacters = 511;  // of the argument part; "V" and the null come behind it

}  // namespace

int32_t CQV_JNIVMManager::NewObject(qv_jobject* out, qv_jclass cls, const char* signature, ...) noexcept {
  if (out == nullptr) return E_FAIL;
  *out = nullptr;
  if (cls == nullptr) return E_FAIL;
  JNIEnv* const env = Env();
  if (env == nullptr || signature == nullptr) return E_FAIL;
  char constructor[kSignatureCharacters + 2];
  size_t length = 0;
  while (length < kSignatureCharacters && signature[length] != '\0') {
    constructor[length] = signature[length];
    ++length;
  }
  constructor[length] = 'V';
  constructor[length + 1] = '\0';
  const jmethodID id = env->GetMethodID(As<jclass>(cls), "<init>", constructor);
  if (id == nullptr) return E_FAIL;
  va_list arguments;
  va_start(arguments, signature);
  *out = env->NewObjectV(As<jclass>(cls), id, arguments);
  va_end(arguments);
  return S_OK;
}

int32_t CQV_JNIVMManager::NewDefaultObject(qv_jobject* out, qv_jclass cls) noexcept {
  if (out == nullptr) return E_FAIL;
  *out = nullptr;
  if (cls == nullptr) return E_FAIL;
  JNIEnv* const env = Env();
  if (env == nullptr) return E_FAIL;
  const jmethodID id = env->GetMethodID(As<jclass>(cls), "<init>", "()V");
  if (id == nullptr) return E_FAIL;
  *out = env->functions->NewObject(env, As<jclass>(cls), id);
  return S_OK;
}
