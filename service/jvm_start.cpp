// The start-up itself. Retried by every QV_CreateJavaVM until one succeeds.
#include "service/jvm_start.h"

#include <cstdio>
#include <new>

#include "base/procedure.h"
#include "base/trace.h"
#include "config/jvm_config_info.h"
#include "service/jvm_state.h"
#include "service/runtime_libraries.h"
#include "service/thread_join.h"
#include "service/thread_registry.h"

qv::CriticalSection* g_csLoader = nullptr;

namespace {

// Made before any export can be called and freed at unload.
class LoaderLock {
 public:
  LoaderLock() noexcept {
    void* const block = QvshrAlloc(sizeof(qv::CriticalSection));
    if (block != nullptr) g_csLoader = new (block) qv::CriticalSection();
  }
  // Runs when the module is unloaded, after its counters were written; the tests of unloading find everything freed.
  // GCOVR_EXCL_START
  ~LoaderLock() {
    if (g_csLoader == nullptr) return;
    g_csLoader->~CriticalSection();
    QvshrFree(g_csLoader);
    g_csLoader = nullptr;
  }
  // GCOVR_EXCL_STOP
};

LoaderLock g_loaderLock;

// The two names that a JVM's library goes by.
class JvmNames {
 public:
  explicit JvmNames(const char* moduleName) noexcept : m_plain(moduleName) {
    std::snprintf(m_inClientFolder, sizeof(m_inClientFolder), "client\\%s", moduleName);
  }
  [[nodiscard]] const char* Plain() const noexcept { return m_plain; }
  [[nodiscard]] const char* InClientFolder() const noexcept { return m_inClientFolder; }

 private:
  const char* m_plain;
  char m_inClientFolder[512];
};

// In the spelling that the runtimes have it in: a JVM takes its own file's name to find its home.
HMODULE LoadFrom(std::wstring_view folder, const char* name) noexcept {
  // A JVM takes the list of its own folders apart at ";", does not find its libraries then and ends the process.
  if (folder.empty() || folder.find(L';') != std::wstring_view::npos) return nullptr;
  const qv::HostText path{folder, L"\\jvm.dll"};
  if (!path.Ok()) return nullptr;
  const qv::RuntimeLibraries present(folder, qv::kCompilerLibraries);
  const HMODULE library = g_pThreadRegistry->LoadModuleFrom(path.Text(), name);
  qv::Trace({path.View(), library != nullptr ? L" is loaded by its path" : L" cannot be loaded by its path either"});
  return library;
}

// For a host that keeps its library search away from PATH, and for a runtime whose jvm.dll needs libraries of its own
// bin folder: the library that was discovered or configured, by its full path.
HMODULE LoadByPath(CQV_JVMConfigInfo& config, const JvmNames& names) noexcept {
  if (!config.m_bHostKnown) return LoadFrom(config.DiscoveredJvmFolder(), names.Plain());
  qv::StringRef jreBin;
  if (config.m_bLoomhallHost || !config.ReadJREBinLocation(jreBin.Out())) return nullptr;
  if (const HMODULE library = LoadFrom(qv::TextOf(jreBin), names.Plain())) return library;
  const qv::HostText client{qv::TextOf(jreBin), L"\\client"};
  return client.Ok() ? LoadFrom(client.View(), names.InClientFolder()) : nullptr;
}

// A name is tried once in the life of the process, and its path only together with it.
HMODULE LoadJvmModule(CQV_JVMConfigInfo& config, const char* moduleName) noexcept {
  const JvmNames names(moduleName);
  const bool firstTime = !g_pThreadRegistry->HasTried(moduleName);
  HMODULE library = g_pThreadRegistry->LoadModuleCached(names.Plain());
  if (library == nullptr) library = g_pThreadRegistry->LoadModuleCached(names.InClientFolder());
  if (library == nullptr && firstTime) library = LoadByPath(config, names);
  return library;
}

bool EntryPointsFound() noexcept {
  return g_pfnGetCreatedJavaVMs != nullptr && g_pfnGetDefaultJavaVMInitArgs != nullptr && g_pfnCreateJavaVM != nullptr;
}

// True when a library was loaded; its entry points are stored then, missing ones as null.
bool LoadJvmLibrary(const char* moduleName) noexcept {
  CQV_JVMConfigInfo& config = JVMConfigInfo();
  if (!config.m_bLoomhallHost && !config.LocateJavaRuntime()) return false;
  const HMODULE library = LoadJvmModule(config, moduleName);
  if (library == nullptr) return false;
  g_pfnGetCreatedJavaVMs = qv::FindProcedure<GetCreatedJavaVMsFn>(library, "JNI_GetCreatedJavaVMs");
  g_pfnGetDefaultJavaVMInitArgs =
      qv::FindProcedure<GetDefaultJavaVMInitArgsFn>(library, "JNI_GetDefaultJavaVMInitArgs");
  g_pfnCreateJavaVM = qv::FindProcedure<CreateJavaVMFn>(library, "JNI_CreateJavaVM");
  if (!EntryPointsFound()) qv::Trace({L"the jvm.dll that was loaded lacks an entry point of a Java VM"});
  return true;
}

void InitializeFirstThread() noexcept {
  const qv::JoinedThread joined = qv::JoinCurrentThread(*g_pThreadRegistry);
  if (joined.record) qv::Trace({joined.record->text});
  if (joined.env == nullptr) return;
  if (g_bJvmCreated == 0) g_bJvmJoined = 1;
  qv::Trace({g_bJvmCreated != 0 ? L"the JVM was created" : L"the JVM of this process was joined"});
}

bool StartLocked(const char* moduleName, const wchar_t* classPath) noexcept QV_REQUIRES(*g_csLoader) {
  if (g_bJvmLibraryLoaded == 0 && !LoadJvmLibrary(moduleName)) return false;
  g_bJvmLibraryLoaded = 1;
  // Not before: while a library is loaded no thread has anything in the registry (service/thread_end.h).
  if (classPath != nullptr && !g_pThreadRegistry->RegisterThreadClassPath(GetCurrentThreadId(), classPath))
    return false;
  InitializeFirstThread();
  if (g_bJvmCreated != 0 || g_bJvmJoined != 0) g_nJvmLoadCount = 1;
  return true;
}

}  // namespace

int32_t StartJavaVM(const char* moduleName, const wchar_t* classPath) noexcept {
  if (g_csLoader == nullptr || g_pThreadRegistry == nullptr) return E_FAIL;
  if (g_nJvmLoadCount == 0) {
    const qv::CriticalSectionGuard guard(*g_csLoader);
    if (g_nJvmLoadCount == 0 && !StartLocked(moduleName, classPath)) return E_FAIL;
  }
  if (!EntryPointsFound()) return E_FAIL;
  return g_bJvmCreated != 0 || g_bJvmJoined != 0 ? 0 : E_FAIL;
}
