// References: handed through, deleted, made global.
#include "bridge/java_call.h"

using qv::As;

int32_t CQV_JNIVMManager::CastReference(qv_jobject* out, qv_jobject reference) noexcept {
  if (out == nullptr) return E_FAIL;
  *out = reference;
  return S_OK;
}

int32_t CQV_JNIVMManager::DeleteLocalRef(qv_jobject reference) noexcept {
  JNIEnv* const env = Env();
  if (env == nullptr) return E_FAIL;
  if (reference != nullptr) env->DeleteLocalRef(As<jobject>(reference));
  return S_OK;
}

// The same operation under three slots: interfaces of the past had one per kind of reference.
int32_t CQV_JNIVMManager::DeleteLocalRef2(qv_jobject reference) noexcept {
  return CQV_JNIVMManager::DeleteLocalRef(reference);
}
int32_t CQV_JNIVMManager::DeleteLocalRef3(qv_jobject reference) noexcept {
  return CQV_JNIVMManager::DeleteLocalRef(reference);
}

int32_t CQV_JNIVMManager::DeleteGlobalRef(qv_jobject reference) noexcept {
  JNIEnv* const env = Env();
  if (env == nullptr) return E_FAIL;
  if (reference != nullptr) env->DeleteGlobalRef(As<jobject>(reference));
  return S_OK;
}

int32_t CQV_JNIVMManager::NewGlobalRef(qv_jobject* out, qv_jobject reference) noexcept {
  if (out == nullptr) return E_FAIL;
  *out = nullptr;
  JNIEnv* const env = Env();
  if (env == nullptr || reference == nullptr) return E_FAIL;
  *out = env->NewGlobalRef(As<jobject>(reference));
  return *out != nullptr ? S_OK : E_FAIL;
}
