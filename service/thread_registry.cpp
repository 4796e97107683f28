// Lookups walk from the head and take the first match; nothing checks for duplicates.
#include "service/thread_registry.h"

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <utility>

#include "base/compiler.h"
#include "base/lock.h"
#include "base/process_end.h"
#include "base/trace.h"
#include "service/thread_end.h"

ThreadRegistry* g_pThreadRegistry = nullptr;

namespace {

template <class Char>
Char* CopyText(const Char* text, size_t length) noexcept {
  qv::HostArray<Char> copy = qv::AllocHostArray<Char>(length + 1);
  if (copy) std::copy_n(text, length + 1, copy.get());
  return copy.release();
}

void FreeModuleEntry(ModuleEntry* entry) noexcept {
  if (entry->handle != nullptr) FreeLibrary(entry->handle);
  QvshrFree(entry->name);
  QvshrFree(entry);
}

void FreeThreadClassPath(ThreadClassPath* entry) noexcept {
  QvshrFree(entry->classPath);
  QvshrFree(entry);
}

// A broken library file must not stop the host at a system dialog.
HMODULE LoadWithoutDialogs(const char* name, DWORD& error) noexcept {
  DWORD previous = 0;
  const BOOL changed = SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &previous);
  const HMODULE library = LoadLibraryA(name);
  if (library == nullptr) error = GetLastError();
  if (changed != FALSE) SetThreadErrorMode(previous, nullptr);
  return library;
}

}  // namespace

ThreadRegistry* ThreadRegistry::Create() noexcept {
  std::unique_ptr<ThreadRegistry> registry(new ThreadRegistry());
  if (!registry) return nullptr;
  if (!registry->m_initializers || !registry->m_modules || !registry->m_threadClassPaths) return nullptr;
  InitializeCriticalSection(&registry->m_lock);
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

ThreadRegistry::Place ThreadRegistry::ReservePlace() noexcept {
  return qv::MarkThreadForEnd() ? m_initializers->Reserve() : Place();
}

void ThreadRegistry::RegisterInitializer(Place place, CQV_JNIInitializer* initializer) noexcept {
  const qv::CriticalSectionGuard guard(m_lock);
  m_initializers->Append(std::move(place), initializer);
}

bool ThreadRegistry::RegisterThreadClassPath(uint32_t threadId, const wchar_t* classPath) noexcept {
  if (!qv::MarkThreadForEnd()) return false;
  const qv::CriticalSectionGuard guard(m_lock);
  qv::HostPtr<ThreadClassPath> entry(static_cast<ThreadClassPath*>(QvshrAlloc(sizeof(ThreadClassPath))));
  qv::HostPtr<wchar_t> text(CopyText(classPath, std::wcslen(classPath)));
  if (!entry || !text) return false;
  *entry = {threadId, text.get()};
  if (!m_threadClassPaths->Append(entry.get())) return false;
  (void)text.release();
  (void)entry.release();
  return true;
}

const wchar_t* ThreadRegistry::FindThreadClassPath(uint32_t threadId) noexcept {
  const qv::CriticalSectionGuard guard(m_lock);
  const auto* const node =
      m_threadClassPaths->FindFirst([&](const ThreadClassPath& item) { return item.threadId == threadId; });
  return node != nullptr ? node->item->classPath : nullptr;
}

HMODULE ThreadRegistry::LoadModuleCached(const char* name) noexcept {
  DWORD error = ERROR_SUCCESS;
  const HMODULE handle = LoadModuleOnce(name, error);
  // Not under the lock: who listens may be slow to take a line.
  if (error != ERROR_SUCCESS) qv::Trace({L"jvm.dll cannot be loaded, Windows error ", qv::TraceNumber(error)});
  return handle;
}

HMODULE ThreadRegistry::LoadModuleOnce(const char* name, DWORD& error) noexcept {
  const qv::CriticalSectionGuard guard(m_lock);
  const auto* const known =
      m_modules->FindFirst([&](const ModuleEntry& item) { return std::strcmp(item.name, name) == 0; });
  if (known != nullptr) return known->item->handle;

  qv::HostPtr<ModuleEntry> entry(static_cast<ModuleEntry*>(QvshrAlloc(sizeof(ModuleEntry))));
  qv::HostPtr<char> copy(CopyText(name, std::strlen(name)));
  if (!entry || !copy) return nullptr;
  *entry = {copy.get(), LoadWithoutDialogs(name, error)};
  const HMODULE handle = entry->handle;
  if (!m_modules->Append(entry.get())) {
    if (handle != nullptr) FreeLibrary(handle);
    return nullptr;
  }
  (void)copy.release();
  (void)entry.release();
  return handle;
}

HMODULE ThreadRegistry::FindModule(const char* name) noexcept {
  const qv::CriticalSectionGuard guard(m_lock);
  const auto* const node =
      m_modules->FindFirst([&](const ModuleEntry& item) { return std::strcmp(item.name, name) == 0; });
  return node != nullptr ? node->item->handle : nullptr;
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
    FreeThreadClassPath(m_threadClassPaths->Remove(node));
  }
}

ThreadRegistry::InitializerNode* ThreadRegistry::FindInitializer(uint32_t threadId) noexcept {
  return m_initializers->FindFirst([&](const CQV_JNIInitializer& item) { return item.ThreadId() == threadId; });
}

void ThreadRegistry::OnProcessDetach() noexcept {
  if (!qv::ProcessIsEnding()) m_envSlot.Forget();
  while (auto* const node = m_initializers->Head()) m_initializers->Remove(node)->Destroy(1);
  m_initializers.reset();
  while (auto* const node = m_modules->Head()) FreeModuleEntry(m_modules->Remove(node));
  m_modules.reset();
  while (auto* const node = m_threadClassPaths->Head()) FreeThreadClassPath(m_threadClassPaths->Remove(node));
  m_threadClassPaths.reset();
  DeleteCriticalSection(&m_lock);
}
