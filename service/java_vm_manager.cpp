// Identity, lifetime and error record of the service object, and its way to the calling thread's environment.
#include "service/java_vm_manager.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "base/compiler.h"
#include "base/lock.h"
#include "service/thread_join.h"
#include "service/thread_registry.h"

namespace {

constexpr GUID kIidUnknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
constexpr GUID kIidJavaVM = QV_IID_JAVAVM_INIT;

bool SameId(const GUID& left, const GUID& right) noexcept { return std::memcmp(&left, &right, sizeof(GUID)) == 0; }

}  // namespace

int32_t CQV_JavaVMManager::QueryInterface(const GUID& riid, void** ppv) noexcept {
  if (ppv == nullptr) return E_INVALIDARG;
  if (!SameId(riid, kIidUnknown) && !SameId(riid, kIidJavaVM)) return E_NOINTERFACE;  // deliberate: *ppv untouched
  *ppv = static_cast<IQV_JavaVM*>(this);
  AddRef();
  return S_OK;
}

uint32_t CQV_JavaVMManager::AddRef() noexcept {
  return static_cast<uint32_t>(InterlockedIncrement(reinterpret_cast<LONG*>(&m_nRefCount)));
}

uint32_t CQV_JavaVMManager::Release() noexcept {
  const LONG count = InterlockedDecrement(reinterpret_cast<LONG*>(&m_nRefCount));
  if (count == 0) Destroy(1);
  return static_cast<uint32_t>(count);
}

int32_t CQV_JavaVMManager::AcquireService(IQV_JavaVM** ppOut) noexcept {
  if (ppOut == nullptr) return E_INVALIDARG;
  ++m_nServiceHolds;
  *ppOut = this;
  return S_OK;
}

int32_t CQV_JavaVMManager::ReleaseService(IQV_JavaVM** ppInOut) noexcept {
  if (ppInOut == nullptr) return E_INVALIDARG;
  // Deliberate: independent of the reference count, so the last hold destroys the object whatever that says.
  if (--m_nServiceHolds < 1) Destroy(1);
  *ppInOut = nullptr;
  return S_OK;
}

int32_t CQV_JavaVMManager::GetErrorText(IQvString** ppText) noexcept {
  if (ppText == nullptr) return E_INVALIDARG;
  *ppText = nullptr;
  wchar_t text[qv::kErrorTextUnits];
  {
    const qv::SlimGuard guard(m_recordLock);
    const ErrorRecord* const record = CurrentRecord();
    if (record == nullptr) return E_FAIL;
    std::copy(std::begin(record->text), std::end(record->text), text);
  }
  return QvshrCreateString(text, ppText);
}

int32_t CQV_JavaVMManager::GetErrorCode(int32_t* pCode) noexcept {
  if (pCode == nullptr) return E_INVALIDARG;
  *pCode = 0;
  const qv::SlimGuard guard(m_recordLock);
  const ErrorRecord* const record = CurrentRecord();
  if (record == nullptr) return E_FAIL;
  *pCode = record->code;
  return S_OK;
}

QV_NOINLINE bool CQV_JavaVMManager::ExchangeErrorRecord(ErrorRecord* record) noexcept {
  ErrorRecord* old = nullptr;
  {
    const qv::SlimGuard guard(m_recordLock);
    old = std::atomic_ref(m_pErrorRecord).exchange(record, std::memory_order_acq_rel);
  }
  QvshrFree(old);
  return old != nullptr;
}

void CQV_JavaVMManager::SetErrorCode(int32_t code) noexcept {
  const qv::SlimGuard guard(m_recordLock);
  if (ErrorRecord* const record = CurrentRecord()) record->code = code;
}

void* CQV_JavaVMManager::Destroy(uint32_t deleteFlag) noexcept {
  ReplaceErrorRecord(nullptr);
  if ((deleteFlag & 1U) != 0) QvshrFree(this);
  return this;
}

void* CQV_JNIVMManager::Destroy(uint32_t deleteFlag) noexcept {
  if (jobject const loader = m_jClassLoader.exchange(nullptr)) {
    static_cast<IQV_JavaVM*>(this)->DeleteGlobalRef(loader);
  }
  return CQV_JavaVMManager::Destroy(deleteFlag);
}

qv_jnienv CQV_JNIVMManager::AcquireThreadEnv() noexcept {
  ThreadRegistry* const registry = g_pThreadRegistry;
  if (registry == nullptr) [[unlikely]]
    return nullptr;
  if (JNIEnv* const env = registry->CurrentThreadEnv()) [[likely]]
    return env;
  return JoinThread(*registry);
}

// A thread's first operation. Apart, so that all later ones have little to do.
QV_NOINLINE JNIEnv* CQV_JNIVMManager::JoinThread(ThreadRegistry& registry) noexcept {
  ReplaceErrorRecord(nullptr);
  qv::JoinedThread joined = qv::JoinCurrentThread(registry);
  ReplaceErrorRecord(joined.record.release());
  return joined.env;
}
