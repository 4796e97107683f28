// The frame of every typed call and array operation: it gets the environment, then frees the old record, and at the end
// a pending exception becomes the new record. The order is part of the interface. A JavaCall lives as long as one
// operation and owns nothing: the record is the service object's, the environment the thread's.
#pragma once

#include "base/compiler.h"
#include "service/java_vm_manager.h"

namespace qv {

template <class Reference>
Reference As(void* handle) noexcept {
  return static_cast<Reference>(static_cast<jobject>(handle));
}

class JavaCall {
 public:
  // Deliberate: a pending exception is cleared only when an earlier record existed.
  explicit JavaCall(CQV_JNIVMManager& vm) noexcept : m_vm(vm), m_env(vm.Env()) {
    if (vm.ReplaceErrorRecord(nullptr)) [[unlikely]]
      vm.ExceptionClear(m_env);
  }
  JavaCall(const JavaCall&) = delete;
  JavaCall& operator=(const JavaCall&) = delete;

  explicit operator bool() const noexcept { return m_env != nullptr; }
  [[nodiscard]] JNIEnv* Env() const noexcept { return m_env; }

  // The call cannot even be attempted.
  [[nodiscard]] int32_t Reject() noexcept { return RejectCall(m_vm); }
  // S_OK, or E_FAIL with the pending exception's text in the record.
  [[nodiscard]] QV_ALWAYS_INLINE int32_t Finish() noexcept {
    if (m_vm.CaptureException(m_vm.RecordSlot(), m_env) != 1) [[likely]]
      return S_OK;
    m_vm.SetErrorCode(QV_CODE_CALL_FAILED);
    return E_FAIL;
  }

 private:
  // Not inlined and without a JavaCall, whose members so stay in registers.
  QV_NOINLINE static int32_t RejectCall(CQV_JNIVMManager& vm) noexcept {
    vm.ReplaceErrorRecord(NewErrorRecord(texts::kInternalException, QV_CODE_CALL_FAILED));
    return E_FAIL;
  }

  CQV_JNIVMManager& m_vm;
  JNIEnv* m_env;
};

}  // namespace qv
