// The service object: CQV_JavaVMManager has identity, lifetime and the error record, CQV_JNIVMManager everything Java.
// QV_CreateJavaVM alone makes one; Release or ReleaseService destroys it. Reference counting is interlocked; the hold
// count is not. The object owns its error record and its class loader, and every access to the two pointers is atomic.
// A record is exchanged and read under m_recordLock, which is never held across JNI or host calls that could call back:
// threads that share an object against the rule lose texts, never memory.
#pragma once

#include <windows.h>

#include <jni.h>

#include <atomic>

#include "base/lock.h"
#include "host/host_memory.h"
#include "host/host_ref.h"
#include "service/error_record.h"

class ThreadRegistry;

class CQV_JavaVMManager : public IQV_JavaVM {
 public:
  QV_HOST_ALLOCATED

  int32_t QueryInterface(const GUID& riid, void** ppv) noexcept override;
  uint32_t AddRef() noexcept override;
  uint32_t Release() noexcept override;
  int32_t AcquireService(IQV_JavaVM** ppOut) noexcept override;
  int32_t ReleaseService(IQV_JavaVM** ppInOut) noexcept override;
  int32_t GetErrorText(IQvString** ppText) noexcept override;
  int32_t GetErrorCode(int32_t* pCode) noexcept override;
  void* Destroy(uint32_t deleteFlag) noexcept override;

  // For the operations of the bridge:

  // Frees the record there was and stores this one (or null). True when there was one.
  bool ReplaceErrorRecord(ErrorRecord* record) noexcept {
    // Most calls have nothing to replace and pay no lock.
    if (record == nullptr && IsRecordEmpty()) [[likely]]
      return false;
    return ExchangeErrorRecord(record);
  }
  // Without the lock: good for having nothing to do.
  bool IsRecordEmpty() noexcept QV_LOCKS_UNCHECKED { return CurrentRecord() == nullptr; }
  // Nothing happens without a record.
  void SetErrorCode(int32_t code) noexcept;
  // Where CaptureException puts this object's record.
  ErrorRecord** RecordSlot() noexcept QV_LOCKS_UNCHECKED { return &m_pErrorRecord; }

 protected:
  CQV_JavaVMManager() noexcept = default;
  CQV_JavaVMManager(const CQV_JavaVMManager&) = delete;
  CQV_JavaVMManager& operator=(const CQV_JavaVMManager&) = delete;
  ~CQV_JavaVMManager() = default;

  ErrorRecord* m_pErrorRecord QV_GUARDED_BY(m_recordLock) = nullptr;
  int32_t m_nServiceHolds = 0;
  int32_t m_nRefCount = 1;
  std::atomic<jobject> m_jClassLoader = nullptr;  // a global reference; null until it is built
  mutable qv::SlimLock m_recordLock;

 private:
  // Good for a look at it as long as m_recordLock is held.
  ErrorRecord* CurrentRecord() noexcept QV_REQUIRES(m_recordLock) {
    return std::atomic_ref(m_pErrorRecord).load(std::memory_order_acquire);
  }
  bool ExchangeErrorRecord(ErrorRecord* record) noexcept;
};

class CQV_JNIVMManager : public CQV_JavaVMManager {
 public:
  CQV_JNIVMManager() noexcept = default;

  void* Destroy(uint32_t deleteFlag) noexcept override;

  // References, classes, strings, construction: bridge/references.cpp, bridge/class_lookup.cpp, bridge/strings.cpp
  int32_t CastReference(qv_jobject* out, qv_jobject reference) noexcept override;
  int32_t DeleteLocalRef(qv_jobject reference) noexcept override;
  int32_t DeleteLocalRef2(qv_jobject reference) noexcept override;
  int32_t DeleteLocalRef3(qv_jobject reference) noexcept override;
  int32_t DeleteGlobalRef(qv_jobject reference) noexcept override;
  int32_t FindClass(qv_jclass* out, const char* name) noexcept override;
  int32_t NewGlobalRef(qv_jobject* out, qv_jobject reference) noexcept override;
  int32_t NewString(qv_jstring* out, const wchar_t* text) noexcept override;
  int32_t GetStringLength(int32_t* length, qv_jstring string) noexcept override;
  int32_t GetStringChars(wchar_t* buffer, int32_t* sizeUnits, qv_jstring string) noexcept override;
  int32_t GetStringValue(IQvString** text, qv_jstring string) noexcept override;
  int32_t NewObject(qv_jobject* out, qv_jclass cls, const char* signature, ...) noexcept override;
  int32_t NewDefaultObject(qv_jobject* out, qv_jclass cls) noexcept override;

