// Which threads are attached to the JVM, which libraries start-up tried, which class path a thread asked for.
// Owns every entry: initializers are destroyed, modules freed, when their entry goes. What it hands out it lends: an
// environment and a class path until their thread ends, a module until the service goes.
// m_lock guards all three lists and is held for the whole of each operation, except while an ending thread leaves the
// JVM. Order: g_csLoader may be held while it is taken, never the reverse; the system's lock of fibre-local storage is
// held while a thread's end takes it, so nothing is marked under it; service/thread_end.h tells of the loader lock.
// OnProcessDetach takes no lock: nobody else runs by then.
#pragma once

#include <windows.h>

#include <jni.h>

#include "base/handle.h"
#include "base/lock.h"
#include "base/thread_slot.h"
#include "host/host_list.h"
#include "host/host_memory.h"
#include "service/jni_initializer.h"

struct ModuleEntry {
  QV_HOST_ALLOCATED

  qv::HostArray<char> name;
  qv::Library library;  // empty when loading failed
};

struct ThreadClassPath {
  QV_HOST_ALLOCATED

  uint32_t threadId;
  qv::HostArray<wchar_t> classPath;
};

class ThreadRegistry {
 public:
  QV_HOST_ALLOCATED

  // Null without memory.
  static ThreadRegistry* Create() noexcept;
  ThreadRegistry(const ThreadRegistry&) = delete;
  ThreadRegistry& operator=(const ThreadRegistry&) = delete;
  ~ThreadRegistry() = default;

  // The environment of the first initializer with that thread id, or null.
  JNIEnv* FindThreadEnv(uint32_t threadId) noexcept;
  // The same for the calling thread; after its first time without lock and walk.
  JNIEnv* CurrentThreadEnv() noexcept {
    if (void* const remembered = m_envSlot.Get()) [[likely]]
      return static_cast<JNIEnv*>(remembered);
    return FindCurrentThreadEnv();
  }
  // What the calling thread's registration needs; empty without memory. Taken before the thread is attached: nothing
  // can fail then that would have to detach it again, also a thread that its host had attached.
  using InitializerNode = qv::HostList<CQV_JNIInitializer>::Node;
  using ReservedPlace = qv::HostPtr<InitializerNode>;
  ReservedPlace ReservePlace() noexcept;
  // Takes the initializer over.
  void RegisterInitializer(ReservedPlace place, CQV_JNIInitializer* initializer) noexcept;
  // Copies the text. False without memory.
  bool RegisterThreadClassPath(uint32_t threadId, const wchar_t* classPath) noexcept;
  // The stored text of the first entry with that id, or null; valid until that thread ends.
  const wchar_t* FindThreadClassPath(uint32_t threadId) noexcept;
  // Loads a library once per name. Deliberate: a name that failed is never tried again.
  HMODULE LoadModuleCached(const char* name) noexcept;
  // The same library by its full path, recorded for a name that failed. Null when that fails too.
  HMODULE LoadModuleFrom(const wchar_t* path, const char* name) noexcept;
  // Whether the name was tried, with whatever result. Loads nothing.
  bool HasTried(const char* name) noexcept;
  // The handle recorded for a name, null when it was never tried or failed. Loads nothing.
  HMODULE FindModule(const char* name) noexcept;
  // The ending thread's first initializer and first class path go, and the thread is detached.
  void OnThreadDetach() noexcept;
  // Everything goes, without the lock; then only destruction is left.
  void OnProcessDetach() noexcept QV_LOCKS_UNCHECKED;

 private:
  ThreadRegistry() noexcept = default;
  JNIEnv* FindCurrentThreadEnv() noexcept;
  // `error` is set when the library was tried and cannot be loaded.
  HMODULE LoadModuleOnce(const char* name, DWORD& error) noexcept;
  InitializerNode* FindInitializer(uint32_t threadId) noexcept QV_REQUIRES(m_lock);
  ModuleEntry* FindEntry(const char* name) noexcept QV_REQUIRES(m_lock);

  template <class T>
  using List = std::unique_ptr<qv::HostList<T>>;

  qv::CriticalSection m_lock;
  List<CQV_JNIInitializer> m_initializers QV_PT_GUARDED_BY(m_lock){new qv::HostList<CQV_JNIInitializer>()};
  List<ModuleEntry> m_modules QV_PT_GUARDED_BY(m_lock){new qv::HostList<ModuleEntry>()};
  List<ThreadClassPath> m_threadClassPaths QV_PT_GUARDED_BY(m_lock){new qv::HostList<ThreadClassPath>()};
  // What the calling thread was found to have. Only its own end removes a thread's entry while the registry lives, and
  // freeing the slot forgets all threads' values; without a slot every look-up walks.
  qv::ThreadSlot m_envSlot;
};

// Exists from process attach to process detach; null without memory.
extern ThreadRegistry* g_pThreadRegistry;
