// String and byte arrays.
#include <algorithm>

#include "bridge/java_call.h"

using qv::As;

int32_t CQV_JNIVMManager::NewStringArray(qv_jarray* out, int32_t length) noexcept {
  if (out == nullptr) return E_INVALIDARG;
  *out = nullptr;
  qv::JavaCall call(*this);
  if (!call) return call.Reject();
  qv_jclass stringClass = nullptr;
  qv_jstring empty = nullptr;
  if (FindClass(&stringClass, "java/lang/String") < 0) return E_FAIL;
  if (NewString(&empty, L"") < 0) return E_FAIL;
  // Deliberate: no look at an exception here, and the class reference stays.
  *out = call.Env()->NewObjectArray(length, As<jclass>(stringClass), As<jobject>(empty));
  DeleteLocalRef(empty);
  return S_OK;
}

int32_t CQV_JNIVMManager::SetObjectArrayElement(qv_jarray array, int32_t index, qv_jobject value) noexcept {
  qv::JavaCall call(*this);
  if (!call || array == nullptr) return call.Reject();
  call.Env()->SetObjectArrayElement(As<jobjectArray>(array), index, As<jobject>(value));
  return call.Finish();
}

int32_t CQV_JNIVMManager::NewByteArray(qv_jarray* out, int32_t length) noexcept {
  if (out == nullptr) return E_INVALIDARG;
  *out = nullptr;
  qv::JavaCall call(*this);
  if (!call) return call.Reject();
  *out = call.Env()->NewByteArray(length);
  return call.Finish();
}

namespace {

// The elements of one array while `copy(elements)` runs; `releaseMode` says whether they are written back.
template <class Copy>
int32_t WithElements(CQV_JNIVMManager& vm, qv_jarray array, bool argumentsOk, jint releaseMode, Copy&& copy) noexcept {
  qv::JavaCall call(vm);
  if (!call || !argumentsOk) return call.Reject();
  qv_jobject reference = nullptr;
  if (vm.CastReference(&reference, array) < 0) return E_FAIL;
  const auto bytes = As<jbyteArray>(reference);
  jboolean isCopy = JNI_FALSE;
  jbyte* const elements = call.Env()->GetByteArrayElements(bytes, &isCopy);
  const int32_t status = call.Finish();
  if (elements == nullptr) return status < 0 ? status : call.Reject();
  if (status < 0) {  // an exception from before this call: nothing is copied, nothing stays pinned
    call.Env()->ReleaseByteArrayElements(bytes, elements, JNI_ABORT);
    return status;
  }
  copy(elements);
  call.Env()->ReleaseByteArrayElements(bytes, elements, releaseMode);
  return call.Finish();
}

}  // namespace

// Deliberate, for both: the count is not checked against the array, and copying starts at element 0 always.
int32_t CQV_JNIVMManager::GetByteArrayData(qv_jarray array, int32_t, int32_t count, void* bytes) noexcept {
  const bool argumentsOk = array != nullptr && (bytes != nullptr || count <= 0);
  return WithElements(*this, array, argumentsOk, JNI_ABORT, [&](const jbyte* elements) {
    std::copy_n(elements, std::max(count, 0), static_cast<jbyte*>(bytes));
  });
}

int32_t CQV_JNIVMManager::SetByteArrayData(qv_jarray array, int32_t, const void* bytes, int32_t count) noexcept {
  const bool argumentsOk = array != nullptr && (bytes != nullptr || count <= 0);
  return WithElements(*this, array, argumentsOk, 0, [&](jbyte* elements) {
    std::copy_n(static_cast<const jbyte*>(bytes), std::max(count, 0), elements);
  });
}
