// Lookups walk from the head and take the first match; nothing checks for duplicates.
#include "service/thread_registry.h"

#include <algorithm>
#include <cstring>
#include <cwchar>

#include "base/compiler.h"
#include "base/lock.h"
#include "base/module_handle.h"
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
HMODULE LoadWithoutDialogs(const char* name) noexcept {
  DWORD previous = 0;
  const BOOL changed = SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &previous);
  const HMODULE library = LoadLibraryA(name);
  if (library == nullptr) qv::Trace({L"jvm.dll cannot be loaded, Windows error ", qv::TraceNumber(GetLastError())});
  if (changed != FALSE) SetThreadErrorMode(previous, nullptr);
  return library;
}

// The created JVM keeps the addresses of the hooks and each attached thread that of the thread-end callback.
bool KeepServiceLoaded() noexcept {
  HMODULE self = nullptr;
  return GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                            reinterpret_cast<const wchar_t*>(&g_pThreadRegistry), &self) != FALSE;
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
  const auto* const node =
      m_initializers->FindFirst([&](const CQV_JNIInitializer& item) { return item.ThreadId() == threadId; });
  return node != nullptr ? node->item->GetEnv() : nullptr;
}

// Apart, so that what every operation begins with stays small enough to be inlined.
QV_NOINLINE JNIEnv* ThreadRegistry::FindCurrentThreadEnv() noexcept {
  JNIEnv* const env = FindThreadEnv(GetCurrentThreadId());
  if (env != nullptr) m_envSlot.Set(env);
  return env;
}

bool ThreadRegistry::RegisterInitializer(CQV_JNIInitializer* initializer) noexcept {
  const qv::CriticalSectionGuard guard(m_lock);
  m_serviceKept = m_serviceKept || KeepServiceLoaded();
  return m_serviceKept && qv::MarkThreadForEnd() && m_initializers->Append(initializer);
}

bool ThreadRegistry::RegisterThreadClassPath(uint32_t threadId, const wchar_t* classPath) noexcept {
  const qv::CriticalSectionGuard guard(m_lock);
  qv::HostPtr<ThreadClassPath> entry(static_cast<ThreadClassPath*>(QvshrAlloc(sizeof(ThreadClassPath))));
  qv::HostPtr<wchar_t> text(CopyText(classPath, std::wcslen(classPath)));
  if (!entry || !text) return false;
  *entry = {threadId, text.get()};
  if (!qv::MarkThreadForEnd() || !m_threadClassPaths->Append(entry.get())) return false;
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
  const qv::CriticalSectionGuard guard(m_lock);
  const auto* const known =
      m_modules->FindFirst([&](const ModuleEntry& item) { return std::strcmp(item.name, name) == 0; });
  if (known != nullptr) return known->item->handle;

  qv::HostPtr<ModuleEntry> entry(static_cast<ModuleEntry*>(QvshrAlloc(sizeof(ModuleEntry))));
  qv::HostPtr<char> copy(CopyText(name, std::strlen(name)));
  if (!entry || !copy) return nullptr;
  *entry = {copy.get(), LoadWithoutDialogs(name)};
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

void ThreadRegistry::OnThreadDetach() noexcept {
  const uint32_t threadId = GetCurrentThreadId();
  const qv::CriticalSectionGuard guard(m_lock);
  m_envSlot.Set(nullptr);
  if (auto* const node = m_initializers->FindFirst([&](const auto& item) { return item.ThreadId() == threadId; })) {
    m_initializers->Remove(node)->Destroy(1);
  }
  if (auto* const node = m_threadClassPaths->FindFirst([&](const auto& item) { return item.threadId == threadId; })) {
    FreeThreadClassPath(m_threadClassPaths->Remove(node));
  }
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