  // Typed calls and static fields: bridge/typed_calls.cpp
  int32_t CallIntMethod(int32_t* result, qv_jclass cls, qv_jobject object, const char* name, const char* signature,
                        ...) noexcept override;
  int32_t CallIntMethod2(int32_t* result, qv_jclass cls, qv_jobject object, const char* name, const char* signature,
                         ...) noexcept override;
  int32_t CallShortMethod(int16_t* result, qv_jclass cls, qv_jobject object, const char* name, const char* signature,
                          ...) noexcept override;
  int32_t CallShortMethod2(int16_t* result, qv_jclass cls, qv_jobject object, const char* name, const char* signature,
                           ...) noexcept override;
  int32_t CallFloatMethod(float* result, qv_jclass cls, qv_jobject object, const char* name, const char* signature,
                          ...) noexcept override;
  int32_t CallFloatMethod2(float* result, qv_jclass cls, qv_jobject object, const char* name, const char* signature,
                           ...) noexcept override;
  int32_t CallDoubleMethod(double* result, qv_jclass cls, qv_jobject object, const char* name, const char* signature,
                           ...) noexcept override;
  int32_t CallDoubleMethod2(double* result, qv_jclass cls, qv_jobject object, const char* name, const char* signature,
                            ...) noexcept override;
  int32_t CallByteMethod(int8_t* result, qv_jclass cls, qv_jobject object, const char* name, const char* signature,
                         ...) noexcept override;
  int32_t CallByteMethod2(int8_t* result, qv_jclass cls, qv_jobject object, const char* name, const char* signature,
                          ...) noexcept override;
  int32_t CallVoidMethod(qv_jclass cls, qv_jobject object, const char* name, const char* signature,
                         ...) noexcept override;
  int32_t CallVoidMethod2(qv_jclass cls, qv_jobject object, const char* name, const char* signature,
                          ...) noexcept override;
  int32_t CallObjectMethod(qv_jobject* result, qv_jclass cls, qv_jobject object, const char* name,
                           const char* signature, ...) noexcept override;
  int32_t CallObjectMethod2(qv_jobject* result, qv_jclass cls, qv_jobject object, const char* name,
                            const char* signature, ...) noexcept override;
  int32_t CallBooleanMethod(int32_t* result, qv_jclass cls, qv_jobject object, const char* name, const char* signature,
                            ...) noexcept override;
  int32_t CallBooleanMethod2(int32_t* result, qv_jclass cls, qv_jobject object, const char* name, const char* signature,
                             ...) noexcept override;
  int32_t CallLongMethod(int64_t* result, qv_jclass cls, qv_jobject object, const char* name, const char* signature,
                         ...) noexcept override;
  int32_t CallLongMethod2(int64_t* result, qv_jclass cls, qv_jobject object, const char* name, const char* signature,
                          ...) noexcept override;
  int32_t CallStaticBooleanMethod(int32_t* result, qv_jclass cls, const char* name, const char* signature,
                                  ...) noexcept override;
  int32_t CallStaticObjectMethod(qv_jobject* result, qv_jclass cls, const char* name, const char* signature,
                                 ...) noexcept override;
  int32_t CallStaticVoidMethod(qv_jclass cls, const char* name, const char* signature, ...) noexcept override;
  int32_t GetStaticIntField(int32_t* result, qv_jclass cls, const char* name) noexcept override;
  int32_t GetStaticShortField(int16_t* result, qv_jclass cls, const char* name) noexcept override;

  // Arrays: bridge/arrays.cpp
  int32_t NewStringArray(qv_jarray* out, int32_t length) noexcept override;
  int32_t SetObjectArrayElement(qv_jarray array, int32_t index, qv_jobject value) noexcept override;
  int32_t NewByteArray(qv_jarray* out, int32_t length) noexcept override;
  int32_t GetByteArrayData(qv_jarray array, int32_t ignored, int32_t count, void* bytes) noexcept override;
  int32_t SetByteArrayData(qv_jarray array, int32_t ignored, const void* bytes, int32_t count) noexcept override;

  // Environment, configuration and log: bridge/runtime_queries.cpp
  int32_t GetJNIEnv(qv_jnienv* env) noexcept override;
  int32_t GetJDKLocation(IQvString** text) noexcept override;
  int32_t GetJREBinLocation(IQvString** text) noexcept override;
  int32_t GetLogFileName(IQvString** text) noexcept override;
  int32_t SetLogFileName(const wchar_t* path) noexcept override;
  int32_t SetJvmLogEnabled(int32_t enabled) noexcept override;
  int32_t IsJVMCreated(int32_t* created) noexcept override;
  int32_t GetClassPath(IQvString** text) noexcept override;
  int32_t GetJavaVersion(IQvString** text) noexcept override;

  // Exceptions: bridge/exception_text.cpp
  void ExceptionClear(qv_jnienv env) noexcept override;
  int32_t CaptureException(ErrorRecord** record, qv_jnienv env) noexcept override;

  // Slot 60: the calling thread's environment; attaches (or creates) on first use. Null leaves the reason in the
  // record.
  virtual qv_jnienv AcquireThreadEnv() noexcept;

  // The operations reach each other through the object's own table, so their calls are virtual on purpose.
  JNIEnv* Env() noexcept { return static_cast<JNIEnv*>(AcquireThreadEnv()); }

 protected:
  ~CQV_JNIVMManager() = default;

 private:
  JNIEnv* JoinThread(ThreadRegistry& registry) noexcept;
  // Whether Java itself knows the service's class path, because the service created the JVM: then FindClass never asks
  // for that path and GetClassPath asks Java for it; in a joined JVM it is the other way round, so that neither of the
  // two ever leads back to the other.
  static bool JavaHasOurClassPath() noexcept;
  // The class loader over the service's own class path; S_OK without one when that path is empty.
  int32_t BuildClassLoader(JNIEnv* env) noexcept;
  void LoadClassByLoader(JNIEnv* env, qv_jclass* out, const char* name) noexcept;
  // E_FAIL, with the reason in the record.
  int32_t MissingClass(JNIEnv* env, const char* name) noexcept;
  void StoreCaptured(ErrorRecord** record, ErrorRecord* made) noexcept;
  void CapturePending(ErrorRecord** record, JNIEnv* env, jthrowable exception) noexcept;
  int32_t GetSystemProperty(IQvString** text, const wchar_t* key) noexcept;
};
