// One thread's way into the JVM: joins the one that runs or creates it, and detaches the thread when destroyed.
// Made by start-up and by the first call of a thread; owned by the thread registry once registered.
// Initialize and Terminate run on the thread they are for, because attaching and detaching act on the calling thread.
#pragma once

#include <jni.h>

#include "host/host_memory.h"
#include "service/error_record.h"

class CQV_JavaInitializer {
 public:
  QV_HOST_ALLOCATED

  // Slot 0; bit 0 of the flag also frees the memory.
  virtual void* Destroy(uint32_t deleteFlag) noexcept = 0;
  // Slot 1
  virtual JNIEnv* GetEnv() noexcept = 0;

  [[nodiscard]] uint32_t ThreadId() const noexcept { return m_dwThreadId; }

 protected:
  CQV_JavaInitializer() noexcept = default;
  ~CQV_JavaInitializer() = default;

  uint32_t m_dwThreadId = 0;
};

class CQV_JNIInitializer : public CQV_JavaInitializer {
 public:
  // `threadClassPath` (may be null) goes into the options of a JVM that is created; the caller keeps it until then.
  explicit CQV_JNIInitializer(const wchar_t* threadClassPath = nullptr) noexcept
      : m_pszThreadClassPath(threadClassPath) {}
  CQV_JNIInitializer(const CQV_JNIInitializer&) = delete;
  CQV_JNIInitializer& operator=(const CQV_JNIInitializer&) = delete;

  void* Destroy(uint32_t deleteFlag) noexcept override;
  // Null before Initialize succeeded and after Terminate.
  JNIEnv* GetEnv() noexcept override { return m_pEnv; }
  // Slot 2: 0, E_INVALIDARG for a null ppRecord, or E_FAIL with a record of the caller's (null without memory).
  virtual int32_t Initialize(uint32_t threadId, ErrorRecord** ppRecord) noexcept;
  // Slot 3: detaches the thread unless the host forbids it, then forgets the environment.
  virtual void Terminate() noexcept;

 protected:
  ~CQV_JNIInitializer() = default;

 private:
  int32_t CreateVM(ErrorRecord** ppRecord) noexcept;
  int32_t JoinVM(JavaVM* vm, ErrorRecord** ppRecord) noexcept;
  int32_t Fail(ErrorRecord** ppRecord, std::wstring_view text) noexcept;

  JNIEnv* m_pEnv = nullptr;
  JavaVM* m_pVM = nullptr;
  const wchar_t* m_pszThreadClassPath;
};

// Destroys and frees; null is allowed.
struct InitializerDestroy {
  void operator()(CQV_JNIInitializer* initializer) const noexcept { initializer->Destroy(1); }
};
using InitializerOwner = std::unique_ptr<CQV_JNIInitializer, InitializerDestroy>;
