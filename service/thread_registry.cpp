// Lookups walk from the head and take the first match; nothing checks for duplicates.
#include "service/thread_registry.h"

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <utility>

#include "base/compiler.h"
#include "base/no_error_dialogs.h"
#include "base/process_end.h"
#include "base/trace.h"
#include "service/thread_end.h"

ThreadRegistry* g_pThreadRegistry = nullptr;

namespace {

template <class Char>
qv::HostArray<Char> CopyText(const Char* text, size_t length) noexcept {
  qv::HostArray<Char> copy = qv::AllocHostArray<Char>(length + 1);
  if (copy) std::copy_n(text, length + 1, copy.get());
  return copy;
}

}  // namespace

ThreadRegistry* ThreadRegistry::Create() noexcept {
  std::unique_ptr<ThreadRegistry> registry(new ThreadRegistry());
  if (!registry) return nullptr;
  if (!registry->m_initializers || !registry->m_modules || !registry->m_threadClassPaths) return nullptr;
  (void)registry->m_envSlot.Prepare();  // without one every look-up walks
  return registry.release();
}

JNIEnv* ThreadRegistry::FindThreadEnv(uint32_t threadId) noexcept {
  const qv::CriticalSectionGuard guard(m_lock);
  const InitializerNode* const node = FindInitializer(threadId);
  return node != nullptr ? node->item->GetEnv() : nullptr;
}

// Apart, so that what every operation begins with stays small enough to be inlined.
QV_NOINLINE JNIEnv* ThreadRegistry::FindCurrentThreadEnv() noexcept {
  JNIEnv* const env = FindThreadEnv(GetCurrentThreadId());
  if (env != nullptr) m_envSlot.Set(env);
  return env;
}

ThreadRegistry::ReservedPlace ThreadRegistry::ReservePlace() noexcept {
  return qv::MarkThreadForEnd() ? qv::HostList<CQV_JNIInitializer>::Reserve() : ReservedPlace();
}

void ThreadRegistry::RegisterInitializer(ReservedPlace place, CQV_JNIInitializer* initializer) noexcept {
  const qv::CriticalSectionGuard guard(m_lock);
  m_initializers->Append(std::move(place), initializer);
}

bool ThreadRegistry::RegisterThreadClassPath(uint32_t threadId, const wchar_t* classPath) noexcept {
  if (!qv::MarkThreadForEnd()) return false;
  const qv::CriticalSectionGuard guard(m_lock);
  std::unique_ptr<ThreadClassPath> entry(new ThreadClassPath{threadId, CopyText(classPath, std::wcslen(classPath))});
  if (!entry || !entry->classPath || !m_threadClassPaths->Append(entry.get())) return false;
  (void)entry.release();  // the list's
  return true;
}

const wchar_t* ThreadRegistry::FindThreadClassPath(uint32_t threadId) noexcept {
  const qv::CriticalSectionGuard guard(m_lock);
  const auto* const node =
      m_threadClassPaths->FindFirst([&](const ThreadClassPath& item) { return item.threadId == threadId; });
  return node != nullptr ? node->item->classPath.get() : nullptr;
}

HMODULE ThreadRegistry::LoadModuleCached(const char* name) noexcept {
  DWORD error = ERROR_SUCCESS;
  const HMODULE module = LoadModuleOnce(name, error);
  // Not under the lock: who listens may be slow to take a line.
  if (error != ERROR_SUCCESS) qv::Trace({L"jvm.dll cannot be loaded, Windows error ", qv::TraceNumber(error)});
  return module;
}

HMODULE ThreadRegistry::LoadModuleOnce(const char* name, DWORD& error) noexcept {
  const qv::CriticalSectionGuard guard(m_lock);
  if (const ModuleEntry* const known = FindEntry(name)) return known->library.Get();

  std::unique_ptr<ModuleEntry> entry(new ModuleEntry{CopyText(name, std::strlen(name)), qv::Library()});
  if (!entry || !entry->name) return nullptr;
  {
    const qv::NoErrorDialogs quiet;
    entry->library.Reset(LoadLibraryA(name));
    if (!entry->library) error = GetLastError();
  }
  if (!m_modules->Append(entry.get())) return nullptr;
  return entry.release()->library.Get();
}

HMODULE ThreadRegistry::LoadModuleFrom(const wchar_t* path, const char* name) noexcept {
  const qv::CriticalSectionGuard guard(m_lock);
  ModuleEntry* const entry = FindEntry(name);
  if (entry == nullptr || entry->library) return nullptr;
  const qv::NoErrorDialogs quiet;
  entry->library.Reset(LoadLibraryExW(path, nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
  return entry->library.Get();
}

bool ThreadRegistry::HasTried(const char* name) noexcept {
  const qv::CriticalSectionGuard guard(m_lock);
  return FindEntry(name) != nullptr;
}

HMODULE ThreadRegistry::FindModule(const char* name) noexcept {
  const qv::CriticalSectionGuard guard(m_lock);
  const ModuleEntry* const entry = FindEntry(name);
  return entry != nullptr ? entry->library.Get() : nullptr;
}

ModuleEntry* ThreadRegistry::FindEntry(const char* name) noexcept {
  const auto* const node =
      m_modules->FindFirst([&](const ModuleEntry& item) { return std::strcmp(item.name.get(), name) == 0; });
  return node != nullptr ? node->item : nullptr;
}

// Leaving the JVM may run Java code, the handler of an uncaught exception: it may call the service, which then finds
// the environment that is good to the end, and wait for other threads, so the lock is not held meanwhile. Nobody but
// the thread itself removes its entry.
void ThreadRegistry::OnThreadDetach() noexcept {
  const uint32_t threadId = GetCurrentThreadId();
  InitializerNode* own = nullptr;
  {
    const qv::CriticalSectionGuard guard(m_lock);
    own = FindInitializer(threadId);
  }
  if (own != nullptr) own->item->Terminate();
  const qv::CriticalSectionGuard guard(m_lock);
  m_envSlot.Set(nullptr);
  if (own != nullptr) m_initializers->Remove(own)->Destroy(1);
  if (auto* const node = m_threadClassPaths->FindFirst([&](const auto& item) { return item.threadId == threadId; })) {
    delete m_threadClassPaths->Remove(node);
  }
}

ThreadRegistry::InitializerNode* ThreadRegistry::FindInitializer(uint32_t threadId) noexcept {
  return m_initializers->FindFirst([&](const CQV_JNIInitializer& item) { return item.ThreadId() == threadId; });
}

// Without the lock: a thread that the end of the process took away may still hold it.
void ThreadRegistry::OnProcessDetach() noexcept {
  if (!qv::ProcessIsEnding()) m_envSlot.Forget();
  while (auto* const node = m_initializers->Head()) m_initializers->Remove(node)->Destroy(1);
  m_initializers.reset();
  while (auto* const node = m_modules->Head()) delete m_modules->Remove(node);
  m_modules.reset();
  while (auto* const node = m_threadClassPaths->Head()) delete m_threadClassPaths->Remove(node);
  m_threadClassPaths.reset();
}
